#include "usb3/event_reader.h"

#include "base/log.h"
#include "base/operation_guard.h"
#include "usb3/usb_result.h"

#include <algorithm>
#include <chrono>

namespace usb3
{

namespace
{
constexpr std::size_t kPacket = 1024;
constexpr std::size_t kMostBytes = 65536;
} // namespace

EventReader::EventReader(libusb_device_handle* handle, unsigned char endpoint,
                         std::function<void(const std::uint8_t*, std::size_t)> take,
                         std::function<void()> wake)
    : handle_(handle), endpoint_(endpoint), take_(std::move(take)), wake_(std::move(wake))
{
}

EventReader::~EventReader()
{
    for (Slot& slot : slots_) {
        libusb_free_transfer(slot.transfer);
    }
}

bool EventReader::start(std::size_t size)
{
    const base::Lock lock(mutex_);
    const std::size_t length =
        std::clamp((size + kPacket - 1) / kPacket * kPacket, kPacket, kMostBytes);
    runs_ = true;
    bool waits = false;
    for (Slot& slot : slots_) {
        slot.owner = this;
        slot.memory.resize(length);
        if (slot.transfer == nullptr) {
            slot.transfer = libusb_alloc_transfer(0);
        }
        waits = (slot.transfer != nullptr && submit(slot)) || waits;
    }
    runs_ = waits;
    return waits;
}

bool EventReader::submit(Slot& slot)
{
    libusb_fill_bulk_transfer(slot.transfer, handle_, endpoint_, slot.memory.data(),
                              static_cast<int>(slot.memory.size()), &EventReader::onTransfer, &slot,
                              0);
    slot.inFlight = libusb_submit_transfer(slot.transfer) == LIBUSB_SUCCESS;
    return slot.inFlight;
}

bool EventReader::stop()
{
    base::Lock lock(mutex_);
    runs_ = false;
    for (Slot& slot : slots_) {
        if (slot.inFlight) {
            libusb_cancel_transfer(slot.transfer);
        }
    }
    return returned_.wait_for(lock.native(), std::chrono::seconds(2), [this] {
        return std::none_of(slots_.begin(), slots_.end(),
                            [](const Slot& slot) { return slot.inFlight; });
    });
}

void LIBUSB_CALL EventReader::onTransfer(libusb_transfer* transfer)
{
    auto* const slot = static_cast<Slot*>(transfer->user_data);
    base::contained("usb3 event", [slot] { slot->owner->completed(*slot); });
}

void EventReader::completed(Slot& slot)
{
    const libusb_transfer& transfer = *slot.transfer;
    const UsbResult result = transferResult(static_cast<int>(transfer.status));
    {
        const base::Lock lock(mutex_);
        gone_ = gone_ || result == UsbResult::Gone;
        halted_ = halted_ || result == UsbResult::Stalled;
    }
    if (result == UsbResult::Ok && transfer.actual_length > 0) {
        base::contained("usb3 event", [&] {
            take_(slot.memory.data(),
                  std::min(slot.memory.size(), static_cast<std::size_t>(transfer.actual_length)));
        });
    }
    const base::Lock lock(mutex_);
    slot.inFlight = false;
    if (runs_ && (result == UsbResult::Ok || result == UsbResult::Overflow)) {
        submit(slot);
    }
    returned_.notify_all();
    if (gone_ || halted_) {
        wake_();
    }
}

void EventReader::afterEvents()
{
    {
        const base::Lock lock(mutex_);
        if (!halted_ || !runs_) {
            return;
        }
        halted_ = false;
    }
    libusb_clear_halt(handle_, endpoint_);
    const base::Lock lock(mutex_);
    for (Slot& slot : slots_) {
        if (runs_ && !slot.inFlight) {
            submit(slot);
        }
    }
}

bool EventReader::isGone()
{
    const base::Lock lock(mutex_);
    return gone_;
}

} // namespace usb3
