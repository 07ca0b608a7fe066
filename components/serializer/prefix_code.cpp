#include "prefix_code.h"

#include <algorithm>
#include <array>

namespace serializer
{

namespace
{

constexpr std::size_t kMostSymbols = 320;
constexpr unsigned kLongest = 15;

struct Used {
    std::uint32_t frequency;
    std::uint16_t symbol;
};

// The depths of the leaves of the best tree over frequencies that rise; any depth. Nodes are made
// in rising order too, so the two smallest are always at the front of the leaves or of the nodes.
void leafDepths(const Used* leaves, std::size_t count, std::uint16_t* depths)
{
    std::array<std::uint32_t, kMostSymbols> weights;
    std::array<std::uint16_t, kMostSymbols> parentOfLeaf;
    std::array<std::uint16_t, kMostSymbols> parentOfNode;
    std::size_t leaf = 0;
    std::size_t node = 0;
    for (std::size_t made = 0; made + 1 < count; ++made) {
        weights[made] = 0;
        for (int child = 0; child < 2; ++child) {
            if (leaf < count && (node >= made || leaves[leaf].frequency <= weights[node])) {
                weights[made] += leaves[leaf].frequency;
                parentOfLeaf[leaf++] = static_cast<std::uint16_t>(made);
            } else {
                weights[made] += weights[node];
                parentOfNode[node++] = static_cast<std::uint16_t>(made);
            }
        }
    }
    std::array<std::uint16_t, kMostSymbols> depthOfNode;
    depthOfNode[count - 2] = 0;
    for (std::size_t i = count - 2; i-- > 0;) {
        depthOfNode[i] = static_cast<std::uint16_t>(depthOfNode[parentOfNode[i]] + 1);
    }
    for (std::size_t i = 0; i < count; ++i) {
        depths[i] = static_cast<std::uint16_t>(depthOfNode[parentOfLeaf[i]] + 1);
    }
}

// Cuts lengths to the limit, then makes shorter codes longer until all fit again.
void limitLengths(std::uint32_t* lengthCounts, unsigned limit)
{
    std::uint32_t space = 0;
    for (unsigned length = 1; length <= limit; ++length) {
        space += lengthCounts[length] << (limit - length);
    }
    for (; space > 1U << limit; --space) {
        unsigned length = limit - 1;
        while (lengthCounts[length] == 0) {
            --length;
        }
        --lengthCounts[length];
        lengthCounts[length + 1] += 2;
        --lengthCounts[limit];
    }
}

} // namespace

void chooseLengths(const std::uint32_t* frequencies, std::size_t count, unsigned limit,
                   std::uint8_t* lengths)
{
    std::array<Used, kMostSymbols> used;
    std::size_t size = 0;
    for (std::size_t i = 0; i < count; ++i) {
        lengths[i] = 0;
        if (frequencies[i] != 0) {
            used[size++] = {frequencies[i], static_cast<std::uint16_t>(i)};
        }
    }
    if (size < 2) {
        if (size == 1) {
            lengths[used[0].symbol] = 1;
        }
        return;
    }
    std::sort(used.begin(), used.begin() + size, [](const Used& a, const Used& b) {
        return a.frequency != b.frequency ? a.frequency < b.frequency : a.symbol < b.symbol;
    });
    std::array<std::uint16_t, kMostSymbols> depths;
    leafDepths(used.data(), size, depths.data());
    std::array<std::uint32_t, kLongest + 1> lengthCounts{};
    for (std::size_t i = 0; i < size; ++i) {
        ++lengthCounts[std::min<unsigned>(depths[i], limit)];
    }
    limitLengths(lengthCounts.data(), limit);
    // The rarest symbols come first and get the longest codes.
    std::size_t next = 0;
    for (unsigned length = limit; length > 0; --length) {
        for (std::uint32_t i = 0; i < lengthCounts[length]; ++i) {
            lengths[used[next++].symbol] = static_cast<std::uint8_t>(length);
        }
    }
}

void assignCodes(const std::uint8_t* lengths, std::size_t count, std::uint16_t* codes)
{
    std::array<std::uint32_t, kLongest + 1> lengthCounts{};
    for (std::size_t i = 0; i < count; ++i) {
        ++lengthCounts[lengths[i]];
    }
    lengthCounts[0] = 0;
    std::array<std::uint32_t, kLongest + 1> next{};
    for (unsigned length = 1; length <= kLongest; ++length) {
        next[length] = (next[length - 1] + lengthCounts[length - 1]) << 1U;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t code = next[lengths[i]]++;
        std::uint32_t turned = 0;
        for (unsigned bit = 0; bit < lengths[i]; ++bit) {
            turned |= (code >> bit & 1U) << (lengths[i] - 1U - bit);
        }
        codes[i] = static_cast<std::uint16_t>(turned);
    }
}

} // namespace serializer
