#include "usb3/device_memory.h"

#include "base/log.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace usb3
{

namespace
{

constexpr const char* kLimitFile = "/sys/module/usbcore/parameters/usbfs_memory_mb";
constexpr std::size_t kUsualLimit = std::size_t{16} << 20;

std::atomic<std::size_t> taken{0};

/// What the kernel has for all transfers, in bytes.
std::size_t kernelLimit()
{
    std::size_t megabytes = 0;
    std::FILE* const file = std::fopen(kLimitFile, "re");
    if (file == nullptr) {
        return kUsualLimit;
    }
    const bool isRead = std::fscanf(file, "%zu", &megabytes) == 1;
    static_cast<void>(std::fclose(file));
    if (!isRead) {
        return kUsualLimit;
    }
    const bool isUnlimited = megabytes == 0 || megabytes >= SIZE_MAX >> 20U;
    return isUnlimited ? std::numeric_limits<std::size_t>::max() : megabytes << 20U;
}

bool take(std::size_t size)
{
    const std::size_t most = kernelLimit() / 2;
    std::size_t now = taken.load();
    do {
        if (size > most || now > most - size) {
            return false;
        }
    } while (!taken.compare_exchange_weak(now, now + size));
    return true;
}

} // namespace

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
