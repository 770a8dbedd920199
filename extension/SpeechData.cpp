#include "SpeechData.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"

namespace velmora::provider {
namespace fs = std::filesystem;
namespace {

class Fingerprint {
public:
    void add(std::string_view bytes) {
        for (const char byte : bytes) {
            state_ ^= static_cast<unsigned char>(byte);
            state_ *= 1099511628211ull;
        }
    }
    std::uint64_t value() const { return state_; }

private:
    std::uint64_t state_ = 14695981039346656037ull;
};

// The first `limit` bytes of a file, or absent when it cannot be opened or read.
std::optional<std::string> readPrefix(const fs::path& file, std::size_t limit) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes(limit, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(limit));
    if (in.bad()) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

std::optional<std::string> readSmallFile(const fs::path& file, std::uintmax_t limit) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    if (error || size > limit) return std::nullopt;
    return readPrefix(file, static_cast<std::size_t>(size));
}

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
    if (auto text = readSmallFile(directory / "user_rules.txt", SpeechData::maximumRulesFileSize)) {
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
        if (auto text = readSmallFile(file, SpeechData::maximumRulesFileSize)) {
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

    Fingerprint fingerprint;
    fingerprint.add(*headerText);
    for (const auto& file : *files) {
        auto bytes = readPrefix(file, hashedBytesPerFile);
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
