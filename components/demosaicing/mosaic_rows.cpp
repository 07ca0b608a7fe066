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
    std::int16_t* const even = scratch_.halfRow(slot(y), 0);
    std::int16_t* const odd = scratch_.halfRow(slot(y), 1);
    splitRow(source(y), mosaic_.width, format_, aligned_, even, odd);

    const auto entry = [&](std::ptrdiff_t column) -> std::int16_t& {
        return column % 2 == 0 ? even[column / 2] : odd[(column - 1) / 2];
    };
    const auto width = static_cast<std::ptrdiff_t>(mosaic_.width);
    for (const std::ptrdiff_t column : {std::ptrdiff_t{-2}, std::ptrdiff_t{-1}, width, width + 1}) {
        entry(column) = entry(static_cast<std::ptrdiff_t>(reflected(column, mosaic_.width)));
    }
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
