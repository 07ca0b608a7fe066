#include "imaging/movie_recorder.h"

#include "imaging/pixel_format_table.h"
#include "imaging/unpack.h"
#include "module/binding/report.h"

#include <array>
#include <string_view>

namespace imaging
{

namespace
{

constexpr std::size_t kCompressorListCapacity = 256;
constexpr std::size_t kCompressorNameCapacity = 128;

/// Time base and quantizers of every movie.
constexpr std::int32_t kTicksPerSecond = 100000000;
constexpr std::int32_t kQuantizer = 15;

bool isMono(ZelPixelType type) { return ZelPixel::family(type) == ZelPixel::kFamilyMono; }

bool isPacked(ZelPixelType type) { return ZelPixel::packing(type) != ZelPixel::kPackingNone; }

ZelPixelType frameTypeFor(ZelPixelType source)
{
    return isMono(source) ? ZelPixel::kMono8 : ZelPixel::kBGR8;
}

/// Mosaics, too, are unpacked into a mono image; it remembers which mosaic it holds.
ZelPixelType unpackedTypeFor(ZelPixelType source)
{
    return source == ZelPixel::kMono10Packed ? ZelPixel::kMono10 : ZelPixel::kMono12;
}

ZelComponentParams* serializerParams(ZelImageSerializer* serializer)
{
    ZelComponentParams* params = ZelImageSerializer_GetComponent(serializer);
    if (params == nullptr) {
        binding::report("Error, ZelImageSerializer_GetComponent\n");
    }
    return params;
}

/// True for success; reports the code of a frame that was not written.
bool reportAppended(ZelCamErr code)
{
    if (code != ZelErr::kOk) {
        binding::reportComponentFailure("ZelImageSerializer_Save failed.  error code", code);
    }
    return code == ZelErr::kOk;
}

/// The names in front of each '|'; what stands behind the last one is no name.
std::vector<std::string> splitList(std::string_view list)
{
    std::vector<std::string> names;
    for (auto end = list.find('|'); end != std::string_view::npos; end = list.find('|')) {
        names.emplace_back(list.substr(0, end));
        list.remove_prefix(end + 1);
    }
    return names;
}

} // namespace

std::optional<std::vector<std::string>> MovieRecorder::compressors(ZelCamErr& lastError)
{
    ZelImageSerializer* serializer = components_.serializer(kMovies);
    ZelComponentParams* params = serializer != nullptr ? serializerParams(serializer) : nullptr;
    if (params == nullptr) {
        return std::nullopt;
    }
    // One byte more than the component is told of, so that the text always ends.
    std::array<char, kCompressorListCapacity + 1> list{};
    std::uint32_t length = kCompressorListCapacity;
    lastError = params->GetString("movie.compressors", list.data(), &length);
    if (lastError != ZelErr::kOk) {
        return std::nullopt;
    }
    return splitList(list.data());
}

bool MovieRecorder::start(const ZelImage& source, const char* fileName, double framesPerSecond,
                          const std::string& compressor, ZelCamErr& lastError)
{
    frame_.reset();
    unpacked_.reset();
    frame_ = createImage(source.size, frameTypeFor(source.pixelType));
    if (isPacked(source.pixelType)) {
        unpacked_ = createImage(source.size, unpackedTypeFor(source.pixelType));
    }
    ZelImageSerializer* serializer = components_.serializer(kMovies);
    if (serializer == nullptr) {
        return false;
    }
    ZelComponentParams* params = serializerParams(serializer);
    if (params == nullptr) {
        frame_.reset();
        return false;
    }
    params->SetInteger("add.palette", 0);
    params->SetInteger("ticks.per.sec", kTicksPerSecond);
    params->SetInteger("min.quantizer", kQuantizer);
    params->SetInteger("max.quantizer", kQuantizer);
    params->SetString("movie.compressor",
                      compressor.substr(0, kCompressorNameCapacity - 1).c_str());
    lastError =
        ZelImageSerializer_StartMovieRecord(serializer, frame_.get(), fileName, framesPerSecond);
    if (lastError != ZelErr::kOk) {
        binding::reportComponentFailure("ZelImageSerializer_StartMovieRecord failed.  error code",
                                        lastError);
    }
    return lastError == ZelErr::kOk;
}

bool MovieRecorder::append(const ZelImage& source, ZelCamErr& lastError)
{
    ZelImageSerializer* serializer = components_.existingSerializer();
    if (serializer == nullptr || frame_ == nullptr) {
        // Without a movie there is nothing to bring the frame into; the writer says so.
        lastError = serializer != nullptr ? ZelImageSerializer_Save(serializer, nullptr, nullptr)
                                          : ZelErr::kInvalidState;
        return reportAppended(lastError);
    }
    const ZelImage* image = &source;
    if (isPacked(source.pixelType)) {
        ZelImageUnpacker* unpacker = unpackerFor(components_, source);
        if (unpacker == nullptr) {
            return false;
        }
        if (unpacked_ != nullptr) {
            describePixels(*unpacked_, unpackedTypeFor(source.pixelType));
        }
        lastError = unpack(unpacker, source, unpacked_.get());
        if (lastError != ZelErr::kOk) {
            return false;
        }
        image = unpacked_.get();
    }
    if (!bringIntoFrame(source, image)) {
        return false;
    }
    // What does not fit left the frame image as it was: it is not recorded a second time.
    lastError = fits(source) ? ZelImageSerializer_Save(serializer, frame_.get(), nullptr)
                             : ZelErr::kInvalidArgument;
    return reportAppended(lastError);
}

bool MovieRecorder::fits(const ZelImage& source) const
{
    // Grey can be shown in colour, a mosaic not in grey.
    return source.size.width == frame_->size.width && source.size.height == frame_->size.height &&
           (isMono(source.pixelType) || frame_->pixelType == ZelPixel::kBGR8);
}

bool MovieRecorder::bringIntoFrame(const ZelImage& source, const ZelImage* image)
{
    if (ZelPixel::family(source.pixelType) == ZelPixel::kFamilyBayer) {
        const ZelCamErr code = ZelBayer_ConvertImage(components_.bayer(), image, frame_.get());
        if (code != ZelErr::kOk) {
            binding::reportComponentFailure("ZelBayer_ConvertImage failed, error code", code);
        }
    } else if (isMono(source.pixelType)) {
        // As for pictures, only the writer's code decides.
        ZelImageConverter_ConvertImage(components_.converter(), image, frame_.get());
    } else {
        binding::report("Error, not supported pixel type\n");
        return false;
    }
    return true;
}

bool MovieRecorder::finish(ZelCamErr& lastError)
{
    ZelImageSerializer* serializer = components_.serializer(kMovies);
    lastError =
        serializer != nullptr ? ZelImageSerializer_FinishRecord(serializer) : ZelErr::kInvalidState;
    frame_.reset();
    unpacked_.reset();
    if (lastError != ZelErr::kOk) {
        binding::reportComponentFailure("ZelImageSerializer_FinishRecord failed.  error code",
                                        lastError);
    }
    return lastError == ZelErr::kOk;
}

} // namespace imaging
