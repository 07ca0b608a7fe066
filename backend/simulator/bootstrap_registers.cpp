#include "simulator/bootstrap_registers.h"

#include "base/endian.h"
#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace simulator
{

namespace
{

/// The block that a discovery shows: it is read whole, gaps included.
constexpr std::uint64_t kIdentityEnd = 0xF8;

} // namespace

void BootstrapRegisters::number(std::uint32_t address, Access access, std::uint32_t value)
{
    Register& reg = registers_[address];
    reg.access = access;
    reg.value = value;
}

void BootstrapRegisters::number(std::uint32_t address, Reader read, Writer write)
{
    Register& reg = registers_[address];
    reg.access = write ? Access::ReadWrite : Access::ReadOnly;
    reg.read = std::move(read);
    reg.write = std::move(write);
    reg.keeps = false;
}

void BootstrapRegisters::checked(std::uint32_t address, Access access, Writer check)
{
    Register& reg = registers_[address];
    reg.access = access;
    reg.write = std::move(check);
}

void BootstrapRegisters::text(std::uint32_t address, std::uint32_t size, TextReader read,
                              TextWriter write)
{
    Register& reg = registers_[address];
    reg.size = size;
    reg.access = write ? Access::ReadWrite : Access::ReadOnly;
    reg.readText = std::move(read);
    reg.writeText = std::move(write);
}

BootstrapRegisters::Map::const_iterator BootstrapRegisters::at(std::uint64_t address) const
{
    if (address >= kBootstrapEnd) {
        return registers_.end();
    }
    auto next = registers_.upper_bound(static_cast<std::uint32_t>(address));
    if (next == registers_.begin()) {
        return registers_.end();
    }
    --next;
    return address - next->first < next->second.size ? next : registers_.end();
}

std::uint32_t BootstrapRegisters::value(std::uint32_t address) const
{
    const auto it = registers_.find(address);
    if (it == registers_.end()) {
        return 0;
    }
    return it->second.read ? it->second.read() : it->second.value;
}

void BootstrapRegisters::setValue(std::uint32_t address, std::uint32_t value)
{
    const auto it = registers_.find(address);
    if (it != registers_.end()) {
        it->second.value = value;
    }
}

std::string BootstrapRegisters::bytesOf(const Register& reg) const
{
    std::string bytes(reg.size, '\0');
    if (reg.readText) {
        const std::string text = reg.readText();
        std::copy_n(text.begin(), std::min<std::size_t>(text.size(), reg.size), bytes.begin());
    } else {
        base::storeBig<std::uint32_t>(bytes.data(), reg.read ? reg.read() : reg.value);
    }
    return bytes;
}

std::int32_t BootstrapRegisters::read(std::uint64_t address, void* data, std::size_t size) const
{
    auto* out = static_cast<unsigned char*>(data);
    if (size > kBootstrapEnd || address > kBootstrapEnd - size) {
        return gentl::err::kInvalidAddress;
    }
    while (size > 0) {
        const auto it = at(address);
        std::size_t count = 0;
        if (it == registers_.end()) {
            if (address >= kIdentityEnd) {
                return gentl::err::kInvalidAddress;
            }
            const auto next = registers_.upper_bound(static_cast<std::uint32_t>(address));
            const std::uint64_t end = next == registers_.end()
                                          ? kIdentityEnd
                                          : std::min<std::uint64_t>(next->first, kIdentityEnd);
            count = std::min<std::size_t>(size, end - address);
            std::memset(out, 0, count);
        } else {
            if (it->second.access == Access::WriteOnly) {
                return gentl::err::kAccessDenied;
            }
            const std::string bytes = bytesOf(it->second);
            const std::size_t offset = address - it->first;
            count = std::min(size, bytes.size() - offset);
            std::memcpy(out, bytes.data() + offset, count);
        }
        out += count;
        address += count;
        size -= count;
    }
    return gentl::err::kSuccess;
}

bool BootstrapRegisters::isReadOnly(std::uint64_t address) const
{
    const auto it = at(address);
    return it != registers_.end() && it->second.access == Access::ReadOnly;
}

std::int32_t BootstrapRegisters::checkWrite(std::uint64_t address, std::size_t size) const
{
    while (size > 0) {
        const auto it = at(address);
        if (it == registers_.end() || it->first != address) {
            return gentl::err::kInvalidAddress;
        }
        const Register& reg = it->second;
        if (reg.access == Access::ReadOnly) {
            return gentl::err::kAccessDenied;
        }
        if (size < reg.size && !reg.writeText) {
            return gentl::err::kInvalidAddress;
        }
        const std::size_t count = std::min<std::size_t>(size, reg.size);
        address += count;
        size -= count;
    }
    return gentl::err::kSuccess;
}

std::int32_t BootstrapRegisters::writeNumber(std::uint32_t address, std::uint32_t value)
{
    const auto it = registers_.find(address);
    if (it == registers_.end() || it->second.writeText) {
        return gentl::err::kInvalidAddress;
    }
    if (it->second.access == Access::ReadOnly) {
        return gentl::err::kAccessDenied;
    }
    if (it->second.write) {
        if (const std::int32_t code = it->second.write(value); code != 0) {
            return code;
        }
    }
    if (it->second.keeps) {
        it->second.value = value;
    }
    if (written_) {
        written_(address, value);
    }
    return gentl::err::kSuccess;
}

std::int32_t BootstrapRegisters::write(std::uint64_t address, const void* data, std::size_t size)
{
    const auto* in = static_cast<const unsigned char*>(data);
    if (size > kBootstrapEnd || address > kBootstrapEnd - size) {
        return gentl::err::kInvalidAddress;
    }
    if (const std::int32_t code = checkWrite(address, size); code != 0) {
        return code;
    }
    while (size > 0) {
        const auto it = at(address);
        const std::size_t count = std::min<std::size_t>(size, it->second.size);
        std::int32_t code = 0;
        if (it->second.writeText) {
            const auto* text = reinterpret_cast<const char*>(in);
            code = it->second.writeText(std::string(text, ::strnlen(text, count)));
        } else {
            code = writeNumber(it->first, base::loadBig<std::uint32_t>(in));
        }
        if (code != 0) {
            return code;
        }
        in += count;
        address += count;
        size -= count;
    }
    return gentl::err::kSuccess;
}

} // namespace simulator
