#include "pnm_writer.h"

#include "output_file.h"
#include "row_kernels.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace serializer
{

namespace
{

constexpr std::size_t kBlock =
    std::size_t{256} * 1024; // Stays in the cache between conversion and write.

// Through a block of rows: for samples that are not in the file's order, or rows with gaps.
ZelCamErr writeConverted(const Picture& picture, OutputFile& file)
{
    const std::size_t rows =
        std::clamp<std::size_t>(kBlock / picture.rowBytes, 1, std::size_t{picture.height});
    std::vector<unsigned char> block(rows * picture.rowBytes);
    std::size_t filled = 0;
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        unsigned char* to = block.data() + filled * picture.rowBytes;
        if (picture.kind == PixelKind::kGray16) {
            toBigEndian(picture.row(y), to, picture.width, picture.bits, false);
        } else if (picture.kind == PixelKind::kBgr) {
            swapRedBlue(picture.row(y), to, picture.width);
        } else {
            std::memcpy(to, picture.row(y), picture.rowBytes);
        }
        if (++filled == rows || y + 1 == picture.height) {
            if (file.write(block.data(), filled * picture.rowBytes) != ZelErr::kOk) {
                break;
            }
            filled = 0;
        }
    }
    return file.error();
}

} // namespace

ZelCamErr writePnm(const Picture& picture, const WriteOptions& /*options*/, OutputFile& file)
{
    char head[48];
    const int length =
        std::snprintf(head, sizeof head, "P%c\n%u %u\n%u\n", picture.isColour() ? '6' : '5',
                      picture.width, picture.height, picture.maxValue());
    file.write(head, static_cast<std::size_t>(length));
    const bool asStored = picture.kind == PixelKind::kGray8 || picture.kind == PixelKind::kRgb;
    if (asStored && picture.stride == picture.rowBytes) {
        return file.write(picture.pixels, picture.rowBytes * picture.height);
    }
    return writeConverted(picture, file);
}

} // namespace serializer
