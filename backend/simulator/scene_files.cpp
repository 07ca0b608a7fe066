// Pictures for replay: PGM, PPM and PNG.
#include "simulator/scene.h"

#include <png.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace simulator
{

namespace
{

constexpr std::uint32_t kLargestSide = 32768;
// What a file or a folder claims to be is not believed: a small file may unpack to gigabytes.
constexpr std::uint64_t kMostPixels = 64u << 20; ///< Of one picture; each takes 8 bytes.
constexpr std::uint64_t kMostPixelsInAll = 256u << 20;
constexpr std::uint64_t kLargestFile = 512u << 20;

bool isSensible(std::uint64_t width, std::uint64_t height)
{
    return width != 0 && height != 0 && width <= kLargestSide && height <= kLargestSide &&
           width * height <= kMostPixels;
}

/// Samples of `channels` (1 or 3) interleaved, scaled to 12 bits.
std::shared_ptr<const Scene> sceneFrom(std::uint32_t width, std::uint32_t height,
                                       std::uint32_t channels,
                                       const std::vector<std::uint16_t>& samples)
{
    auto scene = std::make_shared<Scene>(width, height);
    const std::uint16_t* in = samples.data();
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x, in += channels) {
            scene->set(x, y, in[0], in[channels == 3 ? 1 : 0], in[channels == 3 ? 2 : 0]);
        }
    }
    return scene;
}

/// Reads the header fields and the samples of a binary PNM file.
class PnmReader
{
public:
    explicit PnmReader(const std::string& bytes) : bytes_(bytes) {}

    std::shared_ptr<const Scene> read()
    {
        const bool isColor = bytes_.compare(0, 2, "P6") == 0;
        if (!isColor && bytes_.compare(0, 2, "P5") != 0) {
            return nullptr;
        }
        place_ = 2;
        const std::uint32_t width = number();
        const std::uint32_t height = number();
        const std::uint32_t maximum = number();
        ++place_; // One blank ends the header.
        const std::uint32_t channels = isColor ? 3 : 1;
        const std::size_t sampleSize = maximum > 255 ? 2 : 1;
        if (!isSensible(width, height) || maximum == 0 || maximum > 65535) {
            return nullptr;
        }
        const std::size_t count = std::size_t{width} * height * channels;
        if (place_ > bytes_.size() || (bytes_.size() - place_) / sampleSize < count) {
            return nullptr;
        }
        std::vector<std::uint16_t> samples(count);
        for (auto& sample : samples) {
            std::uint32_t value = byte();
            if (sampleSize == 2) {
                value = value << 8 | byte();
            }
            sample = twelveBits(std::min(value, maximum), maximum);
        }
        return sceneFrom(width, height, channels, samples);
    }

private:
    /// 8 bits are shifted, so that they come back unchanged.
    static std::uint16_t twelveBits(std::uint32_t value, std::uint32_t maximum)
    {
        return static_cast<std::uint16_t>(maximum == 255 ? value << 4 : value * 4095u / maximum);
    }
    std::uint32_t byte() { return static_cast<unsigned char>(bytes_[place_++]); }
    std::uint32_t number()
    {
        while (place_ < bytes_.size() && (std::isspace(byteAt()) != 0 || bytes_[place_] == '#')) {
            if (bytes_[place_] == '#') {
                place_ = std::min(bytes_.find('\n', place_), bytes_.size() - 1);
            }
            ++place_;
        }
        std::uint32_t value = 0;
        while (place_ < bytes_.size() && std::isdigit(byteAt()) != 0 && value < 1000000) {
            value = value * 10 + byte() - '0';
        }
        return value;
    }
    int byteAt() const { return static_cast<unsigned char>(bytes_[place_]); }

    const std::string& bytes_;
    std::size_t place_ = 0;
};

std::shared_ptr<const Scene> readPng(const std::string& fileName)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, fileName.c_str()) == 0) {
        return nullptr;
    }
    if (!isSensible(image.width, image.height)) {
        png_image_free(&image);
        return nullptr;
    }
    // 8-bit values as they are in the file, without the colour management of the wide formats.
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> bytes(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr) == 0) {
        return nullptr;
    }
    std::vector<std::uint16_t> samples(bytes.size());
    std::transform(bytes.begin(), bytes.end(), samples.begin(),
                   [](unsigned char value) { return static_cast<std::uint16_t>(value << 4); });
    return sceneFrom(image.width, image.height, 3, samples);
}

std::string extensionOf(const std::filesystem::path& file)
{
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

std::shared_ptr<const Scene> readPicture(const std::filesystem::path& file)
{
    // A pipe would be waited for, and a device never ends.
    std::error_code failure;
    if (!std::filesystem::is_regular_file(file, failure) ||
        std::filesystem::file_size(file, failure) > kLargestFile || failure) {
        return nullptr;
    }
    if (extensionOf(file) == ".png") {
        return readPng(file.string());
    }
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    return PnmReader(bytes).read();
}

} // namespace

std::vector<std::shared_ptr<const Scene>> loadScenes(const std::string& source, std::string* error)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    std::error_code failure;
    if (fs::is_directory(source, failure)) {
        for (fs::directory_iterator entry(source, failure), end; !failure && entry != end;
             entry.increment(failure)) {
            const std::string extension = extensionOf(entry->path());
            if (extension == ".pgm" || extension == ".ppm" || extension == ".png") {
                files.push_back(entry->path());
            }
        }
        std::sort(files.begin(), files.end());
    } else {
        files.emplace_back(source);
    }
    std::vector<std::shared_ptr<const Scene>> scenes;
    std::uint64_t pixels = 0;
    for (const fs::path& file : files) {
        auto scene = readPicture(file);
        if (scene == nullptr) {
            *error = file.string() + ": not a readable PGM, PPM or PNG picture";
            return {};
        }
        pixels += std::uint64_t{scene->width()} * scene->height();
        if (pixels > kMostPixelsInAll) {
            *error = source + ": more than 256 million pixels";
            return {};
        }
        scenes.push_back(std::move(scene));
    }
    if (scenes.empty()) {
        *error = source + ": no PGM, PPM or PNG picture";
    }
    return scenes;
}

} // namespace simulator
