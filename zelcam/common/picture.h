// Frames as pictures that can be saved, recorded and shown.
#pragma once

#include "zel_camera_api.h"
#include "zel_image_api.h"

#include <memory>

namespace common
{

/// Turns frames into images of few formats, with the image components. One thread at a time.
class PictureMaker
{
public:
    PictureMaker();
    ~PictureMaker();
    PictureMaker(const PictureMaker&) = delete;
    PictureMaker& operator=(const PictureMaker&) = delete;

    /// The frame as Mono8 to Mono16, RGB8 or BGR8: as it came where that is possible, else
    /// unpacked, demosaiced or converted. Valid until the next call and as long as `source`.
    /// Failure for frames that are no picture or whose format nobody can convert.
    const ZelImage& full(const ZelImage* source);
    /// The same with 8 bits: Mono8, RGB8 or BGR8.
    const ZelImage& eightBit(const ZelImage* source);

private:
    struct Components;

    const ZelImage& unpacked(const ZelImage& source, ZelPixelType target);
    const ZelImage& demosaiced(const ZelImage& source);
    const ZelImage& converted(const ZelImage& source);
    ZelImage& workImage(int which, ZelSize size, ZelPixelType type);

    std::unique_ptr<Components> components_;
};

} // namespace common
