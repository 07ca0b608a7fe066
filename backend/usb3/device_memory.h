// Memory for frames that the kernel's driver of the bus writes by itself.
#pragma once

#include <libusb.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace usb3
{

/// What the kernel gives all USB transfers of all processes (usbfs_memory_mb), in MB; 0: no limit.
/// Empty when that is not known.
std::optional<std::int64_t> kernelMemoryLimit();

/// Memory of libusb_dev_mem_alloc(): transfers into it are not copied by the kernel. Zeros, whole
/// pages. To be given back before the handle is closed, from any thread. Null where the kernel has
/// none, in one piece, of this size.
///
/// It is taken from the kernel's memory for all transfers; so that transfers into other memory go
/// on, this process takes half of that at most.
std::shared_ptr<void> allocateDeviceMemory(libusb_device_handle* handle, std::size_t size);

} // namespace usb3
