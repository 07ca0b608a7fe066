// Images whose memory ends where the next page cannot be touched, for tests of the image
// components.
#pragma once

#include "zel_image/image.h"

#define HWY_WANT_AVX3_DL // Some kernels are compiled for it.
#include <hwy/targets.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <vector>

namespace ImageTests
{

/// Where an image lies between two pages without access: a step outside on that side kills the
/// test, a write on the other side is found by `isIntact`.
enum class Placement { kBeforeBarrier, kBehindBarrier };

class GuardedImage
{
public:
    /// Unpacked: `padding` bytes follow every row but the last. Bit-packed: one run.
    GuardedImage(ZelPixelType type, std::uint32_t width, std::uint32_t height,
                 std::size_t padding = 0, Placement placement = Placement::kBeforeBarrier)
    {
        const std::size_t bits = ZelPixel::storedBits(type);
        const bool isPacked = ZelPixel::packing(type) != 0;
        rowBytes_ = isPacked ? (std::size_t{width} * height * bits + 7) / 8 : width * bits / 8;
        rows_ = isPacked ? 1 : height;
        stride_ = rowBytes_ + padding;
        const std::size_t size = (rows_ - 1) * stride_ + rowBytes_;
        map(size, placement);
        image.pixelType = type;
        image.size = ZelSize{width, height};
        image.bitsPerComponent = ZelPixel::depth(type);
        image.components = type == ZelPixel::kRGB8 || type == ZelPixel::kBGR8 ? 3 : 1;
        image.packingAndDepth = type & 0xFF00U;
        image.storedBits = ZelPixel::storedBits(type);
        image.stride = isPacked ? 0 : stride_;
        image.dataSize = size;
        image.data = data_;
    }
    ~GuardedImage() { munmap(mapping_, mappingBytes_); }
    GuardedImage(const GuardedImage&) = delete;
    GuardedImage& operator=(const GuardedImage&) = delete;

    std::uint8_t* row(std::size_t y) { return data_ + y * stride_; }
    const std::uint8_t* row(std::size_t y) const { return data_ + y * stride_; }
    unsigned word(std::size_t x, std::size_t y) const
    {
        return row(y)[2 * x] + 256U * row(y)[2 * x + 1];
    }
    void setWord(std::size_t x, std::size_t y, unsigned value)
    {
        row(y)[2 * x] = static_cast<std::uint8_t>(value);
        row(y)[2 * x + 1] = static_cast<std::uint8_t>(value >> 8U);
    }

    void fillRandomly(std::mt19937& random)
    {
        for (std::size_t y = 0; y < rows_; ++y) {
            std::generate_n(row(y), rowBytes_, [&] { return static_cast<std::uint8_t>(random()); });
        }
    }
    /// Random samples of the type's depth, in words or bytes.
    void fillWithSamples(std::mt19937& random)
    {
        fillRandomly(random);
        const unsigned bits = image.bitsPerComponent;
        for (std::size_t y = 0; bits > 8 && y < rows_; ++y) {
            for (std::size_t x = 0; x < image.size.width; ++x) {
                setWord(x, y, word(x, y) & ((1U << bits) - 1U));
            }
        }
    }

    /// No byte has changed but those of pixels.
    bool isIntact() const
    {
        for (std::size_t y = 1; y < rows_; ++y) {
            if (!isFiller(row(y - 1) + rowBytes_, row(y))) {
                return false;
            }
        }
        return isFiller(accessible_, data_) &&
               isFiller(data_ + image.dataSize, accessible_ + accessibleBytes_);
    }
    bool isUntouched() const { return isFiller(accessible_, accessible_ + accessibleBytes_); }

    ZelImage image{};

private:
    static constexpr std::uint8_t kFiller = 0xA5;

    static bool isFiller(const std::uint8_t* begin, const std::uint8_t* end)
    {
        return std::all_of(begin, end, [](std::uint8_t byte) { return byte == kFiller; });
    }

    void map(std::size_t size, Placement placement)
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        accessibleBytes_ = (size + page - 1) / page * page;
        mappingBytes_ = accessibleBytes_ + 2 * page;
        mapping_ = mmap(nullptr, mappingBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        accessible_ = static_cast<std::uint8_t*>(mapping_) + page;
        if (mapping_ == MAP_FAILED ||
            mprotect(accessible_, accessibleBytes_, PROT_READ | PROT_WRITE) != 0) {
            throw std::runtime_error("no memory for a test image");
        }
        std::memset(accessible_, kFiller, accessibleBytes_);
        data_ = placement == Placement::kBehindBarrier ? accessible_
                                                       : accessible_ + accessibleBytes_ - size;
    }

    void* mapping_ = nullptr;
    std::size_t mappingBytes_ = 0;
    std::uint8_t* accessible_ = nullptr;
    std::size_t accessibleBytes_ = 0;
    std::uint8_t* data_ = nullptr;
    std::size_t rowBytes_ = 0;
    std::size_t stride_ = 0;
    std::size_t rows_ = 0;
};

/// Calls `test(name)` once for every instruction set of this machine, and for none.
template <typename Test> void forEachTarget(const Test& test)
{
    std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
    if (std::count(targets.begin(), targets.end(), HWY_SCALAR) == 0) {
        targets.push_back(HWY_SCALAR);
    }
    for (const std::int64_t target : targets) {
        hwy::SetSupportedTargetsForTest(target);
        test(hwy::TargetName(target));
    }
    hwy::SetSupportedTargetsForTest(0);
}

/// 1 to two of the widest vectors of pixels and one more.
inline std::vector<std::uint32_t> widthsAroundVectors()
{
    std::vector<std::uint32_t> widths;
    for (std::uint32_t width = 1; width <= 129; ++width) {
        widths.push_back(width);
    }
    return widths;
}

} // namespace ImageTests
