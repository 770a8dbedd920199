#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <mutex>
#include <span>
#include <stop_token>
#include <thread>
#include <vector>

#include "enhanced/Sha1.h"

namespace velmora {

// An SHA-1 computed on a thread of its own, so that a download hashes on one core while it
// receives and writes on the other. Pieces are copied into blocks of `blockSize`; at most
// `queuedBlocks` wait, and update() waits while that many do, so memory stays bounded however
// fast the pieces come. The digest is that of Sha1 fed the same bytes in the same order.
class BackgroundSha1 {
public:
    static constexpr std::size_t blockSize = 1 << 20;
    static constexpr std::size_t queuedBlocks = 4;

    BackgroundSha1();
    // Stops the thread; blocks still waiting are dropped.
    ~BackgroundSha1();
    BackgroundSha1(const BackgroundSha1&) = delete;
    BackgroundSha1& operator=(const BackgroundSha1&) = delete;

    void update(std::span<const std::byte> piece);
    // Feeds a whole file, after the pieces given so far. Throws as Sha1::updateFromFile does.
    void updateFromFile(const std::filesystem::path& file);
    // The 20 raw bytes, once every piece is hashed; the computation is over afterwards.
    std::vector<std::byte> finish();

private:
    void queueBlock();
    // Queues the block being filled and waits until the thread has hashed every queued block.
    void hashEverythingGiven();
    void hashBlocks(const std::stop_token& stop);

    Sha1 hash_;
    std::vector<std::byte> block_;
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::deque<std::vector<std::byte>> queue_;   // full blocks, oldest first
    std::vector<std::vector<std::byte>> spare_;  // hashed blocks, kept to be filled again
    bool hashing_ = false;
    std::jthread worker_;  // last, so that it starts once everything it uses exists
};

}  // namespace velmora
