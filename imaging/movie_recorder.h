// Recording frames into a movie file.
#pragma once

#include "imaging/component_loader.h"
#include "zel_err.h"

#include <optional>
#include <string>
#include <vector>

namespace imaging
{

/// The one movie that may be open at a time. Failures are reported on standard error; `lastError`
/// receives the code of the component operation that decided. Not thread-safe: the interpreter lock
/// orders the callers.
class MovieRecorder
{
public:
    /// `components` must outlive the recorder.
    explicit MovieRecorder(ComponentLoader& components) : components_(components) {}

    /// Names of the compressors, or nothing when the serializer does not tell them.
    std::optional<std::vector<std::string>> compressors(ZelCamErr& lastError);

    /// Opens a movie for frames like `source`: Mono8 for a mono source, BGR8 for any other. A movie
    /// still open is dropped here, not finished. True on success.
    bool start(const ZelImage& source, const char* fileName, double framesPerSecond,
               const std::string& compressor, ZelCamErr& lastError);

    /// Appends a frame: packed formats are unpacked, mosaics demosaiced, mono reduced to 8 bits. A
    /// frame that the components damage is recorded all the same, so that the movie keeps its time;
    /// one of another size is not, nor a mosaic in a mono movie. True on success.
    bool append(const ZelImage& source, ZelCamErr& lastError);

    /// Closes the movie. True on success.
    bool finish(ZelCamErr& lastError);

private:
    bool bringIntoFrame(const ZelImage& source, const ZelImage* image);
    bool fits(const ZelImage& source) const;

    ComponentLoader& components_;
    OwnedImage frame_;    ///< What the serializer gets; null when no movie is open.
    OwnedImage unpacked_; ///< Only for packed sources.
};

} // namespace imaging
