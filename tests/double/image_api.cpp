// libZelImageApi of the double. Images have a description and no pixels; they are named by number.
#include "images.h"
#include "zel_image/image.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>

using namespace zel_double;

namespace
{

std::atomic<int> created{0};

/// Freed images stay readable for a while, so that a use after the release shows in the log under
/// the name "released".
void bury(ZelImage* image)
{
    static std::mutex mutex;
    static auto* const graves = new std::deque<std::unique_ptr<ZelImage>>;
    const std::lock_guard lock(mutex);
    image->owner = "released";
    graves->emplace_back(image);
    if (graves->size() > 100) {
        graves->pop_front();
    }
}

} // namespace

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
    if (*image != nullptr && (*image)->owner != nullptr &&
        describe(*image)["image"] != "released") {
        bury(*image);
    }
}

/// Counts images from 1 again.
extern "C" ZEL_API void zeldouble_number_images() { created = 0; }
