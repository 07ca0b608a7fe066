// The serializer's named parameters.
#pragma once

#include "zel_image/component_params.h"

#include <cstdint>
#include <string>

namespace serializer
{

/// Values and their limits as the component's header lists them; a key that an operation does not
/// know gives -40205. Settings count from the next picture or the next movie on.
class SerializerParams final : public ZelComponentParams
{
public:
    ZelCamErr SetInteger(const char* key, std::int32_t value) override;
    /// "movie.compressor": at most 127 bytes, longer text gives -40204. Whether the name is known
    /// and fits the container shows when a movie is started.
    ZelCamErr SetString(const char* key, const char* value) override;
    /// "movie.compressor" as it was set, and "movie.compressors", which loads the movie library;
    /// -40002 when that fails.
    ZelCamErr GetString(const char* key, char* buffer, std::uint32_t* length) override;

    bool addPalette() const { return addPalette_ != 0; }
    std::int32_t ticksPerSecond() const { return ticksPerSecond_; }
    std::int32_t minQuantizer() const { return minQuantizer_; }
    std::int32_t maxQuantizer() const { return maxQuantizer_; }
    std::int32_t jpegQuality() const { return jpegQuality_; }
    const std::string& compressor() const { return compressor_; }

private:
    struct IntegerRow;
    static const IntegerRow kIntegers[];

    std::int32_t addPalette_ = 0;
    std::int32_t ticksPerSecond_ = 100'000'000;
    std::int32_t minQuantizer_ = 15;
    std::int32_t maxQuantizer_ = 15;
    std::int32_t jpegQuality_ = 95;
    std::string compressor_;
};

} // namespace serializer
