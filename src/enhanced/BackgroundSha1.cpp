#include "enhanced/BackgroundSha1.h"

#include <algorithm>

namespace velmora {

BackgroundSha1::BackgroundSha1() : worker_([this](const std::stop_token& stop) { hashBlocks(stop); }) {
    block_.reserve(blockSize);
}

BackgroundSha1::~BackgroundSha1() {
    {
        const std::lock_guard lock(mutex_);
        queue_.clear();
    }
    worker_.request_stop();
    worker_.join();
}

void BackgroundSha1::update(std::span<const std::byte> piece) {
    while (!piece.empty()) {
        const std::size_t taken = std::min(piece.size(), blockSize - block_.size());
        block_.insert(block_.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(taken));
        piece = piece.subspan(taken);
        if (block_.size() == blockSize) queueBlock();
    }
}

void BackgroundSha1::updateFromFile(const std::filesystem::path& file) {
    hashEverythingGiven();
    hash_.updateFromFile(file);  // the thread is idle until the next block is queued
}

std::vector<std::byte> BackgroundSha1::finish() {
    hashEverythingGiven();
    return hash_.finish();
}

void BackgroundSha1::queueBlock() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return queue_.size() < queuedBlocks; });
    queue_.push_back(std::move(block_));
    if (spare_.empty()) {
        block_ = {};
        block_.reserve(blockSize);
    } else {
        block_ = std::move(spare_.back());
        spare_.pop_back();
    }
    changed_.notify_all();
}

void BackgroundSha1::hashEverythingGiven() {
    if (!block_.empty()) queueBlock();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return queue_.empty() && !hashing_; });
}

void BackgroundSha1::hashBlocks(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return !queue_.empty(); })) {
        std::vector<std::byte> block = std::move(queue_.front());
        queue_.pop_front();
        hashing_ = true;
        lock.unlock();
        hash_.update(block);
        lock.lock();
        hashing_ = false;
        block.clear();
        spare_.push_back(std::move(block));
        changed_.notify_all();
    }
}

}  // namespace velmora
