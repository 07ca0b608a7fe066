// Typed answers and their sizes.
#include "simulator/producer/info_value.h"

#include "simulator/producer/failure.h"

#include <cstring>

namespace simulator::producer
{

InfoValue::InfoValue(gentl::InfoDataType type, const void* data, std::size_t size)
    : type_(type), bytes_(static_cast<const char*>(data), size)
{
}

InfoValue InfoValue::text(std::string_view value)
{
    const std::string closed(value.substr(0, value.find('\0')));
    return {gentl::kTypeString, closed.c_str(), closed.size() + 1};
}

InfoValue InfoValue::int32(std::int32_t value) { return {gentl::kTypeInt32, &value, sizeof value}; }

InfoValue InfoValue::uint32(std::uint32_t value)
{
    return {gentl::kTypeUint32, &value, sizeof value};
}

InfoValue InfoValue::uint64(std::uint64_t value)
{
    return {gentl::kTypeUint64, &value, sizeof value};
}

InfoValue InfoValue::size(std::size_t value) { return {gentl::kTypeSizeT, &value, sizeof value}; }

InfoValue InfoValue::bool8(bool value)
{
    const gentl::Bool8 byte = value ? 1 : 0;
    return {gentl::kTypeBool8, &byte, sizeof byte};
}

InfoValue InfoValue::pointer(const void* value) { return {gentl::kTypePtr, &value, sizeof value}; }

InfoValue InfoValue::bytes(const void* data, std::size_t size)
{
    return {gentl::kTypeBuffer, data, size};
}

InfoValue InfoValue::textList(std::string_view list)
{
    const std::string closed = std::string(list) + '\0';
    return {gentl::kTypeStringList, closed.data(), closed.size()};
}

void InfoValue::answer(std::int32_t* type, void* data, std::size_t* size) const
{
    requireParameter(size != nullptr, "the size pointer is null");
    if (type != nullptr) {
        *type = type_;
    }
    if (data != nullptr) {
        if (*size < bytes_.size()) {
            throw Failure(gentl::err::kBufferTooSmall,
                          "the answer needs " + std::to_string(bytes_.size()) + " bytes");
        }
        std::memcpy(data, bytes_.data(), bytes_.size());
    }
    *size = bytes_.size();
}

} // namespace simulator::producer
