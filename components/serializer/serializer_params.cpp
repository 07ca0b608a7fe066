#include "serializer_params.h"

#include "movie_library.h"

#include <cstring>
#include <new>
#include <string_view>

namespace serializer
{

namespace
{

constexpr std::string_view kCompressor = "movie.compressor";
constexpr std::string_view kCompressors = "movie.compressors";
constexpr std::size_t kMaxCompressor = 127;

ZelCamErr copyText(std::string_view text, char* buffer, std::uint32_t* length)
{
    const auto needed = static_cast<std::uint32_t>(text.size() + 1);
    const std::uint32_t capacity = *length;
    *length = needed;
    if (capacity < needed) {
        return ZelErr::kGenTLBufferTooSmall;
    }
    if (buffer == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    return ZelErr::kOk;
}

} // namespace

struct SerializerParams::IntegerRow {
    std::string_view key;
    std::int32_t min;
    std::int32_t max;
    std::int32_t SerializerParams::*value;
};

const SerializerParams::IntegerRow SerializerParams::kIntegers[] = {
    {"add.palette", 0, 1, &SerializerParams::addPalette_},
    {"ticks.per.sec", 1, INT32_MAX, &SerializerParams::ticksPerSecond_},
    {"min.quantizer", 1, 31, &SerializerParams::minQuantizer_},
    {"max.quantizer", 1, 31, &SerializerParams::maxQuantizer_},
    {"jpeg.quality", 1, 100, &SerializerParams::jpegQuality_},
};

ZelCamErr SerializerParams::SetInteger(const char* key, std::int32_t value)
{
    if (key == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    for (const IntegerRow& row : kIntegers) {
        if (row.key == key) {
            if (value < row.min || value > row.max) {
                return ZelErr::kParamOutOfRange;
            }
            this->*row.value = value;
            return ZelErr::kOk;
        }
    }
    return ZelErr::kParamUnknown;
}

ZelCamErr SerializerParams::SetString(const char* key, const char* value)
{
    if (key == nullptr || value == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    if (kCompressor != key) {
        return ZelErr::kParamUnknown;
    }
    if (std::strlen(value) > kMaxCompressor) {
        return ZelErr::kParamOutOfRange;
    }
    try {
        compressor_ = value;
    } catch (const std::bad_alloc&) {
        return ZelErr::kGenTLOutOfMemory;
    }
    return ZelErr::kOk;
}

ZelCamErr SerializerParams::GetString(const char* key, char* buffer, std::uint32_t* length)
{
    if (key == nullptr || length == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    if (kCompressor == key) {
        return copyText(compressor_, buffer, length);
    }
    if (kCompressors == key) {
        const movie::Functions* functions = movieFunctions();
        return functions == nullptr ? ZelErr::kFileNotFound
                                    : copyText(functions->compressors(), buffer, length);
    }
    return ZelErr::kParamUnknown;
}

} // namespace serializer
