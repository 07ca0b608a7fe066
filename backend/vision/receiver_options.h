// How Aravis is to receive frames, as features of a stream.
#pragma once

#include "features/feature_table.h"

#include <atomic>
#include <cstdint>

namespace vision
{

/// Written through the features that declare() adds, read when a receiver is made. Thread safe.
struct ReceiverOptions {
    /// Adds the category; the options themselves only for a camera on the network. The features
    /// keep a pointer to this object.
    void declare(features::FeatureTable& table, bool overNetwork);

    std::atomic<bool> packetResend{true};
    std::atomic<bool> packetSocket{true};
    /// Bytes. Frames wait here while the script is busy; asked for before the first packet comes.
    std::atomic<std::int64_t> socketBuffer{16 << 20};
    std::atomic<std::int64_t> packetTimeoutUs{20000};
    std::atomic<std::int64_t> frameRetentionUs{100000};
    std::atomic<bool> changed{false}; ///< Since the receiver was made.
};

} // namespace vision
