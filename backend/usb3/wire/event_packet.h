// Events of a camera, as they come over the event interface.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace usb3::wire
{

/// Calls `take` for each event in a transfer: its id and its bytes, which begin with the event's
/// own header as the description's event ports count them (reserved or size, id, timestamp, data).
/// Several follow each other only where each tells its size. False for what is no event packet;
/// events in front of damage are taken. Only the `size` bytes are read.
bool readEvents(
    const std::uint8_t* bytes, std::size_t size,
    const std::function<void(std::uint16_t id, const std::uint8_t* data, std::size_t size)>& take);

} // namespace usb3::wire
