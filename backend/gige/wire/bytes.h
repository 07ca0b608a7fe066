// Memory with its length: what every parser here reads and every writer here writes.
//
// Overview of gige/wire: pure functions over these two types, without sockets, threads, exceptions
// or state. Nothing here trusts a length, a count or an id from a packet further than the bytes
// that were given.
//   bytes.h      Bytes (borrowed, read), Writer (borrowed, written), Datagram (a whole GVCP packet)
//   bootstrap.h  addresses and bits of the registers that every device has
//   gvcp.h       commands and acknowledges of the control channel, both ways
//   discovery.h  what a device tells of itself
//   events.h     EVENT and EVENTDATA
//   gvsp.h       packet headers of the stream channel, part prefixes
//   leader.h     leaders, trailers, all-in packets, tags of chunks
//   xml_url.h    where the description lies
// Parsers answer false (or a count of 0) for what is not whole; out parameters are then
// unspecified. All numbers are host integers.
#pragma once

#include "base/endian.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace gige::wire
{

/// Borrowed bytes. Every access is checked: beyond the end lies nothing, and numbers there are 0.
struct Bytes {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;

    Bytes() = default;
    Bytes(const void* bytes, std::size_t count)
        : data(static_cast<const std::uint8_t*>(bytes)), size(count)
    {
    }

    bool empty() const { return size == 0; }
    /// Whether `length` bytes lie at `offset`.
    bool holds(std::size_t offset, std::size_t length) const
    {
        return offset <= size && length <= size - offset;
    }
    /// What lies from `offset` on.
    Bytes from(std::size_t offset) const
    {
        return offset <= size ? Bytes(data + offset, size - offset) : Bytes();
    }
    /// At most the first `length` bytes.
    Bytes first(std::size_t length) const { return {data, std::min(size, length)}; }
    /// The big-endian number at `offset`.
    template <class Word> Word big(std::size_t offset) const
    {
        return holds(offset, sizeof(Word)) ? base::loadBig<Word>(data + offset) : Word{0};
    }
    std::uint8_t u8(std::size_t offset) const { return big<std::uint8_t>(offset); }
    std::uint16_t u16(std::size_t offset) const { return big<std::uint16_t>(offset); }
    std::uint32_t u32(std::size_t offset) const { return big<std::uint32_t>(offset); }
    std::uint64_t u64(std::size_t offset) const { return big<std::uint64_t>(offset); }
    /// The six-byte number at `offset`.
    std::uint64_t u48(std::size_t offset) const
    {
        return holds(offset, 6) ? std::uint64_t{u16(offset)} << 32U | u32(offset + 2) : 0;
    }
    /// The text in a field of `capacity` bytes: up to its first NUL, or all of it.
    std::string_view text(std::size_t offset, std::size_t capacity) const
    {
        if (!holds(offset, capacity)) {
            return {};
        }
        const auto* begin = reinterpret_cast<const char*>(data + offset);
        return {begin, static_cast<std::size_t>(std::find(begin, begin + capacity, '\0') - begin)};
    }
};

/// Appends to borrowed memory. What does not fit is not written, and ok() is false from then on.
class Writer
{
public:
    Writer(void* memory, std::size_t capacity)
        : data_(static_cast<std::uint8_t*>(memory)), capacity_(capacity)
    {
    }

    bool ok() const { return ok_; }
    std::size_t size() const { return size_; }
    /// Bytes written, or 0 when something did not fit.
    std::size_t result() const { return ok_ ? size_ : 0; }

    template <class Word> Writer& big(Word value)
    {
        if (std::uint8_t* const at = claim(sizeof(Word))) {
            base::storeBig<Word>(at, value);
        }
        return *this;
    }
    Writer& u8(std::uint8_t value) { return big(value); }
    Writer& u16(std::uint16_t value) { return big(value); }
    Writer& u32(std::uint32_t value) { return big(value); }
    Writer& u64(std::uint64_t value) { return big(value); }
    /// The low six bytes.
    Writer& u48(std::uint64_t value)
    {
        return u16(static_cast<std::uint16_t>(value >> 32U)).u32(static_cast<std::uint32_t>(value));
    }
    Writer& bytes(Bytes source)
    {
        std::uint8_t* const at = claim(source.size);
        if (at != nullptr && source.size > 0) {
            std::memcpy(at, source.data, source.size);
        }
        return *this;
    }
    Writer& zeros(std::size_t count)
    {
        std::uint8_t* const at = claim(count);
        if (at != nullptr && count > 0) {
            std::memset(at, 0, count);
        }
        return *this;
    }
    /// A field of `capacity` bytes, padded with NUL; a longer text is cut.
    Writer& text(std::string_view value, std::size_t capacity)
    {
        const std::size_t used = std::min(value.size(), capacity);
        return bytes({value.data(), used}).zeros(capacity - used);
    }

private:
    std::uint8_t* claim(std::size_t count)
    {
        ok_ = ok_ && count <= capacity_ - size_;
        if (!ok_) {
            return nullptr;
        }
        std::uint8_t* const at = data_ + size_;
        size_ += count;
        return at;
    }

    std::uint8_t* data_;
    std::size_t capacity_;
    std::size_t size_ = 0;
    bool ok_ = true;
};

/// A GVCP packet ready to be sent. The protocol allows no larger ones.
struct Datagram {
    static constexpr std::size_t kCapacity = 548; ///< 576 without the headers of IP and UDP.

    std::array<std::uint8_t, kCapacity> data;
    std::size_t size = 0; ///< 0: the contents did not fit.

    Bytes bytes() const { return {data.data(), size}; }
};

} // namespace gige::wire
