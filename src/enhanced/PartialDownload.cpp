#include "enhanced/PartialDownload.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "base/Environment.h"
#include "base/FileError.h"
#include "base/ReadFile.h"
#include "enhanced/EnhancedVoiceCatalog.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

constexpr const char* dataSuffix = ".part";
constexpr const char* metadataSuffix = ".meta";

std::string keyOf(const EnhancedVoice& voice) { return voice.release.name + "_" + voice.locale; }

struct Recorded {
    std::string url;
    std::string validator;
    std::int64_t length = 0;
};

// Three lines: address, validator, length reached.
std::optional<Recorded> readRecord(const fs::path& metadata) {
    const auto text = readWholeFile(metadata, 65'536);
    if (!text) return std::nullopt;
    std::istringstream lines(*text);
    Recorded recorded;
    std::string length;
    if (!std::getline(lines, recorded.url) || !std::getline(lines, recorded.validator) ||
        !std::getline(lines, length))
        return std::nullopt;
    const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), recorded.length);
    if (error != std::errc() || end != length.data() + length.size() || recorded.length < 0)
        return std::nullopt;
    return recorded;
}

bool tryLock(int fd) { return ::flock(fd, LOCK_EX | LOCK_NB) == 0; }

}  // namespace

fs::path PartialDownload::folder() { return xdgCacheHome() / "velmora" / "downloads"; }

PartialDownload::PartialDownload(const EnhancedVoice& voice)
    : file_(folder() / (keyOf(voice) + dataSuffix)),
      metadata_(folder() / (keyOf(voice) + metadataSuffix)),
      url_(voice.url) {
    fs::create_directories(folder());
    fd_ = UniqueFd(::open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (fd_.get() < 0) throwFileError("cannot open the partial download", file_, errno);
    if (!tryLock(fd_.get())) throw std::runtime_error("Another program is downloading this voice right now.");
    const auto recorded = readRecord(metadata_);
    const auto size = static_cast<std::int64_t>(fs::file_size(file_));
    if (recorded && recorded->url == url_ && !recorded->validator.empty() && size >= recorded->length) {
        validator_ = recorded->validator;
        length_ = recorded_ = recorded->length;
    }
    // Bytes past the recorded length may be torn by a crash: they are fetched again.
    if (::ftruncate(fd_.get(), length_) != 0) throwFileError("cannot cut the partial download", file_, errno);
    if (::lseek(fd_.get(), length_, SEEK_SET) < 0)
        throwFileError("cannot seek the partial download", file_, errno);
}

PartialDownload::~PartialDownload() {
    if (discarded_ || length_ == recorded_) return;
    try {
        record();
    } catch (const std::exception&) {
        // The bytes past the last record are fetched again next time.
    }
}

void PartialDownload::startOver(const std::string& validator) {
    if (::ftruncate(fd_.get(), 0) != 0) throwFileError("cannot empty the partial download", file_, errno);
    if (::lseek(fd_.get(), 0, SEEK_SET) < 0) throwFileError("cannot seek the partial download", file_, errno);
    validator_ = validator;
    length_ = 0;
    record();
}

void PartialDownload::append(std::span<const std::byte> piece) {
    while (!piece.empty()) {
        const ssize_t done = ::write(fd_.get(), piece.data(), piece.size());
        if (done < 0 && errno == EINTR) continue;
        if (done < 0) throwFileError("cannot write the partial download", file_, errno);
        piece = piece.subspan(static_cast<std::size_t>(done));
        length_ += done;
    }
    if (length_ - recorded_ >= recordInterval) record();
}

void PartialDownload::record() {
    fs::path written = metadata_;
    written += ".new";
    {
        std::ofstream out(written, std::ios::trunc);
        out << url_ << '\n' << validator_ << '\n' << length_ << '\n';
        if (!out.flush()) throwFileError("cannot write the partial download's record", written, EIO);
    }
    fs::rename(written, metadata_);
    recorded_ = length_;
}

void PartialDownload::discard() {
    std::error_code ignored;
    fs::remove(metadata_, ignored);
    fs::remove(file_, ignored);
    discarded_ = true;
}

void PartialDownload::sweep(std::span<const EnhancedVoice> catalog) {
    std::error_code error;
    const auto oldest = fs::file_time_type::clock::now() - keptFor;
    for (const auto& entry : fs::directory_iterator(folder(), error)) {
        const fs::path path = entry.path();
        const std::string key = path.stem().string();
        const bool listed =
            std::ranges::any_of(catalog, [&key](const EnhancedVoice& voice) { return keyOf(voice) == key; });
        std::error_code ignored;
        if (listed && entry.last_write_time(ignored) >= oldest) continue;
        fs::path data = path.parent_path() / (key + dataSuffix);
        const UniqueFd held(::open(data.c_str(), O_RDONLY | O_CLOEXEC));
        if (held.get() >= 0 && !tryLock(held.get())) continue;
        fs::remove(path, ignored);
    }
}

std::vector<EnhancedVoice> fetchCatalogSweepingPartials(std::stop_token stop) {
    auto voices = EnhancedVoiceCatalog::fetch(std::move(stop));
    PartialDownload::sweep(voices);
    return voices;
}

}  // namespace velmora
