#include "tiff_writer.h"

#include "output_file.h"
#include "row_kernels.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace serializer
{

namespace
{

constexpr std::size_t kStrip = std::size_t{1024} * 1024;
constexpr std::uint64_t kClassicLimit = 0xFFFF0000U; // Leaves room for the directory.
constexpr float kDotsPerInch = 72.0F;

OutputFile& fileOf(thandle_t handle) { return *static_cast<OutputFile*>(handle); }

tmsize_t onRead(thandle_t /*handle*/, void* /*data*/, tmsize_t /*size*/) { return 0; }

tmsize_t onWrite(thandle_t handle, void* data, tmsize_t size)
{
    const ZelCamErr code = fileOf(handle).write(data, static_cast<std::size_t>(size));
    return code == ZelErr::kOk ? size : -1;
}

toff_t onSeek(thandle_t handle, toff_t offset, int whence)
{
    OutputFile& file = fileOf(handle);
    const toff_t base = whence == SEEK_CUR ? file.position() : whence == SEEK_END ? file.size() : 0;
    // Relative offsets may be negative: unsigned addition wraps to the right place.
    const toff_t position = base + offset;
    return file.seek(position) == ZelErr::kOk ? position : static_cast<toff_t>(-1);
}

int onClose(thandle_t /*handle*/) { return 0; }
toff_t onSize(thandle_t handle) { return fileOf(handle).size(); }

// libtiff prints warnings and errors unless a handler is set. Handlers per handle do not exist
// before version 4.5 and the global ones belong to the whole process, so the extended handler is
// given with the open options.
int onMessage(TIFF* /*tiff*/, void* /*context*/, const char* /*module*/, const char* /*format*/,
              va_list /*arguments*/)
{
    return 1;
}

using OptionsHandle = std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)>;
using TiffHandle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffHandle openTiff(OutputFile& file, bool big)
{
    const OptionsHandle options(TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    if (options == nullptr) {
        return {nullptr, TIFFClose};
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onMessage, nullptr);
    return {TIFFClientOpenExt("picture", big ? "w8" : "w", &file, onRead, onWrite, onSeek, onClose,
                              onSize, nullptr, nullptr, options.get()),
            TIFFClose};
}

bool setTags(TIFF* tiff, const Picture& picture, std::uint32_t rowsPerStrip)
{
    const bool wide = picture.kind == PixelKind::kGray16;
    char description[64];
    std::snprintf(description, sizeof description, "%s, %ux%u, %u bits",
                  picture.isColour() ? "RGB" : "Mono", picture.width, picture.height, picture.bits);
    int set = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width);
    set &= TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height);
    set &= TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, wide ? 16 : 8);
    set &= TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, picture.isColour() ? 3 : 1);
    set &= TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                        picture.isColour() ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    set &= TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set &= TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    set &= TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    set &= TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    set &= TIFFSetField(tiff, TIFFTAG_XRESOLUTION, static_cast<double>(kDotsPerInch));
    set &= TIFFSetField(tiff, TIFFTAG_YRESOLUTION, static_cast<double>(kDotsPerInch));
    set &= TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    set &= TIFFSetField(tiff, TIFFTAG_SOFTWARE, "zelcam");
    set &= TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description);
    if (wide) {
        set &= TIFFSetField(tiff, TIFFTAG_MAXSAMPLEVALUE, static_cast<int>(picture.maxValue()));
    }
    return set != 0;
}

// Raw strips: uncompressed samples in the machine's own byte order need no codec.
bool writeStrips(TIFF* tiff, const Picture& picture, std::uint32_t rowsPerStrip)
{
    const bool asStored = picture.kind != PixelKind::kBgr && picture.stride == picture.rowBytes;
    std::vector<unsigned char> strip(asStored ? 0 : rowsPerStrip * picture.rowBytes);
    std::uint32_t index = 0;
    for (std::uint32_t y = 0; y < picture.height; y += rowsPerStrip, ++index) {
        const std::uint32_t rows = std::min(rowsPerStrip, picture.height - y);
        const unsigned char* data = asStored ? picture.row(y) : strip.data();
        for (std::uint32_t i = 0; !asStored && i < rows; ++i) {
            unsigned char* to = strip.data() + i * picture.rowBytes;
            if (picture.kind == PixelKind::kBgr) {
                swapRedBlue(picture.row(y + i), to, picture.width);
            } else {
                std::memcpy(to, picture.row(y + i), picture.rowBytes);
            }
        }
        const auto size = static_cast<tmsize_t>(rows * picture.rowBytes);
        if (TIFFWriteRawStrip(tiff, index, const_cast<unsigned char*>(data), size) != size) {
            return false;
        }
    }
    return true;
}

} // namespace

ZelCamErr writeTiff(const Picture& picture, const WriteOptions& /*options*/, OutputFile& file)
{
    const std::uint64_t total = std::uint64_t{picture.rowBytes} * picture.height;
    const TiffHandle tiff = openTiff(file, total > kClassicLimit);
    if (tiff == nullptr) {
        return file.error() != ZelErr::kOk ? file.error() : ZelErr::kGenTLOutOfMemory;
    }
    const auto rowsPerStrip = static_cast<std::uint32_t>(
        std::clamp<std::size_t>(kStrip / picture.rowBytes, 1, std::size_t{picture.height}));
    const bool written = setTags(tiff.get(), picture, rowsPerStrip) &&
                         writeStrips(tiff.get(), picture, rowsPerStrip) &&
                         TIFFWriteDirectory(tiff.get()) != 0;
    if (file.error() != ZelErr::kOk) {
        return file.error();
    }
    return written ? ZelErr::kOk : ZelErr::kUnknown;
}

} // namespace serializer
