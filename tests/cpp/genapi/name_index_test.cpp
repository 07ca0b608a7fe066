// Names of nodes: each is found, none twice, and chosen ones cannot make the table slow.
#include "genapi/description.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using genapi::NameIndex;

/// Nodes and the index of their names, as a reader fills them.
struct Names {
    NameIndex::Added add(const std::string& name)
    {
        nodes.emplace_back().name = kept.emplace_back(name);
        return index.add(static_cast<std::int32_t>(nodes.size() - 1), nodes);
    }

    std::deque<std::string> kept;
    std::vector<genapi::Node> nodes;
    NameIndex index;
};

TEST(NameIndexTest, EveryNameIsFoundAndNoneTwice)
{
    Names names;
    EXPECT_EQ(names.index.find("Width", names.nodes), -1) << "of an empty table";
    constexpr int kCount = 20000;
    for (int i = 0; i < kCount; ++i)
        ASSERT_EQ(names.add("Feature" + std::to_string(i)), NameIndex::Added::kYes) << i;
    for (int i = 0; i < kCount; ++i)
        ASSERT_EQ(names.index.find("Feature" + std::to_string(i), names.nodes), i);
    EXPECT_EQ(names.index.find("Feature20000", names.nodes), -1);
    EXPECT_EQ(names.add("Feature7"), NameIndex::Added::kKnown);
    EXPECT_EQ(names.index.find("Feature7", names.nodes), 7) << "the first one has the name";
}

TEST(NameIndexTest, NamesThatAreChosenToMeetAreRefused)
{
    // All of these belong to one place of a table of up to 4096.
    constexpr std::size_t kPlaces = 4096;
    Names names;
    NameIndex::Added added = NameIndex::Added::kYes;
    int taken = 0;
    for (int i = 0; added == NameIndex::Added::kYes && taken < 200; ++i) {
        const std::string name = "Node" + std::to_string(i);
        if (std::hash<std::string_view>{}(name) % kPlaces != 0)
            continue;
        added = names.add(name);
        taken += added == NameIndex::Added::kYes ? 1 : 0;
    }
    EXPECT_EQ(added, NameIndex::Added::kTooManyAlike);
    EXPECT_GT(taken, 30);
}

} // namespace
