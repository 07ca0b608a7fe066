#include "usb3/device_memory.h"

#include "base/log.h"

#include <atomic>
#include <fstream>

namespace usb3
{

namespace
{

constexpr std::int64_t kUsualLimit = 16;

std::atomic<std::size_t> taken{0};

bool take(std::size_t size)
{
    const std::int64_t megabytes = kernelMemoryLimit().value_or(kUsualLimit);
    const bool isLimited = megabytes > 0 && megabytes < INT64_MAX >> 20U;
    const std::size_t most =
        isLimited ? (static_cast<std::size_t>(megabytes) << 20U) / 2 : SIZE_MAX / 2;
    std::size_t now = taken.load();
    do {
        if (size > most || now > most - size) {
            return false;
        }
    } while (!taken.compare_exchange_weak(now, now + size));
    return true;
}

} // namespace

std::optional<std::int64_t> kernelMemoryLimit()
{
    std::ifstream file("/sys/module/usbcore/parameters/usbfs_memory_mb");
    std::int64_t megabytes = 0;
    return file >> megabytes ? std::optional(megabytes) : std::nullopt;
}

std::shared_ptr<void> allocateDeviceMemory(libusb_device_handle* handle, std::size_t size)
{
    constexpr std::size_t kPage = 4096;
    if (size == 0 || size > SIZE_MAX / 2) {
        return nullptr;
    }
    const std::size_t whole = (size + kPage - 1) / kPage * kPage;
    if (!take(whole)) {
        return nullptr;
    }
    unsigned char* const memory = libusb_dev_mem_alloc(handle, whole);
    if (memory == nullptr) {
        taken -= whole;
        base::log(base::LogChannel::Usb3, "the kernel has no memory of its own for %zu bytes",
                  size);
        return nullptr;
    }
    return {memory, [handle, whole](unsigned char* bytes) {
                libusb_dev_mem_free(handle, bytes, whole);
                taken -= whole;
            }};
}

} // namespace usb3
