// The counters of a device's streams as GenICam features, the same on every transport.
#pragma once

#include "genapi/feature_source.h"

#include <cstdint>
#include <functional>

namespace core
{

/// Counters of all streams of a device together. Delivered, incomplete, lost and underrun count
/// from the last start of the acquisition on.
struct StreamStatistics {
    std::uint64_t delivered = 0;
    std::uint64_t incomplete = 0;
    std::uint64_t lost = 0;
    std::uint64_t underruns = 0;
    std::uint64_t announcedBuffers = 0;
    std::uint64_t inputBuffers = 0;
    std::uint64_t outputBuffers = 0;
};

/// A little register space with its own description: category StreamStatistics, read only. Every
/// read asks for the counters anew.
class StreamStatisticsSource final : public genapi::FeatureSource
{
public:
    explicit StreamStatisticsSource(std::function<StreamStatistics()> ask) : ask_(std::move(ask)) {}

    ZelCamErr description(std::string* document) override;
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

private:
    std::function<StreamStatistics()> ask_;
};

} // namespace core
