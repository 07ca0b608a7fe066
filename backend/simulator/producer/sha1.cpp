// SHA-1 as FIPS 180-4 describes it.
#include "simulator/producer/sha1.h"

#include <string>

namespace simulator::producer
{

namespace
{

constexpr std::size_t kBlockSize = 64;

std::uint32_t rotated(std::uint32_t value, unsigned bits)
{
    return (value << bits) | (value >> (32 - bits));
}

void mixBlock(std::array<std::uint32_t, 5>& state, const unsigned char* block)
{
    std::array<std::uint32_t, 80> words{};
    for (std::size_t i = 0; i < 16; ++i) {
        words[i] = std::uint32_t{block[4 * i]} << 24 | std::uint32_t{block[4 * i + 1]} << 16 |
                   std::uint32_t{block[4 * i + 2]} << 8 | std::uint32_t{block[4 * i + 3]};
    }
    for (std::size_t i = 16; i < words.size(); ++i) {
        words[i] = rotated(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
    }
    auto [a, b, c, d, e] = state;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::uint32_t mixed = 0;
        if (i < 20) {
            mixed = ((b & c) | (~b & d)) + 0x5a827999;
        } else if (i < 40) {
            mixed = (b ^ c ^ d) + 0x6ed9eba1;
        } else if (i < 60) {
            mixed = ((b & c) | (b & d) | (c & d)) + 0x8f1bbcdc;
        } else {
            mixed = (b ^ c ^ d) + 0xca62c1d6;
        }
        const std::uint32_t next = rotated(a, 5) + mixed + e + words[i];
        e = d;
        d = c;
        c = rotated(b, 30);
        b = a;
        a = next;
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
}

} // namespace

Sha1Digest sha1(std::string_view text)
{
    std::string padded(text);
    padded += '\x80';
    padded.append((2 * kBlockSize - 8 - padded.size() % kBlockSize) % kBlockSize, '\0');
    const std::uint64_t bits = std::uint64_t{text.size()} * 8;
    for (int shift = 56; shift >= 0; shift -= 8) {
        padded += static_cast<char>(bits >> shift & 0xff);
    }
    std::array<std::uint32_t, 5> state{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    for (std::size_t at = 0; at < padded.size(); at += kBlockSize) {
        mixBlock(state, reinterpret_cast<const unsigned char*>(padded.data()) + at);
    }
    Sha1Digest digest{};
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)) & 0xff);
    }
    return digest;
}

} // namespace simulator::producer
