// Memory of the camera beside its feature registers.
#pragma once

#include "simulator/camera_context.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace simulator
{

constexpr std::uint64_t kRegisterBase = 0x10000; ///< Behind the bootstrap registers.
constexpr std::uint32_t kXmlBase = 0x00400000;
constexpr std::uint32_t kArchiveBase = 0x00800000;       ///< The description, zipped.
constexpr std::uint64_t kUserMemoryBase = 0x01000000;    ///< Readable and writable.
constexpr std::uint64_t kFactoryMemoryBase = 0x02000000; ///< Readable.
constexpr std::uint64_t kProtectedBase = 0x03000000;     ///< Neither.
constexpr std::uint64_t kUserMemorySize = 0x100000;
constexpr std::uint64_t kFactoryMemorySize = 0x10000;
constexpr std::uint64_t kProtectedSize = 4096;

/// User memory (starts as zeros, survives restarts), factory memory (byte n is n modulo 251) and
/// protected memory. Declares features that tell where they are.
class DeviceMemory
{
public:
    explicit DeviceMemory(CameraContext& context);

    /// -1005 where the memory forbids it, -1015 outside of it.
    std::int32_t read(std::uint64_t address, void* data, std::size_t size) const;
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);

private:
    struct Free {
        void operator()(unsigned char* memory) const { std::free(memory); }
    };
    std::unique_ptr<unsigned char, Free> user_; ///< Pages that nobody wrote take no room.
};

/// Whether all of [address, address + size) lies in [base, base + length).
inline bool liesIn(std::uint64_t address, std::size_t size, std::uint64_t base,
                   std::uint64_t length)
{
    return address >= base && size <= length && address - base <= length - size;
}

} // namespace simulator
