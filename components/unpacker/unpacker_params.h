// Parameters of the unpacker.
#pragma once

#include "zel_image/component_params.h"

#include <cstdint>

namespace ZelComponents
{

/// Integers "cameraType" (0), "width" and "height" (0 to 65535; 0 means the source's own). It has
/// no texts: the text operations answer -40203 for these keys.
class UnpackerParams final : public ZelComponentParams
{
public:
    ZelCamErr SetInteger(const char* key, std::int32_t value) override;
    ZelCamErr SetString(const char* key, const char* value) override;
    ZelCamErr GetString(const char* key, char* buffer, std::uint32_t* length) override;

    std::uint32_t width() const { return width_; }
    std::uint32_t height() const { return height_; }

private:
    std::uint32_t cameraType_ = 0;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;

    struct Integer;
    static const Integer* find(const char* key);
};

} // namespace ZelComponents
