#include "gige/packet_pace.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;

/// Milliseconds for 100 packets.
double hundred(const gige::PacketPace& pace)
{
    return std::chrono::duration<double, std::milli>(pace.of(100)).count();
}

void add(gige::PacketPace& pace, int batches, std::chrono::microseconds each)
{
    for (int i = 0; i < batches; ++i) {
        pace.add(64, each);
    }
}

TEST(PacketPace, FollowsTheSenderButNoSinglePause)
{
    gige::PacketPace pace;
    EXPECT_EQ(hundred(pace), 0);
    add(pace, 10, 640us);
    EXPECT_NEAR(hundred(pace), 1.0, 0.001);
    // It was stopped for ten milliseconds, and is not sixteen times as slow from now on.
    add(pace, 1, 10640us);
    EXPECT_LT(hundred(pace), 2.0);
    add(pace, 10, 640us);
    EXPECT_NEAR(hundred(pace), 1.0, 0.01);
    // One that really is slower, or faster, is believed soon.
    add(pace, 10, 2560us);
    EXPECT_NEAR(hundred(pace), 4.0, 0.1);
    add(pace, 10, 320us);
    EXPECT_NEAR(hundred(pace), 0.5, 0.1);
}

} // namespace
