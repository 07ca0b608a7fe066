#include "unpacker/unpacker_params.h"

#include <cstring>

namespace ZelComponents
{

struct UnpackerParams::Integer {
    const char* key;
    std::int32_t maximum;
    std::uint32_t UnpackerParams::*member;
};

const UnpackerParams::Integer* UnpackerParams::find(const char* key)
{
    static constexpr Integer kIntegers[] = {
        {"cameraType", 0, &UnpackerParams::cameraType_},
        {"width", 65535, &UnpackerParams::width_},
        {"height", 65535, &UnpackerParams::height_},
    };
    for (const Integer& integer : kIntegers) {
        if (std::strcmp(integer.key, key) == 0) {
            return &integer;
        }
    }
    return nullptr;
}

ZelCamErr UnpackerParams::SetInteger(const char* key, std::int32_t value)
{
    if (key == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    const Integer* const integer = find(key);
    if (integer == nullptr) {
        return ZelErr::kParamUnknown;
    }
    if (value < 0 || value > integer->maximum) {
        return ZelErr::kParamOutOfRange;
    }
    this->*integer->member = static_cast<std::uint32_t>(value);
    return ZelErr::kOk;
}

ZelCamErr UnpackerParams::SetString(const char* key, const char* value)
{
    if (key == nullptr || value == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    return find(key) != nullptr ? ZelErr::kParamType : ZelErr::kParamUnknown;
}

ZelCamErr UnpackerParams::GetString(const char* key, char* buffer, std::uint32_t* length)
{
    if (key == nullptr || buffer == nullptr || length == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    return find(key) != nullptr ? ZelErr::kParamType : ZelErr::kParamUnknown;
}

} // namespace ZelComponents
