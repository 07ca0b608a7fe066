// The two endpoints of a camera's control interface.
#pragma once

#include "usb3/usb_result.h"

#include <cstddef>
#include <cstdint>

namespace usb3
{

/// One thread at a time.
class ControlPipe
{
public:
    virtual ~ControlPipe() = default;
    virtual UsbResult send(const std::uint8_t* bytes, std::size_t size, unsigned timeoutMs) = 0;
    /// Ok with `*received` bytes, at most `capacity`.
    virtual UsbResult receive(std::uint8_t* bytes, std::size_t capacity, unsigned timeoutMs,
                              std::size_t* received) = 0;
    /// Makes halted endpoints usable again.
    virtual void clearHalts() = 0;
};

} // namespace usb3
