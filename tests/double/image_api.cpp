// libZelImageApi of the double. Images have a description and no pixels; they are named by number.
#include "images.h"
#include "zel_image/image.h"

#include <atomic>

using namespace zel_double;

namespace
{
std::atomic<int> created{0};
}

/// Makes an image unless the script answers "refused". Only type and size are filled in.
void ZelCreateImage(ZelImage** image, ZelSize size, ZelPixelType pixelType)
{
    const Answer answer =
        askFunction("ZelCreateImage", size.width, size.height, pixelType, *image == nullptr);
    *image = nullptr;
    if (answer.field<bool>("refused")) {
        return;
    }
    *image = new ZelImage{};
    (*image)->pixelType = pixelType;
    (*image)->size = size;
    (*image)->owner = keepBytes("image" + std::to_string(++created)).c_str();
}

/// Frees the image and leaves the handle as it is: clearing it is the caller's part.
void ZelReleaseImage(ZelImage** image)
{
    askFunction("ZelReleaseImage", describe(*image));
    delete *image;
}

/// Counts images from 1 again.
extern "C" ZEL_API void zeldouble_number_images() { created = 0; }
