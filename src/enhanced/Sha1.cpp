#include "enhanced/Sha1.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "base/FileError.h"
#include "base/UniqueFd.h"

namespace velmora {
namespace {

constexpr std::size_t chunkSize = 4'194'304;

}  // namespace

struct Sha1::Context {
    EVP_MD_CTX* digest = EVP_MD_CTX_new();
    ~Context() { EVP_MD_CTX_free(digest); }
};

Sha1::Sha1() : context_(std::make_unique<Context>()) {
    if (context_->digest == nullptr || EVP_DigestInit_ex(context_->digest, EVP_sha1(), nullptr) != 1) {
        throw std::bad_alloc();
    }
}

Sha1::~Sha1() = default;

void Sha1::update(std::span<const std::byte> piece) {
    EVP_DigestUpdate(context_->digest, piece.data(), piece.size());
}

std::vector<std::byte> Sha1::finish() {
    std::vector<std::byte> result(size);
    unsigned int length = 0;
    EVP_DigestFinal_ex(context_->digest, reinterpret_cast<unsigned char*>(result.data()), &length);
    return result;
}

std::vector<std::byte> Sha1::ofFile(const std::filesystem::path& file) {
    Sha1 hash;
    hash.updateFromFile(file);
    return hash.finish();
}

void Sha1::updateFromFile(const std::filesystem::path& file) {
    const UniqueFd descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = descriptor.get();
    if (fd < 0) throwFileError("cannot open the archive", file, errno);
    std::vector<std::byte> chunk(chunkSize);
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throwFileError("cannot read the archive", file, errno);
        if (got == 0) break;
        update(std::span(chunk).first(static_cast<std::size_t>(got)));
    }
}

}  // namespace velmora
