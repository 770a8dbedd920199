#include "app/EnhancedVoiceListModel.h"

#include "app/QtText.h"
#include "presenters/EnhancedTexts.h"
#include "presenters/SectionHeader.h"
#include "store/VoiceRelease.h"

namespace velmora {
namespace {

// How a row shows a state: its texts and its control.
struct RowLook {
    std::string detail;
    std::string accessibleName;
    std::string_view button;
    bool destructive = false;
    bool progress = false;
    bool spinner = false;
    bool checkmark = false;
};

RowLook rowLook(const VoiceState& state, const std::string& name, const std::string& language,
                std::int64_t downloadSize) {
    using T = EnhancedTexts;
    if (const auto* downloading = std::get_if<VoiceState::Downloading>(&state.value)) {
        return {T::downloadingDetail(downloading->fraction, downloadSize),
                T::stopDownloadingLabel(name, language, downloading->fraction, downloadSize), T::stopButton,
                false, true};
    }
    if (state.is<VoiceState::Waiting>()) {
        return {T::waitingDetail(downloadSize), T::stopWaitingLabel(name, language, downloadSize),
                T::stopButton};
    }
    if (state.is<VoiceState::Unpacking>()) {
        return {std::string(T::unpackingDetail), T::unpackingLabel(name, language), {}, false, false, true};
    }
    if (const auto* installed = std::get_if<VoiceState::Installed>(&state.value)) {
        return {T::installedDetail(installed->size),
                T::removeLabel(name, language, installed->size),
                T::removeButton,
                true,
                false,
                false,
                true};
    }
    if (const auto* failed = std::get_if<VoiceState::Failed>(&state.value)) {
        return {failed->message, T::retryLabel(name, language, downloadSize, failed->message),
                T::retryButton};
    }
    return {T::availableDetail(downloadSize), T::downloadLabel(name, language, downloadSize), T::getButton};
}

}  // namespace

EnhancedVoiceListModel::EnhancedVoiceListModel(Naming naming,
                                               std::function<VoiceState(const std::string&)> stateOf,
                                               QObject* parent)
    : QAbstractListModel(parent), naming_(std::move(naming)), stateOf_(std::move(stateOf)) {}

int EnhancedVoiceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QHash<int, QByteArray> EnhancedVoiceListModel::roleNames() const {
    return {{VoiceIdRole, "voiceId"},
            {NameRole, "name"},
            {DetailRole, "detail"},
            {FractionRole, "fraction"},
            {ButtonTextRole, "buttonText"},
            {DestructiveRole, "destructive"},
            {ShowsProgressRole, "showsProgress"},
            {ShowsSpinnerRole, "showsSpinner"},
            {ShowsCheckmarkRole, "showsCheckmark"},
            {AccessibleNameRole, "accessibleName"},
            {ReleaseNameRole, "releaseName"},
            {SectionHeaderRole, "sectionHeader"},
            {FirstInSectionRole, "firstInSection"}};
}

QVariant EnhancedVoiceListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case VoiceIdRole:
            return qtText(row.id);
        case NameRole:
            return qtText(row.name);
        case ReleaseNameRole:
            return qtText(row.voice.release.name);
        case SectionHeaderRole:
            return qtText(row.sectionHeader);
        case FirstInSectionRole:
            return row.firstInSection;
        default:
            return stateData(row, role);
    }
}

QVariant EnhancedVoiceListModel::stateData(const Row& row, int role) const {
    const VoiceState state = stateOf_(row.id);
    if (role == FractionRole) {
        const auto* downloading = std::get_if<VoiceState::Downloading>(&state.value);
        return downloading ? downloading->fraction : 0.0;
    }
    const RowLook look = rowLook(state, row.name, row.language, row.voice.downloadSize);
    switch (role) {
        case DetailRole:
            return qtText(EnhancedTexts::rowSubtitle(row.language, look.detail));
        case AccessibleNameRole:
            return qtText(look.accessibleName);
        case ButtonTextRole:
            return qtText(std::string(look.button));
        case DestructiveRole:
            return look.destructive;
        case ShowsProgressRole:
            return look.progress;
        case ShowsSpinnerRole:
            return look.spinner;
        case ShowsCheckmarkRole:
            return look.checkmark;
        default:
            return {};
    }
}

void EnhancedVoiceListModel::setVoices(const std::vector<EnhancedVoice>& voices) {
    beginResetModel();
    rows_.clear();
    for (const auto& release : VoiceRelease::downloadable()) {
        std::vector<const EnhancedVoice*> section;
        for (const auto& voice : voices) {
            if (voice.release == release) section.push_back(&voice);
        }
        const std::string header = sectionHeader(release.label, section.size());
        for (const EnhancedVoice* voice : section) {
            rows_.push_back(Row{*voice, voice->id(), naming_.voiceName(*voice),
                                naming_.languageName(voice->locale), header, voice == section.front()});
        }
    }
    endResetModel();
}

void EnhancedVoiceListModel::statesChanged(const std::vector<std::string>& voiceIds) {
    static const QList<int> stateRoles{FractionRole,     DetailRole,        AccessibleNameRole,
                                       ButtonTextRole,   DestructiveRole,   ShowsProgressRole,
                                       ShowsSpinnerRole, ShowsCheckmarkRole};
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (std::ranges::find(voiceIds, rows_[i].id) == voiceIds.end()) continue;
        const QModelIndex changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed, stateRoles);
    }
}

}  // namespace velmora
