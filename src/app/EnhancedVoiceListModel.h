#pragma once

#include <QtQml/qqmlregistration.h>

#include <QAbstractListModel>
#include <functional>
#include <string>
#include <vector>

#include "enhanced/EnhancedVoice.h"
#include "enhanced/VoiceState.h"

namespace velmora {

// The enhanced voices as the screen lists them: one row per voice, sections in the order of the
// downloadable releases, voices in catalog order within each. A state change updates its one row.
class EnhancedVoiceListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the rows of an EnhancedVoiceManager")

public:
    enum Role {
        VoiceIdRole = Qt::UserRole + 1,
        NameRole,            // NAME
        DetailRole,          // LANGUAGE + " — " + the state's detail
        FractionRole,        // the download's fraction done, else 0
        ButtonTextRole,      // the row's button for its state ("Get", "Stop", ...), or empty
        DestructiveRole,     // whether that button deletes
        ShowsProgressRole,   // a download's progress bar
        ShowsSpinnerRole,    // the spinner of an unpacking voice
        ShowsCheckmarkRole,  // the mark of an installed voice
        AccessibleNameRole,  // the row's label for its state
        ReleaseNameRole,     // "ios6"
        SectionHeaderRole,   // "iOS 6 — 3 voices", the same on every row of the section
        FirstInSectionRole,  // whether the row opens its section
    };

    // Rows are named with `voiceName` and `languageName` when they are set, and show the state
    // that `stateOf` gives for a voice id at the moment they are read.
    struct Naming {
        std::function<std::string(const EnhancedVoice&)> voiceName;
        std::function<std::string(const std::string& locale)> languageName;
    };
    EnhancedVoiceListModel(Naming naming, std::function<VoiceState(const std::string&)> stateOf,
                           QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Replaces every row.
    void setVoices(const std::vector<EnhancedVoice>& voices);
    // Tells the view that these voices' states changed.
    void statesChanged(const std::vector<std::string>& voiceIds);

private:
    struct Row {
        EnhancedVoice voice;
        std::string id;
        std::string name;
        std::string language;
        std::string sectionHeader;
        bool firstInSection = false;
    };
    QVariant stateData(const Row& row, int role) const;

    Naming naming_;
    std::function<VoiceState(const std::string&)> stateOf_;
    std::vector<Row> rows_;
};

}  // namespace velmora
