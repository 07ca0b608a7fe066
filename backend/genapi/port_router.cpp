#include "genapi/port_router.h"

#include <cstring>

namespace genapi
{

PortRouter::PortRouter(FeatureSource& source, const std::vector<Overlay>& overlays)
    : source_(source)
{
    for (const Overlay& overlay : overlays)
        overlays_.push_back({overlay, false, {}});
}

ZelCamErr PortRouter::read(std::int32_t overlay, std::uint64_t address, void* data,
                           std::size_t size)
{
    if (overlay < 0)
        return source_.read(address, data, size);
    const Slot& slot = overlays_[static_cast<std::size_t>(overlay)];
    if (!slot.hasData)
        return ZelErr::kGenTLNotAvailable;
    if (address > slot.bytes.size() || slot.bytes.size() - address < size)
        return ZelErr::kGenTLInvalidAddress;
    std::memcpy(data, slot.bytes.data() + address, size);
    return ZelErr::kOk;
}

ZelCamErr PortRouter::write(std::int32_t overlay, std::uint64_t address, const void* data,
                            std::size_t size)
{
    return overlay < 0 ? source_.write(address, data, size) : ZelErr::kParamAccess;
}

void PortRouter::setData(bool isEvent, std::uint64_t id, const void* data, std::size_t size)
{
    for (std::size_t i = 0; i < overlays_.size(); ++i) {
        const Overlay& overlay = overlays_[i].overlay;
        if (overlay.hasId && overlay.isEvent == isEvent && overlay.id == id)
            setData(static_cast<std::int32_t>(i), data, size);
    }
}

void PortRouter::setData(std::int32_t overlay, const void* data, std::size_t size)
{
    Slot& slot = overlays_[static_cast<std::size_t>(overlay)];
    slot.bytes.assign(static_cast<const char*>(data), size);
    slot.hasData = true;
}

void PortRouter::dropChunks()
{
    for (Slot& slot : overlays_)
        slot.hasData = slot.hasData && slot.overlay.isEvent;
}

} // namespace genapi
