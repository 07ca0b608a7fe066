#include "png_bands.h"

#include "base/signal_mask.h"
#include "row_deflater.h"
#include "row_kernels.h"

#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

namespace serializer
{

namespace
{

constexpr std::size_t kBandBytes = std::size_t{256} * 1024;
constexpr unsigned kMaxThreads = 8;
constexpr unsigned char kAverageFilter = 3;

// Compresses one band after the other; its buffers are used again.
class BandCompressor
{
public:
    explicit BandCompressor(const Picture& picture)
        : picture_(picture), pixelBytes_(picture.rowBytes / picture.width)
    {
    }

    void compress(std::uint32_t first, std::uint32_t end, PngBand* band)
    {
        filter(first, end);
        band->filtered = filtered_.size();
        band->adler = adlerOf(filtered_.data(), filtered_.size());
        deflater_.compress(filtered_.data(), filtered_.size(), end == picture_.height, &band->data);
        band->crc = static_cast<std::uint32_t>(
            crc32_z(crc32_z(0, nullptr, 0), band->data.data(), band->data.size()));
    }

private:
    void filter(std::uint32_t first, std::uint32_t end)
    {
        const std::size_t size = picture_.rowBytes;
        filtered_.resize((size + 1) * (end - first));
        above_.assign(size, 0);
        row_.resize(size);
        const unsigned char* above = first == 0 ? above_.data() : samples(first - 1, &above_);
        unsigned char* to = filtered_.data();
        for (std::uint32_t y = first; y < end; ++y, to += size + 1) {
            const unsigned char* row = samples(y, &row_);
            to[0] = kAverageFilter;
            averageFilter(row, above, to + 1, size, pixelBytes_);
            above = row;
            std::swap(row_, above_);
        }
    }

    // A row in the file's order of samples: the picture's own memory, or converted into `buffer`.
    const unsigned char* samples(std::uint32_t y, std::vector<unsigned char>* buffer) const
    {
        switch (picture_.kind) {
        case PixelKind::kGray16:
            toBigEndian(picture_.row(y), buffer->data(), picture_.width, picture_.bits, true);
            return buffer->data();
        case PixelKind::kBgr:
            swapRedBlue(picture_.row(y), buffer->data(), picture_.width);
            return buffer->data();
        default:
            return picture_.row(y);
        }
    }

    const Picture& picture_;
    std::size_t pixelBytes_;
    RowDeflater deflater_;
    std::vector<unsigned char> filtered_;
    std::vector<unsigned char> row_;
    std::vector<unsigned char> above_;
};

// What the threads share: each takes the next band until there is none.
struct BandWork {
    const Picture& picture;
    std::uint32_t rowsPerBand;
    std::vector<PngBand>& bands;
    std::atomic<std::size_t> next{0};
    std::atomic<bool> failed{false};

    void run()
    {
        try {
            BandCompressor compressor(picture);
            for (std::size_t i = next++; i < bands.size() && !failed; i = next++) {
                const auto first = static_cast<std::uint32_t>(i) * rowsPerBand;
                compressor.compress(first, std::min(first + rowsPerBand, picture.height),
                                    &bands[i]);
            }
        } catch (const std::bad_alloc&) {
            failed = true;
        }
    }
};

} // namespace

ZelCamErr compressBands(const Picture& picture, std::vector<PngBand>* bands)
{
    const std::size_t rows =
        std::clamp<std::size_t>(kBandBytes / picture.rowBytes, 1, std::size_t{picture.height});
    bands->resize((picture.height + rows - 1) / rows);
    BandWork work{picture, static_cast<std::uint32_t>(rows), *bands};
    const std::size_t cores = std::clamp(std::thread::hardware_concurrency(), 1U, kMaxThreads);
    std::vector<std::thread> threads;
    threads.reserve(cores);
    {
        const base::SignalMask mask;
        try {
            while (threads.size() + 1 < std::min(cores, bands->size())) {
                threads.emplace_back(&BandWork::run, &work);
            }
        } catch (const std::system_error&) {
            // Fewer threads do the same work.
        }
    }
    work.run();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return work.failed ? ZelErr::kGenTLOutOfMemory : ZelErr::kOk;
}

} // namespace serializer
