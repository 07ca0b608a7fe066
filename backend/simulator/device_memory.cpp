// User, factory and protected memory of a simulated camera.
#include "simulator/device_memory.h"

#include "gentl_abi/gentl_abi.h"

#include <cstring>
#include <new>

namespace simulator
{

DeviceMemory::DeviceMemory(CameraContext& context)
    : user_(static_cast<unsigned char*>(std::calloc(1, kUserMemorySize)))
{
    if (user_ == nullptr) {
        throw std::bad_alloc();
    }
    FeatureTable& table = context.table;
    table.category("DeviceMemoryControl", "Memory that can be reached by its address.");
    const auto constant = [&](const char* name, const char* toolTip, std::uint64_t value) {
        return &table.integer(name, toolTip)
                    .guru()
                    .readOnly()
                    .representation("HexNumber")
                    .value(static_cast<std::int64_t>(value));
    };
    constant("UserMemoryAddress", "Start of the memory for users.", kUserMemoryBase);
    constant("UserMemorySize", "Bytes of the memory for users.", kUserMemorySize);
    constant("FactoryMemoryAddress", "Start of the read-only memory.", kFactoryMemoryBase);
    constant("FactoryMemorySize", "Bytes of the read-only memory.", kFactoryMemorySize);
    constant("ProtectedMemoryAddress", "Start of the memory without access.", kProtectedBase);
    constant("ProtectedMemorySize", "Bytes of the memory without access.", kProtectedSize);
}

std::int32_t DeviceMemory::read(std::uint64_t address, void* data, std::size_t size) const
{
    if (liesIn(address, size, kUserMemoryBase, kUserMemorySize)) {
        std::memcpy(data, user_.get() + (address - kUserMemoryBase), size);
        return gentl::err::kSuccess;
    }
    if (liesIn(address, size, kFactoryMemoryBase, kFactoryMemorySize)) {
        auto* const bytes = static_cast<unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<unsigned char>((address - kFactoryMemoryBase + i) % 251);
        }
        return gentl::err::kSuccess;
    }
    return liesIn(address, size, kProtectedBase, kProtectedSize) ? gentl::err::kAccessDenied
                                                                 : gentl::err::kInvalidAddress;
}

std::int32_t DeviceMemory::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (liesIn(address, size, kUserMemoryBase, kUserMemorySize)) {
        std::memcpy(user_.get() + (address - kUserMemoryBase), data, size);
        return gentl::err::kSuccess;
    }
    const bool isKnown = liesIn(address, size, kFactoryMemoryBase, kFactoryMemorySize) ||
                         liesIn(address, size, kProtectedBase, kProtectedSize);
    return isKnown ? gentl::err::kAccessDenied : gentl::err::kInvalidAddress;
}

} // namespace simulator
