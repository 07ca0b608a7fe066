#include "bmp_writer.h"

#include "output_file.h"
#include "row_kernels.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace serializer
{

namespace
{

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kInfoHeader = 40;
constexpr std::size_t kGrays = 256;
constexpr std::uint32_t kPixelsPerMetre = 2835; // 72 per inch.
constexpr std::size_t kBlock =
    std::size_t{256} * 1024; // Stays in the cache between swap and write.

void put(std::vector<unsigned char>* out, std::uint32_t value, unsigned bytes)
{
    for (unsigned i = 0; i < bytes; ++i) {
        out->push_back(static_cast<unsigned char>(value >> (8U * i)));
    }
}

std::vector<unsigned char> header(const Picture& picture, std::size_t paddedRow)
{
    const std::size_t palette = picture.isColour() ? 0 : kGrays;
    const std::size_t offset = kFileHeader + kInfoHeader + 4 * palette;
    const std::size_t pixels = paddedRow * picture.height;
    std::vector<unsigned char> out;
    out.reserve(offset);
    out.push_back('B');
    out.push_back('M');
    put(&out, static_cast<std::uint32_t>(offset + pixels), 4);
    put(&out, 0, 4);
    put(&out, static_cast<std::uint32_t>(offset), 4);
    put(&out, kInfoHeader, 4);
    put(&out, picture.width, 4);
    put(&out, picture.height, 4);
    put(&out, 1, 2);
    put(&out, picture.isColour() ? 24 : 8, 2);
    put(&out, 0, 4);
    put(&out, static_cast<std::uint32_t>(pixels), 4);
    put(&out, kPixelsPerMetre, 4);
    put(&out, kPixelsPerMetre, 4);
    put(&out, static_cast<std::uint32_t>(palette), 4);
    put(&out, 0, 4);
    for (std::uint32_t gray = 0; gray < palette; ++gray) {
        put(&out, gray * 0x010101U, 4);
    }
    return out;
}

} // namespace

ZelCamErr writeBmp(const Picture& picture, const WriteOptions& /*options*/, OutputFile& file)
{
    const std::size_t paddedRow = (picture.rowBytes + 3) / 4 * 4;
    const std::uint64_t total = std::uint64_t{paddedRow} * picture.height;
    if (picture.kind == PixelKind::kGray16 ||
        total > UINT32_MAX - kFileHeader - kInfoHeader - 4 * kGrays) {
        return ZelErr::kInvalidArgument;
    }
    const std::vector<unsigned char> head = header(picture, paddedRow);
    file.write(head.data(), head.size());
    const std::size_t rows =
        std::clamp<std::size_t>(kBlock / paddedRow, 1, std::size_t{picture.height});
    std::vector<unsigned char> block(rows * paddedRow); // Padding bytes stay 0.
    std::size_t filled = 0;
    for (std::uint32_t y = picture.height; y-- > 0;) {
        unsigned char* to = block.data() + filled * paddedRow;
        if (picture.kind == PixelKind::kRgb) {
            swapRedBlue(picture.row(y), to, picture.width);
        } else {
            std::memcpy(to, picture.row(y), picture.rowBytes);
        }
        if (++filled == rows || y == 0) {
            if (file.write(block.data(), filled * paddedRow) != ZelErr::kOk) {
                break;
            }
            filled = 0;
        }
    }
    return file.error();
}

} // namespace serializer
