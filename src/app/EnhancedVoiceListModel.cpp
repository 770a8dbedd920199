#include "app/EnhancedVoiceListModel.h"

#include "app/QtText.h"
#include "presenters/EnhancedTexts.h"
#include "presenters/SectionHeader.h"
#include "store/VoiceRelease.h"

namespace velmora {
namespace {

struct RowTexts {
    std::string detail;
    std::string accessibleName;
};

// The row's detail and accessibility label for the voice's state.
RowTexts rowTexts(const VoiceState& state, const std::string& name, const std::string& language,
                  std::int64_t downloadSize) {
    using T = EnhancedTexts;
    if (const auto* downloading = std::get_if<VoiceState::Downloading>(&state.value)) {
        return {T::downloadingDetail(downloading->fraction, downloadSize),
                T::stopDownloadingLabel(name, language, downloading->fraction, downloadSize)};
    }
    if (state.is<VoiceState::Unpacking>()) {
        return {std::string(T::unpackingDetail), T::unpackingLabel(name, language)};
    }
    if (const auto* installed = std::get_if<VoiceState::Installed>(&state.value)) {
        return {T::installedDetail(installed->size), T::removeLabel(name, language, installed->size)};
    }
    if (const auto* failed = std::get_if<VoiceState::Failed>(&state.value)) {
        return {failed->message, T::retryLabel(name, language, downloadSize, failed->message)};
    }
    return {T::availableDetail(downloadSize), T::downloadLabel(name, language, downloadSize)};
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
            {StateKindRole, "stateKind"},
            {FractionRole, "fraction"},
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
    switch (role) {
        case StateKindRole:
            return QString::fromLatin1(state.kindName());
        case FractionRole: {
            const auto* downloading = std::get_if<VoiceState::Downloading>(&state.value);
            return downloading ? downloading->fraction : 0.0;
        }
        case DetailRole:
            return qtText(EnhancedTexts::rowSubtitle(
                row.language, rowTexts(state, row.name, row.language, row.voice.downloadSize).detail));
        case AccessibleNameRole:
            return qtText(rowTexts(state, row.name, row.language, row.voice.downloadSize).accessibleName);
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
    static const QList<int> stateRoles{StateKindRole, FractionRole, DetailRole, AccessibleNameRole};
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (std::ranges::find(voiceIds, rows_[i].id) == voiceIds.end()) continue;
        const QModelIndex changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed, stateRoles);
    }
}

}  // namespace velmora
