// Position of a colour component inside a pixel.
#pragma once

#include <cstdint>

/// Each takes a component letter (an ASCII code) and returns its position in the pixel from 0, or
/// -1 for any other value.
using ComponentIndex = std::int32_t (*)(std::int16_t component);

namespace imaging
{

/// Position of `component` in the letters of a pixel, -1 when it is not among them.
constexpr std::int32_t positionOf(std::int16_t component, const char* letters)
{
    for (std::int32_t i = 0; letters[i] != '\0'; ++i) {
        if (component == letters[i]) {
            return i;
        }
    }
    return -1;
}

} // namespace imaging

/// Mono, and every mosaic: a raw mosaic pixel has the one component Y.
constexpr std::int32_t GetIndexMONO(std::int16_t component)
{
    return imaging::positionOf(component, "Y");
}
constexpr std::int32_t GetIndexRGB(std::int16_t component)
{
    return imaging::positionOf(component, "RGB");
}
constexpr std::int32_t GetIndexBGR(std::int16_t component)
{
    return imaging::positionOf(component, "BGR");
}
constexpr std::int32_t GetIndexRGBA(std::int16_t component)
{
    return imaging::positionOf(component, "RGBA");
}
constexpr std::int32_t GetIndexBGRA(std::int16_t component)
{
    return imaging::positionOf(component, "BGRA");
}
/// Knows neither A nor the names Cb and Cr, although formats with these layouts use it.
constexpr std::int32_t GetIndexYUV(std::int16_t component)
{
    return imaging::positionOf(component, "YUV");
}
