// The compressors and containers that movies can be made of.
#pragma once

#include <string>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace movie
{

/// How the quantizer scale 1 to 31 is handed to an encoder.
enum class QuantizerScale { kNone, kLinear, kH26x, kTo63 };

/// Bits of the containers that take a compressor.
enum Container : unsigned { kAvi = 1, kMkv = 2, kMp4 = 4, kMov = 8, kWebm = 16 };

/// One name of the compressor list.
struct Compressor {
    std::string_view name;
    const char* colourEncoder; ///< libav's name of the encoder.
    const char* grayEncoder;
    AVPixelFormat colour; ///< What the encoder is given for colour pictures.
    AVPixelFormat gray;
    QuantizerScale scale;
    unsigned containers; ///< Bits of Container.
    int maxSide;         ///< Pixels; larger pictures would be refused late or cut.
    bool evenSides;      ///< The encoder wants an even width and height.
    bool waitsForFrame;  ///< Closed before its first frame, the encoder would wait for ever.
};

struct ContainerRow {
    std::string_view extension;
    const char* muxer; ///< libav's name.
    Container bit;
    double maxRate; ///< Frames per second; beyond it frames would share a time stamp.
};

/// The container of an extension in lower case, or null.
const ContainerRow* findContainer(std::string_view extension);

/// The compressor of that name if this libav has its encoders; an empty name means the first one
/// of the list that fits the container. Null when there is none.
const Compressor* findCompressor(std::string_view name, Container container);

/// The names of all usable compressors, each followed by "|".
std::string compressorList();

} // namespace movie
