#include "SpeechData.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "base/Fnv1a.h"
#include "base/ReadFile.h"
#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"

namespace velmora::provider {
namespace fs = std::filesystem;
namespace {

// The regular files of a voice folder that hold voice data, sorted by name: everything but
// the header and the dictionaries.
std::optional<std::vector<fs::path>> dataFiles(const fs::path& directory) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        std::error_code kindError;
        if (name == VoiceStore::headerName || VoiceStore::isDictionaryFile(name)) continue;
        if (it->is_regular_file(kindError)) files.push_back(it->path());
    }
    if (error) return std::nullopt;
    std::ranges::sort(files);
    if (files.size() > SpeechData::maximumHashedFiles) files.resize(SpeechData::maximumHashedFiles);
    return files;
}

// The rules of a voice folder: "user_rules.txt", then every user dictionary in name order.
PronunciationRules readRules(const fs::path& directory) {
    PronunciationRules rules;
    if (auto text = readWholeFile(directory / "user_rules.txt", SpeechData::maximumRulesFileSize)) {
        rules = PronunciationRules::parse(*text);
    }
    std::vector<fs::path> dictionaries;
    std::error_code error;
    for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        if (name.find("userdct") != std::string::npos) dictionaries.push_back(it->path());
    }
    std::ranges::sort(dictionaries);
    for (const auto& file : dictionaries) {
        if (auto text = readWholeFile(file, SpeechData::maximumRulesFileSize)) {
            rules = rules.followedBy(PronunciationRules::parse(*text));
        }
    }
    return rules;
}

bool isPitchChange(double pitch) { return std::isfinite(pitch) && std::abs(pitch - 1.0) > 1e-6; }

}  // namespace

std::optional<SpeechData> SpeechData::read(const fs::path& directory, Source source) {
    const fs::path headerFile = directory / VoiceStore::headerName;
    std::error_code error;
    const std::uintmax_t headerSize = fs::file_size(headerFile, error);
    if (error || headerSize > maximumHeaderSize) return std::nullopt;
    auto headerText = readLatin1File(headerFile);
    if (!headerText || !VoiceStore::brokerTag("voice", *headerText)) return std::nullopt;
    auto files = dataFiles(directory);
    if (!files) return std::nullopt;

    Fnv1a fingerprint;
    fingerprint.add(*headerText);
    for (const auto& file : *files) {
        auto bytes = readFileStart(file, hashedBytesPerFile);
        if (!bytes) return std::nullopt;
        fingerprint.add(file.filename().string());
        fingerprint.add(*bytes);
    }
    SpeechData data;
    data.source = source;
    data.directory = directory;
    data.fingerprint = fingerprint.value();
    data.gender = VoiceStore::brokerTag("gender", *headerText).value_or("female");
    data.rules = readRules(directory);
    return data;
}

SpeechData SpeechData::forUtterance(const CompactVoice& voice, double pitch) {
    auto compactFolder = VoiceStore::compactDirectory(voice.release, voice.locale);
    auto compact = compactFolder ? read(*compactFolder, Source::compact) : std::nullopt;
    if (!compact) throw std::runtime_error("The compact data of " + voice.identifier() + " cannot be read.");

    const bool packAllowed = !isPitchChange(pitch) || voice.release.enhancedTakesPitch;
    auto packFolder = packAllowed ? VoiceStore::directory(voice.release, voice.locale) : std::nullopt;
    auto pack = packFolder ? read(*packFolder, Source::pack) : std::nullopt;
    if (!pack) return *compact;

    // The voice keeps its identity from the compact header; a pack without rules of its own
    // reads text as the compact voice does.
    pack->gender = compact->gender;
    if (pack->rules.rules().empty()) pack->rules = compact->rules;
    return *pack;
}

}  // namespace velmora::provider
