// The pixel formats that have both a PFNC code and a ZelPixelType.
#include "core/pixel_format.h"

#include "zel_image/pixel_format_table.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace core
{

namespace
{

constexpr std::size_t countFormats()
{
    std::size_t count = 0;
    for (const ZelPixel::Format& format : ZelPixel::kFormats) {
        count += format.pfnc != ZelPixel::kNoPfnc ? 1 : 0;
    }
    return count;
}

// Ascending by PFNC code, for bisection.
constexpr std::array<PixelFormat, countFormats()> sortedFormats()
{
    std::array<PixelFormat, countFormats()> sorted{};
    std::size_t count = 0;
    for (const ZelPixel::Format& format : ZelPixel::kFormats) {
        if (format.pfnc == ZelPixel::kNoPfnc) {
            continue;
        }
        std::size_t place = count++;
        for (; place > 0 && sorted[place - 1].pfnc > format.pfnc; --place) {
            sorted[place] = sorted[place - 1];
        }
        sorted[place] = {format.pfnc, format.code, format.components};
    }
    return sorted;
}

constexpr std::array<PixelFormat, countFormats()> kFormats = sortedFormats();

} // namespace

const PixelFormat* findPixelFormat(std::uint32_t pfnc)
{
    const auto* const found = std::lower_bound(
        kFormats.begin(), kFormats.end(), pfnc,
        [](const PixelFormat& format, std::uint32_t code) { return format.pfnc < code; });
    return found != kFormats.end() && found->pfnc == pfnc ? found : nullptr;
}

} // namespace core
