#pragma once

#include <QtQml/qqmlregistration.h>

#include <QAbstractListModel>
#include <functional>
#include <string>
#include <vector>

#include "speech/VoiceList.h"

namespace velmora {

// The main window's voices: one row per voice of the groups, in order, each knowing its
// section's header and whether it opens the section; the last row of the last section carries
// the system-wide hint. Only the rows whose speaking mark changes are updated when it moves.
class VoiceListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the voice list of a SpeechController")

public:
    enum Role {
        IdentifierRole = Qt::UserRole + 1,
        ShortNameRole,
        LanguageNameRole,
        AccessibleNameRole,  // short name + ", " + language name
        SectionHeaderRole,   // "iOS 5 — 1 voices"
        FirstInSectionRole,
        SectionFooterRole,  // the system-wide hint on the very last row, else empty
        SpeakingRole,
        ProviderRole,  // the bus name of the provider that lists the voice
    };

    // `languageName` turns a voice's language code into the name the row shows.
    explicit VoiceListModel(std::function<std::string(const std::string&)> languageName,
                            QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setGroups(const std::vector<VoiceGroup>& groups);
    // Moves the speaking mark to the voice with this identifier (empty: none).
    void setSpeakingVoice(const std::string& identifier);

private:
    struct Row {
        SpeechVoice voice;
        std::string shortName;
        std::string languageName;
        std::string sectionHeader;
        bool firstInSection = false;
        bool lastOfAll = false;
    };
    void markChanged(const std::string& identifier);

    std::function<std::string(const std::string&)> languageName_;
    std::vector<Row> rows_;
    std::string speaking_;
};

}  // namespace velmora
