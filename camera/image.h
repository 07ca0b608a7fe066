// Python type of the images that buffers hand out.
#pragma once

#include "module/binding/wrapper.h"
#include "zel_image_api.h"

namespace ZelCamPy
{

/// Opaque handle of the image description of a buffer, borrowed. Has no methods and no name.
class PyImage : public binding::Wrapper<PyImage>
{
public:
    explicit PyImage(ZelImage* image) : image_(image) {}

    ZelImage* image() const { return image_; }

private:
    ZelImage* image_;
};

} // namespace ZelCamPy
