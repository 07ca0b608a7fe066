// Demosaicing component: checks the images and spreads their rows over the processors.
#include "zel_image/demosaicing.h"

#include "common/bayer_order.h"
#include "common/image_plane.h"
#include "demosaicing/band_pool.h"
#include "demosaicing/demosaic_kernel.h"
#include "demosaicing/mosaic_rows.h"

#include <algorithm>
#include <array>
#include <new>
#include <optional>

namespace
{

using namespace ZelComponents;

constexpr std::size_t kMaxThreads = 8;           // More only wait for memory.
constexpr std::size_t kPixelsPerThread = 262144; // Less is done before another thread wakes up.
constexpr std::size_t kBandRows = 64;            // Even, as rows are made in pairs.

struct Task {
    SourcePlane source;
    TargetPlane target;
    SampleFormat format;
    MosaicLayout layout;
};

constexpr std::size_t kMegabyte = std::size_t{1024} * 1024;
// Results beyond this do not stay in a core's own cache: their lines come from afar before they are
// written (claimed early, 1.05 to 1.15 times the speed at 1920 x 1200 where others share the last
// cache).
constexpr std::size_t kCacheBytes = 2 * kMegabyte;
// Results beyond this have left the caches when somebody reads them.
constexpr std::size_t kLargestCacheBytes = 32 * kMegabyte;

// The even column where every row of the result begins a cache line; 0 if there is none.
std::size_t lineColumn(const TargetPlane& target)
{
    constexpr std::size_t kThird = 43;
    static_assert(3 * kThird % kCacheLine == 1);
    const auto address = reinterpret_cast<std::uintptr_t>(target.data);
    return target.stride % kCacheLine != 0 || address % 2 != 0
               ? 0
               : (kCacheLine - address % kCacheLine) * kThird % kCacheLine;
}

class DemosaicBands final : public BandWork
{
public:
    DemosaicBands(const Task& task, BandScratch* scratches) : task_(task), scratches_(scratches) {}

    std::size_t count() const { return (task_.source.height + kBandRows - 1) / kBandRows; }

    void runBand(std::size_t band, std::size_t slot) noexcept override
    {
        const std::size_t begin = band * kBandRows;
        const std::size_t end = std::min(begin + kBandRows, task_.source.height);
        const std::size_t bytes = task_.target.rowBytes() * task_.target.height;
        const std::size_t column = lineColumn(task_.target);
        BandScratch& scratch = scratches_[slot];
        MosaicRows rows(task_.source, task_.format, column, scratch);
        for (auto y = static_cast<std::ptrdiff_t>(begin) - 2;
             y < static_cast<std::ptrdiff_t>(begin) + 2; ++y) {
            rows.load(y);
        }
        for (std::size_t y = begin; y < end; y += 2) {
            const auto top = static_cast<std::ptrdiff_t>(y);
            rows.load(top + 2);
            rows.load(top + 3);
            std::uint8_t* const second =
                y + 1 < end ? task_.target.row(y + 1) : scratch.spareTarget();
            std::array<const std::uint8_t*, 2> upcoming{};
            if (bytes > kCacheBytes) {
                upcoming = {rows.source(top + 4), rows.source(top + 5)};
            }
            const RowPair pair{{rows.row(top - 2), rows.row(top - 1), rows.row(top),
                                rows.row(top + 1), rows.row(top + 2), rows.row(top + 3)},
                               {task_.target.row(y), second},
                               task_.source.width,
                               upcoming,
                               task_.format.bytes,
                               column,
                               bytes > kLargestCacheBytes};
            interpolateRows(pair, task_.layout);
        }
        finishRows();
    }

private:
    const Task& task_;
    BandScratch* scratches_;
};

std::optional<Task> checkedTask(const ZelImage& source, const ZelImage& target)
{
    const bool isMono = ZelPixel::family(source.pixelType) == ZelPixel::kFamilyMono;
    const ZelPixelType type = isMono ? source.mosaic : source.pixelType;
    const bool toRgb = target.pixelType == ZelPixel::kRGB8;
    const std::optional<SourcePlane> from = sourcePlane(source);
    const std::optional<TargetPlane> into = targetPlane(target);
    if (!isUnpackedBayer(type) || (!toRgb && target.pixelType != ZelPixel::kBGR8) || !from ||
        !into || !sameSize(source, target) ||
        from->bytesPerPixel != ZelPixel::storedBits(type) / 8U) {
        return std::nullopt;
    }
    const BayerOrder order = bayerOrder(type);
    const unsigned bits = ZelPixel::depth(type);
    return Task{*from, *into, SampleFormat{from->bytesPerPixel, bits > 10 ? bits - 10 : 0},
                MosaicLayout{order.chromaPhase, order.redFirst == toRgb, bits > 8 ? 10U : 8U}};
}

} // namespace

struct ZelBayer {
    BandPool pool;
    std::array<BandScratch, kMaxThreads> scratches;

    // Threads for which there is work and memory; 0 for want of memory.
    std::size_t prepareThreads(const SourcePlane& mosaic)
    {
        const std::size_t useful =
            std::min(mosaic.width * mosaic.height / kPixelsPerThread, kMaxThreads);
        const std::size_t wanted = useful > 1 ? std::min(useful, usableProcessors()) : 1;
        std::size_t ready = 0;
        while (ready < wanted && scratches[ready].reserve(mosaic.width)) {
            ++ready;
        }
        return ready;
    }
};

ZelBayer* ZelBayer_CreateComponent() { return new (std::nothrow) ZelBayer; }

ZelCamErr ZelBayer_ConvertImage(ZelBayer* bayer, const ZelImage* source, ZelImage* target)
{
    if (bayer == nullptr || source == nullptr || target == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    const std::optional<Task> task = checkedTask(*source, *target);
    if (!task) {
        return ZelErr::kInvalidArgument;
    }
    const std::size_t threads = bayer->prepareThreads(task->source);
    if (threads == 0) {
        return ZelErr::kGenTLOutOfMemory;
    }
    DemosaicBands bands(*task, bayer->scratches.data());
    bayer->pool.run(bands, bands.count(), threads);
    return ZelErr::kOk;
}

void ZelBayer_DeleteComponent(ZelBayer* bayer) { delete bayer; }
