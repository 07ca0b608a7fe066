// What the streams of a device have in common as GenICam features, the same on every transport:
// how buffers are handled, and counters.
#pragma once

#include "core/handling_mode.h"
#include "genapi/feature_source.h"

#include <cstdint>

namespace core
{

/// Counters of all streams of a device together. Those of frames count from a stream's last
/// StartAcquisition on, never go back until the next one, and stay readable when the stream is
/// stopped or released; opening the device sets them to 0.
struct StreamStatistics {
    std::uint64_t delivered = 0;
    std::uint64_t incomplete = 0;
    std::uint64_t lost = 0;
    std::uint64_t underruns = 0;
    std::uint64_t skipped = 0;
    std::uint64_t announcedBuffers = 0;
    std::uint64_t inputBuffers = 0;
    std::uint64_t outputBuffers = 0;
};

/// Who has what the features show. Called under the lock of the node map.
class StreamFeaturesOwner
{
public:
    virtual ~StreamFeaturesOwner() = default;
    /// 0, or what everything answers since the device was lost.
    virtual ZelCamErr lost() = 0;
    virtual StreamStatistics statistics() = 0;
    virtual HandlingMode handlingMode() = 0;
    virtual void setHandlingMode(HandlingMode mode) = 0;
};

/// A little register space with its own description: the categories BufferHandlingControl and
/// StreamStatistics. Every read asks the owner anew.
class StreamFeatures final : public genapi::FeatureSource
{
public:
    explicit StreamFeatures(StreamFeaturesOwner& owner) : owner_(owner) {}

    ZelCamErr description(std::string* document) override;
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    /// Only the mode: -1019 for one that does not exist, -1005 for everything else.
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

private:
    StreamFeaturesOwner& owner_;
};

} // namespace core
