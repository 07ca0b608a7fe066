// Chunks at the end of a payload against bytes written by hand.
#include "core/chunk_trailer.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

TEST(ChunkTrailer, FindsChunksFromTheEnd)
{
    std::vector<std::uint8_t> bytes{1,          2, 3, 4, /* id */ 0,     0, 0, 1, /* length */ 0, 0,
                                    0,          4, 9, 9,
                                    /* id */ 0, 0, 0, 7, /* length */ 0, 0, 0, 2};
    const auto places = core::chunkPlaces(bytes.data(), bytes.size(), true);
    ASSERT_EQ(places.size(), 2U);
    EXPECT_EQ(places[0].id, 1U);
    EXPECT_EQ(places[0].offset, 0U);
    EXPECT_EQ(places[0].size, 4U);
    EXPECT_EQ(places[1].id, 7U);
    EXPECT_EQ(places[1].offset, 12U);
    EXPECT_EQ(places[1].size, 2U);
    EXPECT_TRUE(core::chunkPlaces(bytes.data(), bytes.size(), false).empty());
    EXPECT_TRUE(core::chunkPlaces(bytes.data(), bytes.size() - 1, true).empty());
    bytes[11] = 5; // the first chunk would begin before the payload
    EXPECT_TRUE(core::chunkPlaces(bytes.data(), bytes.size(), true).empty());
}

} // namespace
