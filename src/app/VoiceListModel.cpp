#include "app/VoiceListModel.h"

#include "app/QtText.h"
#include "presenters/MainWindowTexts.h"
#include "presenters/SectionHeader.h"

namespace velmora {

VoiceListModel::VoiceListModel(std::function<std::string(const std::string&)> languageName, QObject* parent)
    : QAbstractListModel(parent), languageName_(std::move(languageName)) {}

int VoiceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QHash<int, QByteArray> VoiceListModel::roleNames() const {
    return {{IdentifierRole, "identifier"},
            {ShortNameRole, "shortName"},
            {LanguageNameRole, "languageName"},
            {AccessibleNameRole, "accessibleName"},
            {SectionHeaderRole, "sectionHeader"},
            {FirstInSectionRole, "firstInSection"},
            {SectionFooterRole, "sectionFooter"},
            {SpeakingRole, "speaking"},
            {ProviderRole, "provider"}};
}

QVariant VoiceListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case IdentifierRole:
            return qtText(row.voice.identifier);
        case ShortNameRole:
            return qtText(row.shortName);
        case LanguageNameRole:
            return qtText(row.languageName);
        case AccessibleNameRole:
            return qtText(MainWindowTexts::voiceAccessibleName(row.shortName, row.languageName));
        case SectionHeaderRole:
            return qtText(row.sectionHeader);
        case FirstInSectionRole:
            return row.firstInSection;
        case SectionFooterRole:
            return row.lastOfAll ? qtText(std::string(MainWindowTexts::systemWideHint)) : QString();
        case SpeakingRole:
            return !speaking_.empty() && row.voice.identifier == speaking_;
        case ProviderRole:
            return qtText(row.voice.provider);
        default:
            return {};
    }
}

void VoiceListModel::setGroups(const std::vector<VoiceGroup>& groups) {
    beginResetModel();
    rows_.clear();
    for (const auto& group : groups) {
        const std::string header = sectionHeader(group.release, group.voices.size());
        for (const auto& voice : group.voices) {
            rows_.push_back(Row{voice, MainWindowTexts::shortName(voice.name), languageName_(voice.language),
                                header, &voice == &group.voices.front(), false});
        }
    }
    if (!rows_.empty()) rows_.back().lastOfAll = true;
    endResetModel();
}

void VoiceListModel::setSpeakingVoice(const std::string& identifier) {
    if (identifier == speaking_) return;
    const std::string previous = std::exchange(speaking_, identifier);
    markChanged(previous);
    markChanged(speaking_);
}

void VoiceListModel::markChanged(const std::string& identifier) {
    if (identifier.empty()) return;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (rows_[i].voice.identifier != identifier) continue;
        const QModelIndex changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed, {SpeakingRole});
    }
}

}  // namespace velmora
