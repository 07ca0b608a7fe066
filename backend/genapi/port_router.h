// The registers that a node map reaches: those of its source, and the bytes of events and chunks.
#pragma once

#include "genapi/description.h"
#include "genapi/feature_source.h"
#include "zel_err.h"

#include <cstdint>
#include <string>
#include <vector>

namespace genapi
{

/// Not thread safe: calls are ordered by the lock of the node map.
class PortRouter
{
public:
    PortRouter(FeatureSource& source, const std::vector<Overlay>& overlays);

    /// `overlay` is that of the port; -1: the device. -1014 while an overlay has no data, -1015
    /// beyond its end, -40202 for writing to it; codes of the source.
    ZelCamErr read(std::int32_t overlay, std::uint64_t address, void* data, std::size_t size);
    ZelCamErr write(std::int32_t overlay, std::uint64_t address, const void* data,
                    std::size_t size);

    /// Copies the bytes behind the event or chunk ports with this id.
    void setData(bool isEvent, std::uint64_t id, const void* data, std::size_t size);
    /// As setData() for one overlay.
    void setData(std::int32_t overlay, const void* data, std::size_t size);
    /// From here on there are no chunks.
    void dropChunks();

    bool hasData(std::int32_t overlay) const
    {
        return overlay < 0 || overlays_[static_cast<std::size_t>(overlay)].hasData;
    }

private:
    struct Slot {
        Overlay overlay;
        bool hasData = false;
        std::string bytes;
    };

    FeatureSource& source_;
    std::vector<Slot> overlays_;
};

} // namespace genapi
