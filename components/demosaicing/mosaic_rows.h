// The rows of a mosaic that interpolation needs at a time, split and continued beyond the borders.
#pragma once

#include "common/image_plane.h"
#include "demosaicing/demosaic_kernel.h"
#include "demosaicing/split_row.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace ZelComponents
{

/// Working memory of one band at a time. Not shared between threads.
class BandScratch
{
public:
    /// Makes room for rows of `width` pixels. False for want of memory.
    bool reserve(std::size_t width);
    /// From now on column `column` (even, below kCacheLine) of half rows begins a cache line.
    void alignColumn(std::size_t column) { column_ = column; }

    /// Column 0 of a half row.
    std::int16_t* halfRow(std::size_t slot, std::size_t parity);
    /// 3 * width bytes for a result row that nobody wants.
    std::uint8_t* spareTarget();

private:
    struct Free {
        void operator()(std::int16_t* memory) const
        {
            ::operator delete (memory, std::align_val_t{kCacheLine});
        }
    };

    std::unique_ptr<std::int16_t, Free> memory_;
    std::size_t width_ = 0;
    std::size_t column_ = 0;
    std::size_t halfRowEntries_ = 0;
};

/// A window of six rows that moves down a mosaic. Beyond its borders the mosaic is reflected about
/// the outermost samples (row -1 is row 1), which keeps the positions of the colours. A mosaic one
/// sample wide or high is repeated instead: it lacks a colour or two, and the colours that it has
/// stand in for them, so that grey stays grey.
class MosaicRows
{
public:
    /// The window's first two rows are later to be rows y - 2 and y - 1. Column `aligned` of its
    /// half rows begins a cache line. Borrows `mosaic` and `scratch`.
    MosaicRows(const SourcePlane& mosaic, const SampleFormat& format, std::size_t aligned,
               BandScratch& scratch);

    /// Brings row y (which may lie beyond the borders) into the window, in place of row y - 6.
    void load(std::ptrdiff_t y);
    /// A row among the last six loaded.
    SplitRow row(std::ptrdiff_t y) const;
    /// The mosaic's own samples that row y is made from.
    const std::uint8_t* source(std::ptrdiff_t y) const;

private:
    static constexpr std::ptrdiff_t kRows = 6;
    static std::size_t slot(std::ptrdiff_t y);

    const SourcePlane& mosaic_;
    SampleFormat format_;
    std::size_t aligned_;
    BandScratch& scratch_;
};

} // namespace ZelComponents
