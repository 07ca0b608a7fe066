#include "vision/receiver_options.h"

namespace vision
{

using features::FeatureValue;

void ReceiverOptions::declare(features::FeatureTable& table, bool overNetwork)
{
    const auto flag = [this](std::atomic<bool>* option) {
        return [this, option](std::size_t, const FeatureValue& value) {
            *option = std::get<std::int64_t>(value) != 0;
            changed = true;
            return std::int32_t{0};
        };
    };
    const auto number = [this](std::atomic<std::int64_t>* option) {
        return [this, option](std::size_t, const FeatureValue& value) {
            *option = std::get<std::int64_t>(value);
            changed = true;
            return std::int32_t{0};
        };
    };
    table.category("StreamReceiver", "How frames are received; takes effect at the next start.");
    if (!overNetwork) {
        return;
    }
    table.boolean("StreamPacketResend", "Missing packets are asked for again.")
        .value(std::int64_t{1})
        .onWrite(flag(&packetResend));
    table
        .boolean("StreamPacketSocket",
                 "Packets are taken in front of the network stack where that is permitted: "
                 "nothing is lost at high rates, but a start takes longer.")
        .expert()
        .value(std::int64_t{1})
        .onWrite(flag(&packetSocket));
    table.integer("StreamSocketBufferSize", "Receive buffer asked from the system.")
        .unit("B")
        .expert()
        .range(std::int64_t{65536}, std::int64_t{1} << 30)
        .value(socketBuffer.load())
        .onWrite(number(&socketBuffer));
    table.integer("StreamPacketTimeout", "Time after which a missing packet is asked for.")
        .unit("us")
        .expert()
        .range(std::int64_t{0}, std::int64_t{10000000})
        .value(packetTimeoutUs.load())
        .onWrite(number(&packetTimeoutUs));
    table.integer("StreamFrameRetention", "Time after which a frame is given up.")
        .unit("us")
        .expert()
        .range(std::int64_t{0}, std::int64_t{10000000})
        .value(frameRetentionUs.load())
        .onWrite(number(&frameRetentionUs));
}

} // namespace vision
