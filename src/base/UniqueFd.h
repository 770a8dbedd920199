#pragma once

namespace velmora {

// Owns a file descriptor and closes it once; -1 holds none. An error while closing is of no
// use to anyone here, so it is dropped.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return fd_; }
    // Gives up ownership: the caller closes what it returns.
    int release();
    void reset();

private:
    int fd_ = -1;
};

}  // namespace velmora
