#include "demosaicing/mosaic_rows.h"

#include <algorithm>

namespace ZelComponents
{

namespace
{

constexpr std::size_t kSlots = 6;
constexpr std::size_t kLineEntries = kCacheLine / sizeof(std::int16_t);
// In front of column 0, which begins at most one line earlier, and of the two columns before it.
constexpr std::size_t kMargin = 2 * kLineEntries;

std::size_t reflected(std::ptrdiff_t position, std::size_t count)
{
    if (count == 1) {
        return 0;
    }
    const auto period = static_cast<std::ptrdiff_t>(2 * (count - 1));
    const std::ptrdiff_t remainder = (position % period + period) % period;
    return static_cast<std::size_t>(std::min(remainder, period - remainder));
}

constexpr std::size_t kLeastToExtrapolate = 4;

// Samples one and two steps outside, from those from the border inwards.
std::int16_t oneOutside(int s0, int s1, int s2, int largest)
{
    return static_cast<std::int16_t>(std::clamp(s1 + ((s0 - s2 + 1) >> 1), 0, largest));
}

std::int16_t twoOutside(int s0, int s1, int s3, int largest)
{
    return static_cast<std::int16_t>(std::clamp(s0 + ((3 * (s1 - s3) + 2) >> 2), 0, largest));
}

} // namespace

bool BandScratch::reserve(std::size_t width)
{
    if (memory_ != nullptr && width <= width_) {
        return true;
    }
    const std::size_t entries = (kMargin + (width + 1) / 2 + 1 + kRowSlack + kLineEntries - 1) /
                                kLineEntries * kLineEntries;
    const std::size_t targetEntries = (3 * width + 1) / 2;
    const std::size_t total = 2 * kSlots * entries + targetEntries;
    memory_.reset(static_cast<std::int16_t*>(
        ::operator new (total * sizeof(std::int16_t), std::align_val_t{kCacheLine}, std::nothrow)));
    if (memory_ == nullptr) {
        width_ = 0;
        return false;
    }
    std::fill_n(memory_.get(), total, std::int16_t{0});
    width_ = width;
    halfRowEntries_ = entries;
    return true;
}

std::int16_t* BandScratch::halfRow(std::size_t slot, std::size_t parity)
{
    return memory_.get() + (2 * slot + parity) * halfRowEntries_ + kMargin - column_ / 2;
}

std::uint8_t* BandScratch::spareTarget()
{
    return reinterpret_cast<std::uint8_t*>(memory_.get() + 2 * kSlots * halfRowEntries_);
}

MosaicRows::MosaicRows(const SourcePlane& mosaic, const SampleFormat& format, std::size_t aligned,
                       BandScratch& scratch)
    : mosaic_(mosaic), format_(format), aligned_(aligned), scratch_(scratch)
{
    scratch_.alignColumn(aligned);
}

void MosaicRows::load(std::ptrdiff_t y)
{
    const bool isInside = y >= 0 && y < static_cast<std::ptrdiff_t>(mosaic_.height);
    if (isInside || mosaic_.height < kLeastToExtrapolate) {
        splitRow(source(y), mosaic_.width, format_, aligned_, scratch_.halfRow(slot(y), 0),
                 scratch_.halfRow(slot(y), 1));
    } else {
        extrapolateRow(y);
    }
    extendSideways(y);
}

void MosaicRows::extrapolateRow(std::ptrdiff_t y)
{
    const auto height = static_cast<std::ptrdiff_t>(mosaic_.height);
    const std::ptrdiff_t border = y < 0 ? 0 : height - 1;
    const std::ptrdiff_t inwards = y < 0 ? 1 : -1;
    const std::ptrdiff_t steps = (border - y) * inwards;
    const std::size_t count = (mosaic_.width + 1) / 2;
    const int largest = format_.largest();
    for (std::size_t parity = 0; parity < 2 && steps <= 2; ++parity) {
        const auto half = [&](std::ptrdiff_t step) {
            return scratch_.halfRow(slot(border + step * inwards), parity);
        };
        const std::int16_t* const s0 = half(0);
        const std::int16_t* const s1 = half(1);
        const std::int16_t* const across = half(steps == 1 ? 2 : 3);
        std::int16_t* const made = scratch_.halfRow(slot(y), parity);
        for (std::size_t i = 0; i < count; ++i) {
            made[i] = steps == 1 ? oneOutside(s0[i], s1[i], across[i], largest)
                                 : twoOutside(s0[i], s1[i], across[i], largest);
        }
    }
}

void MosaicRows::extendSideways(std::ptrdiff_t y)
{
    std::int16_t* const even = scratch_.halfRow(slot(y), 0);
    std::int16_t* const odd = scratch_.halfRow(slot(y), 1);
    const auto entry = [&](std::ptrdiff_t column) -> std::int16_t& {
        return column % 2 == 0 ? even[column / 2] : odd[(column - 1) / 2];
    };
    const auto width = static_cast<std::ptrdiff_t>(mosaic_.width);
    if (mosaic_.width < kLeastToExtrapolate) {
        for (const std::ptrdiff_t column :
             {std::ptrdiff_t{-2}, std::ptrdiff_t{-1}, width, width + 1}) {
            entry(column) = entry(static_cast<std::ptrdiff_t>(reflected(column, mosaic_.width)));
        }
        return;
    }
    const int largest = format_.largest();
    const auto extend = [&](std::ptrdiff_t border, std::ptrdiff_t inwards) {
        const int s0 = entry(border);
        const int s1 = entry(border + inwards);
        entry(border - inwards) = oneOutside(s0, s1, entry(border + 2 * inwards), largest);
        entry(border - 2 * inwards) = twoOutside(s0, s1, entry(border + 3 * inwards), largest);
    };
    extend(0, 1);
    extend(width - 1, -1);
}

SplitRow MosaicRows::row(std::ptrdiff_t y) const
{
    return SplitRow{scratch_.halfRow(slot(y), 0), scratch_.halfRow(slot(y), 1)};
}

const std::uint8_t* MosaicRows::source(std::ptrdiff_t y) const
{
    return mosaic_.row(reflected(y, mosaic_.height));
}

std::size_t MosaicRows::slot(std::ptrdiff_t y)
{
    return static_cast<std::size_t>((y % kRows + kRows) % kRows);
}

} // namespace ZelComponents
