#include "png_writer.h"

#include "output_file.h"
#include "png_bands.h"

#include <zlib.h>

#include <array>
#include <vector>

namespace serializer
{

namespace
{

constexpr std::array<unsigned char, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr unsigned char kGray = 0;
constexpr unsigned char kRgb = 2;
// Deflate with a window of 32 KiB, fastest: the two bytes of the stream's own header.
constexpr std::array<unsigned char, 2> kStreamHeader = {0x78, 0x01};
constexpr std::uint32_t kMaxSide = 1000000; // What the common reader takes.

using Word = std::array<unsigned char, 4>;

Word bigEndian(std::uint32_t value)
{
    return {static_cast<unsigned char>(value >> 24U), static_cast<unsigned char>(value >> 16U),
            static_cast<unsigned char>(value >> 8U), static_cast<unsigned char>(value)};
}

// A chunk of several parts: length, name, parts, check sum.
class ChunkWriter
{
public:
    ChunkWriter(OutputFile& file, const char* name, std::size_t size) : file_(file)
    {
        const Word length = bigEndian(static_cast<std::uint32_t>(size));
        file_.write(length.data(), length.size());
        add(name, 4);
    }
    void add(const void* data, std::size_t size)
    {
        sum_ = crc32_z(sum_, static_cast<const unsigned char*>(data), size);
        file_.write(data, size);
    }
    /// `crc` is the data's own check sum.
    void addSummed(const std::vector<unsigned char>& data, std::uint32_t crc)
    {
        sum_ = crc32_combine(sum_, crc, static_cast<z_off_t>(data.size()));
        file_.write(data.data(), data.size());
    }
    void end()
    {
        const Word sum = bigEndian(static_cast<std::uint32_t>(sum_));
        file_.write(sum.data(), sum.size());
    }

private:
    OutputFile& file_;
    uLong sum_ = crc32_z(0, nullptr, 0);
};

void writeHeader(const Picture& picture, OutputFile& file)
{
    const bool wide = picture.kind == PixelKind::kGray16;
    file.write(kSignature.data(), kSignature.size());
    ChunkWriter header(file, "IHDR", 13);
    header.add(bigEndian(picture.width).data(), 4);
    header.add(bigEndian(picture.height).data(), 4);
    const std::array<unsigned char, 5> form = {static_cast<unsigned char>(wide ? 16 : 8),
                                               picture.isColour() ? kRgb : kGray, 0, 0, 0};
    header.add(form.data(), form.size());
    header.end();
    if (wide && picture.bits < 16) {
        const auto significant = static_cast<unsigned char>(picture.bits);
        ChunkWriter bits(file, "sBIT", 1);
        bits.add(&significant, 1);
        bits.end();
    }
}

// One chunk per band; the first also holds the stream's header, the last its check sum.
void writeBands(const std::vector<PngBand>& bands, OutputFile& file)
{
    uLong sum = adler32_z(0, nullptr, 0);
    for (std::size_t i = 0; i < bands.size(); ++i) {
        const PngBand& band = bands[i];
        const bool first = i == 0;
        const bool last = i + 1 == bands.size();
        sum = adler32_combine(sum, band.adler, static_cast<z_off_t>(band.filtered));
        ChunkWriter chunk(file, "IDAT",
                          band.data.size() + (first ? kStreamHeader.size() : 0) + (last ? 4 : 0));
        if (first) {
            chunk.add(kStreamHeader.data(), kStreamHeader.size());
        }
        chunk.addSummed(band.data, band.crc);
        if (last) {
            chunk.add(bigEndian(static_cast<std::uint32_t>(sum)).data(), 4);
        }
        chunk.end();
    }
}

} // namespace

ZelCamErr writePng(const Picture& picture, const WriteOptions& /*options*/, OutputFile& file)
{
    if (picture.width > kMaxSide || picture.height > kMaxSide) {
        return ZelErr::kInvalidArgument;
    }
    writeHeader(picture, file);
    std::vector<PngBand> bands;
    const ZelCamErr code = compressBands(picture, &bands);
    if (code != ZelErr::kOk) {
        return code;
    }
    writeBands(bands, file);
    ChunkWriter(file, "IEND", 0).end();
    return file.error();
}

} // namespace serializer
