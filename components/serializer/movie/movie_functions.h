// What the serializer calls in the movie library, which it opens at the first need.
#pragma once

#include "../picture.h"

#include <cstdint>

namespace movie
{

class Recorder;

/// How a movie is to be made. The texts are borrowed for the call.
struct Settings {
    const char* fileName;
    const char* extension;  ///< Of the file name, in lower case.
    const char* compressor; ///< Empty: the container's first.
    double framesPerSecond;
    std::int32_t ticksPerSecond; ///< Wanted resolution of time stamps, above 0.
    std::int32_t minQuantizer;   ///< 1 (best) to 31.
    std::int32_t maxQuantizer;   ///< 1 to 31, not below the minimum.
    bool addPalette;             ///< Uncompressed gray in AVI as 8 bits with a palette.
};

/// The library's operations. None lets an exception out. A recorder is used by one thread at a
/// time; it encodes in a thread of its own. In a forked child the recorders of the parent are not
/// touched: append and finish give -40051. A process that ends finishes its recorders.
struct Functions {
    /// Names of the compressors that can be used here, each followed by "|". Valid for ever.
    const char* (*compressors)();
    /// Starts a movie for pictures like `first`, whose pixels are not read. -40007 for an unknown
    /// container or compressor, one that does not fit the container or cannot take this size, a
    /// frame rate out of range, minimum above maximum; -40002 and -40003 for the file. Until the
    /// first frame is in it the file has no name, and an earlier one stays.
    ZelCamErr (*start)(const Settings* settings, const serializer::Picture* first,
                       Recorder** recorder);
    /// Appends a picture; the pixels have been copied when it returns. -40007 for another size or
    /// kind than the first, else an error of an earlier picture.
    ZelCamErr (*append)(Recorder* recorder, const serializer::Picture* picture);
    /// Writes what is queued, closes the file and frees the recorder; without a frame there is no
    /// file. The recording's first error.
    ZelCamErr (*finish)(Recorder* recorder);
};

/// The symbol that the library exports: `const movie::Functions* ZelMovie_GetFunctions()`.
using GetFunctions = const Functions* (*)();
constexpr const char* kGetFunctions = "ZelMovie_GetFunctions";
constexpr const char* kLibraryName = "libZelMovie.so";

} // namespace movie
