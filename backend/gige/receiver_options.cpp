#include "gige/receiver_options.h"

#include "gige/wire/bootstrap.h"
#include "zel_err.h"

namespace gige
{

using features::FeatureValue;

ResendRules ReceiverOptions::resendRules() const
{
    ResendRules rules;
    rules.enabled = packetResend != 0;
    rules.first = std::chrono::microseconds(resendTimeoutUs);
    rules.tries = static_cast<int>(resendTries);
    return rules;
}

ReceiverOptions::NumberHook ReceiverOptions::keep(std::atomic<std::int64_t>* option)
{
    return [this, option](std::size_t, const FeatureValue& value) {
        *option = std::get<std::int64_t>(value);
        changed = true;
        return std::int32_t{0};
    };
}

void ReceiverOptions::declare(features::FeatureTable& table)
{
    table.category("StreamReceiver", "How frames are received; takes effect at the next start.");
    declareResending(table);
    declareSocket(table);
    declareMulticast(table);
}

void ReceiverOptions::declareResending(features::FeatureTable& table)
{
    table.boolean("StreamPacketResendEnable", "Missing packets are asked for again.")
        .value(std::int64_t{1})
        .onWrite(keep(&packetResend));
    table.integer("StreamPacketTimeout", "Time after which a missing packet is asked for.")
        .unit("us")
        .expert()
        .range(std::int64_t{0}, std::int64_t{1000000})
        .value(resendTimeoutUs.load())
        .onWrite(keep(&resendTimeoutUs));
    table.integer("StreamPacketResendTries", "How often a missing packet is asked for.")
        .expert()
        .range(std::int64_t{1}, std::int64_t{10})
        .value(resendTries.load())
        .onWrite(keep(&resendTries));
    table.integer("StreamFrameRetention", "Silence after which an incomplete frame is given up.")
        .unit("us")
        .expert()
        .range(std::int64_t{1000}, std::int64_t{10000000})
        .value(retentionUs.load())
        .onWrite(keep(&retentionUs));
}

void ReceiverOptions::declareSocket(features::FeatureTable& table)
{
    table
        .integer("StreamReceiveNap",
                 "Longest pause in which packets gather, to save processor time; 0: none.")
        .unit("us")
        .expert()
        .range(std::int64_t{0}, std::int64_t{10000})
        .value(napUs.load())
        .onWrite(keep(&napUs));
    table.integer("StreamSocketBufferSize", "Receive buffer asked from the system.")
        .unit("B")
        .expert()
        .range(std::int64_t{65536}, std::int64_t{1} << 30)
        .value(socketBuffer.load())
        .onWrite(keep(&socketBuffer));
    const auto entry = [](ReceiveMethod value) { return static_cast<std::int64_t>(value); };
    table.enumeration("StreamReceiveMethod", "How packets are taken from the socket.")
        .entry("Automatic", entry(ReceiveMethod::Automatic), "Joined where the network joins them.")
        .entry("Joined", entry(ReceiveMethod::Joined), "As the network has joined them.")
        .entry("Batch", entry(ReceiveMethod::Batch), "Many at a call.")
        .entry("Single", entry(ReceiveMethod::Single), "One at a call.")
        .entry("Ring", entry(ReceiveMethod::Ring),
               "From memory that the system fills; wants CAP_NET_RAW.")
        .expert()
        .value(method.load())
        .onWrite(keep(&method));
}

void ReceiverOptions::declareMulticast(features::FeatureTable& table)
{
    table
        .integer("StreamMulticastAddress",
                 "Group that the camera sends to, for other hosts to listen; 0: to this one alone.")
        .representation("IPV4Address")
        .expert()
        .range(std::int64_t{0}, std::int64_t{0xFFFFFFFF})
        .onWrite([this](std::size_t, const FeatureValue& value) {
            const std::int64_t group = std::get<std::int64_t>(value);
            if (group != 0 && !wire::isMulticast(static_cast<std::uint32_t>(group))) {
                return ZelErr::kGenTLInvalidValue;
            }
            multicast = group;
            changed = true;
            return ZelErr::kOk;
        });
}

} // namespace gige
