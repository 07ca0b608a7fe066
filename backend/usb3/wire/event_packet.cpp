#include "usb3/wire/event_packet.h"

#include "base/endian.h"
#include "usb3/wire/control_packet.h"

namespace usb3::wire
{

bool readEvents(
    const std::uint8_t* bytes, std::size_t size,
    const std::function<void(std::uint16_t id, const std::uint8_t* data, std::size_t size)>& take)
{
    using base::loadLittle;
    constexpr std::uint32_t kMagic = 0x45563355; // "U3VE"
    constexpr std::size_t kEventHeader = 12;     // size, id, timestamp
    if (size < kControlHeader + kEventHeader || loadLittle<std::uint32_t>(bytes) != kMagic ||
        loadLittle<std::uint16_t>(bytes + 6) != static_cast<std::uint16_t>(Command::Event)) {
        return false;
    }
    std::size_t left = loadLittle<std::uint16_t>(bytes + 8);
    if (left > size - kControlHeader || left < kEventHeader) {
        return false;
    }
    const std::uint8_t* event = bytes + kControlHeader;
    while (left >= kEventHeader) {
        const std::size_t told = loadLittle<std::uint16_t>(event);
        const std::size_t length = told == 0 ? left : told; // 0: one event, as long as the packet
        if (length < kEventHeader || length > left) {
            return false;
        }
        take(loadLittle<std::uint16_t>(event + 2), event, length);
        event += length;
        left -= length;
    }
    return left == 0;
}

} // namespace usb3::wire
