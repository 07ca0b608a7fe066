// The bytes that a fuzzer hands to a target, taken from the front.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

/// What every target is: called with bytes that may be anything; returns 0, or does not return.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz
{

/// Ends the process when something that must hold does not; the fuzzer keeps the input.
inline void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// Reads numbers and pieces; zeros and nothing behind the end.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::size_t left() const { return size_; }
    std::uint8_t byte()
    {
        const std::vector<std::uint8_t> one = piece(1);
        return one.empty() ? std::uint8_t{0} : one[0];
    }
    std::uint16_t word()
    {
        const std::uint8_t high = byte();
        return static_cast<std::uint16_t>(high << 8U | byte());
    }
    /// At most `size` bytes in memory of their very size, so that a sanitizer sees one too many.
    std::vector<std::uint8_t> piece(std::size_t size)
    {
        size = std::min(size, size_);
        std::vector<std::uint8_t> bytes(data_, data_ + size);
        data_ += size;
        size_ -= size;
        return bytes;
    }
    std::string rest() { return {reinterpret_cast<const char*>(data_), size_}; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

} // namespace fuzz
