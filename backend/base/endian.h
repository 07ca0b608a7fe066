// Words of a fixed byte order in memory that comes from a wire, a file or a register.
//
// Header-only and free of everything else, so that any directory may use it.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace base
{

namespace detail
{
template <class Word> constexpr Word swapBytes(Word value)
{
    static_assert(std::is_unsigned_v<Word>, "bytes of unsigned words only");
    if constexpr (sizeof(Word) == 1) {
        return value;
    } else if constexpr (sizeof(Word) == 2) {
        return static_cast<Word>(__builtin_bswap16(value));
    } else if constexpr (sizeof(Word) == 4) {
        return static_cast<Word>(__builtin_bswap32(value));
    } else {
        return static_cast<Word>(__builtin_bswap64(value));
    }
}
} // namespace detail

/// The word at `bytes`, which need not be aligned: sizeof(Word) bytes are read.
template <class Word> Word loadLittle(const void* bytes)
{
    Word value;
    std::memcpy(&value, bytes, sizeof value);
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? detail::swapBytes(value) : value;
}

template <class Word> Word loadBig(const void* bytes)
{
    Word value;
    std::memcpy(&value, bytes, sizeof value);
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? value : detail::swapBytes(value);
}

/// Stores sizeof(Word) bytes at `bytes`, which need not be aligned.
template <class Word> void storeLittle(void* bytes, Word value)
{
    value = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? detail::swapBytes(value) : value;
    std::memcpy(bytes, &value, sizeof value);
}

template <class Word> void storeBig(void* bytes, Word value)
{
    value = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? value : detail::swapBytes(value);
    std::memcpy(bytes, &value, sizeof value);
}

} // namespace base
