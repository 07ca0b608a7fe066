// The address space of a simulated camera: which part of it answers where.
#pragma once

#include "simulator/device_memory.h"
#include "simulator/file_section.h"
#include "simulator/lut_section.h"
#include "simulator/network_section.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace simulator
{

/// Borrows the parts. The description may be read by any thread; all else under the camera's lock.
/// Codes are those of GenTL.
class CameraMemory
{
public:
    /// `network`: null on cameras without one.
    CameraMemory(CameraContext& context, NetworkSection* network, LutSection& lut,
                 FileSection& files);

    /// Whether the range is the description's, plain or zipped; `data` is written then.
    bool readDescription(std::uint64_t address, void* data, std::size_t size) const;
    /// Whether the range begins in the description, which nobody writes.
    bool isDescription(std::uint64_t address) const;

    std::int32_t read(std::uint64_t address, void* data, std::size_t size);
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);
    /// Whether a write there is refused because nobody may ever write it.
    bool isReadOnly(std::uint64_t address) const;

private:
    bool isFeature(std::uint64_t address, std::size_t size) const;
    /// The zipped description; cameras with a network only. It is made when somebody first looks at
    /// it or at its address: most are opened without.
    const std::string& archive() const;

    CameraContext& context_;
    NetworkSection* network_;
    LutSection& lut_;
    FileSection& files_;
    DeviceMemory memory_;
    mutable std::once_flag archiveOnce_;
    mutable std::string archive_;
};

} // namespace simulator
