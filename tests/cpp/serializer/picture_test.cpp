// Pictures read back with independent readers: every pixel, the tags, every extension.
#include "serializer_fixture.h"

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <tuple>

namespace
{

using Bytes = std::vector<std::uint8_t>;

/// What a reader found: samples of one or two bytes (low byte first), colour as RGB.
struct Read {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned bits = 0; // Of a stored sample.
    bool colour = false;
    unsigned maxValue = 0; // As the file states it; 0 when it does not.
    Bytes samples;
};

Bytes slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

Read readPng(const std::string& path)
{
    Read read;
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_read_png(png, info, PNG_TRANSFORM_SWAP_ENDIAN, nullptr);
    read.width = png_get_image_width(png, info);
    read.height = png_get_image_height(png, info);
    read.bits = png_get_bit_depth(png, info);
    read.colour = png_get_color_type(png, info) == PNG_COLOR_TYPE_RGB;
    png_color_8p significant = nullptr;
    if (png_get_sBIT(png, info, &significant) != 0) {
        read.maxValue = (1U << significant->gray) - 1;
    }
    png_bytepp rows = png_get_rows(png, info);
    for (std::uint32_t y = 0; y < read.height; ++y) {
        read.samples.insert(read.samples.end(), rows[y], rows[y] + png_get_rowbytes(png, info));
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return read;
}

Read readTiff(const std::string& path)
{
    Read read;
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    std::uint16_t bits = 0;
    std::uint16_t samples = 0;
    std::uint16_t maxValue = 0;
    const char* software = nullptr;
    float resolution = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &read.width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &read.height);
    TIFFGetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tiff.get(), TIFFTAG_MAXSAMPLEVALUE, &maxValue);
    EXPECT_EQ(TIFFGetField(tiff.get(), TIFFTAG_SOFTWARE, &software), 1);
    EXPECT_EQ(TIFFGetField(tiff.get(), TIFFTAG_XRESOLUTION, &resolution), 1);
    EXPECT_GT(resolution, 0.0F);
    EXPECT_EQ(TIFFReadDirectory(tiff.get()), 0) << "more than one picture";
    TIFFSetDirectory(tiff.get(), 0);
    read.bits = bits;
    read.colour = samples == 3;
    read.maxValue = bits == 16 ? maxValue : 0;
    Bytes row(static_cast<std::size_t>(TIFFScanlineSize(tiff.get())));
    for (std::uint32_t y = 0; y < read.height; ++y) {
        EXPECT_EQ(TIFFReadScanline(tiff.get(), row.data(), y), 1);
        read.samples.insert(read.samples.end(), row.begin(), row.end());
    }
    return read;
}

std::uint32_t little(const Bytes& bytes, std::size_t at, unsigned count)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i) {
        value |= std::uint32_t{bytes.at(at + i)} << (8 * i);
    }
    return value;
}

Read readBmp(const std::string& path)
{
    Read read;
    const Bytes bytes = slurp(path);
    EXPECT_EQ(little(bytes, 0, 2), 0x4D42U);
    EXPECT_EQ(little(bytes, 2, 4), bytes.size());
    read.width = little(bytes, 18, 4);
    read.height = little(bytes, 22, 4);
    read.bits = 8;
    read.colour = little(bytes, 28, 2) == 24;
    const std::size_t offset = little(bytes, 10, 4);
    const std::size_t row = std::size_t{read.width} * (read.colour ? 3 : 1);
    const std::size_t padded = (row + 3) / 4 * 4;
    EXPECT_EQ(bytes.size(), offset + padded * read.height);
    for (std::uint32_t y = read.height; y-- > 0;) {
        const std::size_t start = offset + padded * y;
        for (std::size_t i = 0; i < row; ++i) {
            const std::size_t at = read.colour ? i - i % 3 + 2 - i % 3 : i;
            const std::uint8_t value = bytes.at(start + at);
            // Gray goes through the palette, whose entries must be gray themselves.
            const std::uint32_t gray = read.colour ? 0 : little(bytes, 54 + 4U * value, 4);
            EXPECT_TRUE(read.colour || gray == (gray & 0xFFU) * 0x010101U);
            read.samples.push_back(read.colour ? value : static_cast<std::uint8_t>(gray & 0xFFU));
        }
    }
    return read;
}

Read readPnm(const std::string& path)
{
    Read read;
    const Bytes bytes = slurp(path);
    std::istringstream head(std::string(bytes.begin(), bytes.end()));
    std::string magic;
    head >> magic >> read.width >> read.height >> read.maxValue;
    read.colour = magic == "P6";
    EXPECT_TRUE(read.colour || magic == "P5");
    read.bits = read.maxValue > 255 ? 16 : 8;
    std::size_t at = static_cast<std::size_t>(head.tellg()) + 1;
    for (; at < bytes.size(); at += read.bits / 8) {
        if (read.bits == 16) {
            read.samples.push_back(bytes.at(at + 1));
        }
        read.samples.push_back(bytes.at(at));
    }
    read.maxValue = read.bits == 16 ? read.maxValue : 0;
    return read;
}

Read readJpeg(const std::string& path)
{
    Read read;
    const Bytes bytes = slurp(path);
    jpeg_decompress_struct decoder = {};
    jpeg_error_mgr errors = {};
    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, bytes.data(), bytes.size());
    jpeg_read_header(&decoder, TRUE);
    jpeg_start_decompress(&decoder);
    read.width = decoder.output_width;
    read.height = decoder.output_height;
    read.bits = 8;
    read.colour = decoder.output_components == 3;
    Bytes row(std::size_t{read.width} * (read.colour ? 3 : 1));
    while (decoder.output_scanline < decoder.output_height) {
        JSAMPROW pointer = row.data();
        jpeg_read_scanlines(&decoder, &pointer, 1);
        read.samples.insert(read.samples.end(), row.begin(), row.end());
    }
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return read;
}

double meanError(const Bytes& a, const Bytes& b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += std::abs(int(a[i]) - int(b.at(i)));
    }
    return sum / static_cast<double>(a.size());
}

// Values of `bits` bits as a file scaled to 16 bits shows them.
Bytes scaled(const Bytes& samples, unsigned bits)
{
    Bytes out;
    for (std::size_t i = 0; i < samples.size(); i += 2) {
        const unsigned value = samples[i] | unsigned{samples[i + 1]} << 8;
        const unsigned wide = (value << (16 - bits)) | (value >> (2 * bits - 16));
        out.push_back(static_cast<std::uint8_t>(wide & 0xFF));
        out.push_back(static_cast<std::uint8_t>(wide >> 8));
    }
    return out;
}

using Reader = Read (*)(const std::string&);
struct Format {
    const char* extension;
    Reader reader;
    bool wide; // Takes more than 8 bits.
};
constexpr Format kFormats[] = {
    {"png", readPng, true},   {"PNG", readPng, true},    {"tif", readTiff, true},
    {"TifF", readTiff, true}, {"bmp", readBmp, false},   {"BMP", readBmp, false},
    {"pgm", readPnm, true},   {"ppm", readPnm, true},    {"pnm", readPnm, true},
    {"jpg", readJpeg, false}, {"JPEG", readJpeg, false},
};

class PictureTest
    : public SerializerTest,
      public testing::WithParamInterface<std::tuple<ZelPixelType, std::pair<int, int>, int>>
{
};

} // namespace

TEST_P(PictureTest, EveryFormatGivesBackEveryPixel)
{
    const auto [type, size, gap] = GetParam();
    TestImage image(type, static_cast<std::uint32_t>(size.first),
                    static_cast<std::uint32_t>(size.second), static_cast<std::size_t>(gap));
    image.fillNoise(7);
    const unsigned bits = ZelPixel::depth(type);
    for (const Format& format : kFormats) {
        SCOPED_TRACE(format.extension);
        const std::string name = std::string("a.b.") + format.extension;
        if (bits > 8 && !format.wide) {
            EXPECT_EQ(save(image, name), -40007);
            EXPECT_TRUE(names().empty());
            continue;
        }
        ASSERT_EQ(save(image, name), 0);
        EXPECT_EQ(names(), std::vector<std::string>{name});
        const Read read = format.reader(path(name));
        EXPECT_EQ(read.width, image.width());
        EXPECT_EQ(read.height, image.height());
        EXPECT_EQ(read.bits, bits > 8 ? 16U : 8U);
        EXPECT_EQ(read.colour, type == ZelPixel::kRGB8 || type == ZelPixel::kBGR8);
        const bool png = format.reader == readPng;
        EXPECT_EQ(read.maxValue, bits == 8 || (png && bits == 16) ? 0 : (1U << bits) - 1);
        if (format.reader != readJpeg) {
            EXPECT_TRUE(read.samples ==
                        (png && bits > 8 ? scaled(image.pixels(), bits) : image.rgb()));
        }
        std::filesystem::remove(path(name));
    }
}

INSTANTIATE_TEST_SUITE_P(TypesSizesGaps, PictureTest,
                         testing::Combine(testing::Values(ZelPixel::kMono8, ZelPixel::kMono10,
                                                          ZelPixel::kMono12, ZelPixel::kMono14,
                                                          ZelPixel::kMono16, ZelPixel::kRGB8,
                                                          ZelPixel::kBGR8),
                                          testing::Values(std::pair(1, 1), std::pair(127, 5),
                                                          std::pair(640, 601), std::pair(20480, 3)),
                                          testing::Values(0, 3)));

TEST_F(SerializerTest, JpegKeepsColoursAndFollowsTheQuality)
{
    for (const ZelPixelType type : {ZelPixel::kMono8, ZelPixel::kRGB8, ZelPixel::kBGR8}) {
        TestImage image(type, 321, 241, 5);
        image.fillScene(3);
        ASSERT_EQ(save(image, "a.jpg"), 0);
        EXPECT_LT(meanError(image.rgb(), readJpeg(path("a.jpg")).samples), 1.5);
    }
    const auto best = std::filesystem::file_size(path("a.jpg"));
    ASSERT_EQ(params_->SetInteger("jpeg.quality", 40), 0);
    TestImage image(ZelPixel::kBGR8, 321, 241);
    ASSERT_EQ(save(image.fillScene(3), "a.jpg"), 0);
    EXPECT_LT(std::filesystem::file_size(path("a.jpg")), best / 2);
}

TEST_F(SerializerTest, SamplesAboveTheDepthDoNotSpoilAnyMapFiles)
{
    // A camera that sends junk in the unused bits; readers refuse values above maxval.
    TestImage image(ZelPixel::kMono12, 70, 1);
    for (std::size_t i = 0; i < image.rowBytes(); ++i) {
        image.row(0)[i] = 0xFF;
    }
    ASSERT_EQ(save(image, "a.pgm"), 0);
    EXPECT_EQ(readPnm(path("a.pgm")).samples.at(1), 0x0F);
    ASSERT_EQ(save(image, "a.png"), 0);
    EXPECT_EQ(readPng(path("a.png")).samples, Bytes(140, 0xFF));
}
