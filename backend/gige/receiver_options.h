// How frames are to be received, as features of a stream.
#pragma once

#include "features/feature_table.h"
#include "gige/socket_reader.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace gige
{

/// Written through the features that declare() adds, read at each start. Thread safe.
struct ReceiverOptions {
    /// Adds the category. The features keep a pointer to this object.
    void declare(features::FeatureTable& table);

    ResendRules resendRules() const;

    std::atomic<std::int64_t> packetResend{1}; ///< 0 or 1.
    std::atomic<std::int64_t> resendTimeoutUs{300};
    std::atomic<std::int64_t> resendTries{8};
    std::atomic<std::int64_t> retentionUs{300000};
    std::atomic<std::int64_t> napUs{2000};
    /// Bytes. Frames wait here while the receiver gets no processor.
    std::atomic<std::int64_t> socketBuffer{16 << 20};
    std::atomic<std::int64_t> method{static_cast<std::int64_t>(ReceiveMethod::Automatic)};
    std::atomic<std::int64_t> multicast{0}; ///< Group that the camera sends to; 0: to us alone.
    std::atomic<bool> changed{true};        ///< Of what the sockets are made from.

private:
    using NumberHook = std::function<std::int32_t(std::size_t, const features::FeatureValue&)>;

    /// Stores what is written to a feature here.
    NumberHook keep(std::atomic<std::int64_t>* option);
    void declareResending(features::FeatureTable& table);
    void declareSocket(features::FeatureTable& table);
    void declareMulticast(features::FeatureTable& table);
};

} // namespace gige
