// The event interface of a camera.
#pragma once

#include "base/mutex.h"

#include <libusb.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace usb3
{

/// Keeps two transfers waiting at the event endpoint. An endpoint that fails (but for a halt, which
/// is cleared) is given up: the events end, the camera goes on.
class EventReader
{
public:
    /// `take` gets the bytes of each transfer, on the thread that handles libusb's events, inside a
    /// completion. `wake` is called there when afterEvents() is to be called.
    EventReader(libusb_device_handle* handle, unsigned char endpoint,
                std::function<void(const std::uint8_t*, std::size_t)> take,
                std::function<void()> wake);
    /// Stopped before.
    ~EventReader();
    EventReader(const EventReader&) = delete;
    EventReader& operator=(const EventReader&) = delete;

    /// `size`: most bytes of one transfer, as the camera told it. False when nothing can wait.
    bool start(std::size_t size);
    /// No call of `take` runs or comes after this. False when the transfers did not come back in
    /// time; then the reader must not be destroyed.
    bool stop();
    void afterEvents();
    bool isGone();

private:
    struct Slot {
        EventReader* owner = nullptr;
        libusb_transfer* transfer = nullptr;
        std::vector<std::uint8_t> memory;
        bool inFlight = false;
    };

    static void LIBUSB_CALL onTransfer(libusb_transfer* transfer);
    void completed(Slot& slot);
    bool submit(Slot& slot) ZEL_REQUIRES(mutex_);

    libusb_device_handle* const handle_;
    const unsigned char endpoint_;
    const std::function<void(const std::uint8_t*, std::size_t)> take_;
    const std::function<void()> wake_;
    base::Mutex mutex_;
    std::condition_variable returned_;
    std::array<Slot, 2> slots_ ZEL_GUARDED_BY(mutex_);
    bool runs_ ZEL_GUARDED_BY(mutex_) = false;
    bool halted_ ZEL_GUARDED_BY(mutex_) = false;
    bool gone_ ZEL_GUARDED_BY(mutex_) = false;
};

} // namespace usb3
