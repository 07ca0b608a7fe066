// Deflate of picture rows, inflated again by the common library.
#include "serializer/prefix_code.h"
#include "serializer/row_deflater.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <queue>
#include <random>

namespace
{

using Bytes = std::vector<unsigned char>;

/// A generator whose results are of 32 bits in type, too.
class Random
{
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    unsigned operator()() { return static_cast<unsigned>(engine_()); }
    int normal(double deviation)
    {
        return static_cast<int>(
            std::lround(std::normal_distribution<double>(0, deviation)(engine_)));
    }

private:
    std::mt19937 engine_;
};

/// All of `data` in pieces of at most `piece` bytes.
Bytes deflated(serializer::RowDeflater& deflater, const Bytes& data, std::size_t piece)
{
    Bytes all;
    Bytes out;
    std::size_t at = 0;
    do {
        const std::size_t now = std::min(piece, data.size() - at);
        deflater.compress(data.data() + at, now, at + now == data.size(), &out);
        all.insert(all.end(), out.begin(), out.end());
        at += now;
    } while (at < data.size());
    return all;
}

/// What an inflater makes of a whole stream; empty and a failure if it is none.
Bytes inflated(Bytes stream, std::size_t size)
{
    Bytes out(size + 1);
    z_stream state = {};
    EXPECT_EQ(inflateInit2(&state, -15), Z_OK);
    state.next_in = stream.data();
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = out.data();
    state.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(inflate(&state, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(state.avail_in, 0U);
    out.resize(state.total_out);
    inflateEnd(&state);
    return out;
}

/// What the common library needs with run lengths alone.
std::size_t runLengthSize(Bytes data)
{
    z_stream state = {};
    EXPECT_EQ(deflateInit2(&state, 1, Z_DEFLATED, -15, 9, Z_RLE), Z_OK);
    Bytes out(deflateBound(&state, data.size()));
    state.next_in = data.data();
    state.avail_in = static_cast<uInt>(data.size());
    state.next_out = out.data();
    state.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&state, Z_FINISH), Z_STREAM_END);
    const std::size_t size = state.total_out;
    deflateEnd(&state);
    return size;
}

/// Bits of the best prefix code without a limit.
std::uint64_t bestCost(const std::vector<std::uint32_t>& frequencies)
{
    std::priority_queue<std::uint64_t, std::vector<std::uint64_t>, std::greater<>> left;
    for (const std::uint32_t frequency : frequencies) {
        if (frequency != 0) {
            left.push(frequency);
        }
    }
    std::uint64_t cost = left.size() == 1 ? left.top() : 0;
    while (left.size() > 1) {
        std::uint64_t both = left.top();
        left.pop();
        both += left.top();
        left.pop();
        cost += both;
        left.push(both);
    }
    return cost;
}

} // namespace

TEST(Deflate, EverythingComesBack)
{
    Random random(1);
    serializer::RowDeflater deflater;
    for (int i = 0; i < 1500; ++i) {
        const unsigned values[] = {256, 1 + random() % 5, 40};
        Bytes data(random() % (i % 20 == 0 ? 200000 : 700));
        const unsigned stays = random() % 100;
        unsigned char value = 0;
        for (unsigned char& byte : data) {
            value = random() % 100 < stays ? value
                                           : static_cast<unsigned char>(random() % values[i % 3]);
            byte = value;
        }
        const Bytes stream = deflated(deflater, data, 1 + random() % 100000);
        ASSERT_EQ(inflated(stream, data.size()), data) << "round " << i;
    }
    for (const std::size_t length :
         {0,   1,   4,   5,   6,   257,   258,   259,   260,   261,   262,
          516, 517, 518, 519, 520, 59999, 60000, 60001, 60005, 120001}) {
        const Bytes flat(length, 7);
        ASSERT_EQ(inflated(deflated(deflater, flat, 262144), length), flat) << length;
    }
}

TEST(Deflate, IsNoLargerThanTheCommonLibraryWithRunLengths)
{
    Random random(2);
    serializer::RowDeflater deflater;
    Bytes data(250000);
    for (unsigned char& byte : data) {
        byte = static_cast<unsigned char>(random.normal(6));
    }
    EXPECT_LE(deflated(deflater, data, data.size()).size(), runLengthSize(data));
    std::fill(data.begin() + 1000, data.begin() + 200000, 0);
    EXPECT_LE(deflated(deflater, data, data.size()).size(), runLengthSize(data));
    for (unsigned char& byte : data) {
        byte = static_cast<unsigned char>(random());
    }
    EXPECT_LE(deflated(deflater, data, data.size()).size(), data.size() + 6 * 5);
}

TEST(Deflate, CodesAreWholeAndGood)
{
    Random random(3);
    for (int i = 0; i < 2000; ++i) {
        std::vector<std::uint32_t> frequencies(1 + random() % 286);
        const unsigned spread = 1 + random() % 20;
        for (std::uint32_t& frequency : frequencies) {
            frequency = random() % 4 == 0 ? 0 : random() >> (31U - spread);
        }
        const unsigned limit = 9 + random() % 7;
        Bytes lengths(frequencies.size());
        serializer::chooseLengths(frequencies.data(), frequencies.size(), limit, lengths.data());
        std::uint64_t space = 0;
        std::uint64_t cost = 0;
        std::size_t used = 0;
        for (std::size_t s = 0; s < lengths.size(); ++s) {
            ASSERT_EQ(lengths[s] == 0, frequencies[s] == 0);
            ASSERT_LE(lengths[s], limit);
            space += lengths[s] != 0 ? 1U << (limit - lengths[s]) : 0;
            cost += std::uint64_t{lengths[s]} * frequencies[s];
            used += lengths[s] != 0 ? 1 : 0;
        }
        ASSERT_TRUE(used < 2 || space == 1U << limit);
        // No length reaches the limit where it does not bind.
        const bool free = *std::max_element(lengths.begin(), lengths.end()) < limit;
        ASSERT_TRUE(!free || cost == bestCost(frequencies)) << "round " << i;
    }
}
