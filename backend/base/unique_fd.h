// A file descriptor with one owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace base
{

/// Closes its descriptor when it goes. Moves, never copies. Header-only.
class UniqueFd
{
public:
    UniqueFd() = default;
    /// Takes over `fd`; negative numbers mean none.
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        if (this != &other) {
            reset();
            fd_ = other.release();
        }
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }

    /// Gives the descriptor away without closing it.
    int release() { return std::exchange(fd_, -1); }

    /// Closes now. What close() answers is lost: use closeChecked() where data may still be on
    /// its way to a disk.
    void reset()
    {
        if (fd_ >= 0) {
            ::close(std::exchange(fd_, -1));
        }
    }

    /// Closes and tells whether that went well; true without a descriptor.
    bool closeChecked() { return fd_ < 0 || ::close(std::exchange(fd_, -1)) == 0; }

private:
    int fd_ = -1;
};

} // namespace base
