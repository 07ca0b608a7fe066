// ZelCam::Buffer over memory that a stream owns.
#include "core/buffer_impl.h"

#include "core/pixel_format.h"

#include <utility>

namespace core
{

namespace
{

FrameInfo nothing()
{
    FrameInfo info;
    info.incomplete = true;
    return info;
}

ZelImage describe(const FrameInfo& frame, const PixelFormat& format, void* memory)
{
    ZelImage image{};
    image.pixelType = format.type;
    image.size = {static_cast<std::uint32_t>(frame.width),
                  static_cast<std::uint32_t>(frame.height)};
    image.bitsPerComponent = ZelPixel::depth(format.type);
    image.components = format.components;
    image.packingAndDepth = format.type & 0xFF00U;
    image.storedBits = ZelPixel::storedBits(format.type);
    const bool wholeBytes = ZelPixel::packing(format.type) == ZelPixel::kPackingNone;
    if (wholeBytes) {
        image.stride = frame.width * image.storedBits / 8 +
                       static_cast<std::uint64_t>(frame.xPadding > 0 ? frame.xPadding : 0);
    }
    image.dataSize = frame.deliveredSize;
    image.data = static_cast<unsigned char*>(memory) + frame.imageOffset;
    return image;
}

} // namespace

ZelImage* BufferImpl::GetImage()
{
    if (base::inForkedChild()) {
        return nullptr;
    }
    const base::Lock lock(mutex_);
    const PixelFormat* const format = findPixelFormat(current_.pixelFormat);
    const bool fits = current_.width > 0 && current_.height > 0 && current_.width <= UINT32_MAX &&
                      current_.height <= UINT32_MAX;
    if (format == nullptr || !fits || memory_.data() == nullptr || current_.deliveredSize == 0) {
        return nullptr;
    }
    image_ = describe(current_, *format, memory_.data());
    return &image_;
}

std::int64_t BufferImpl::GetImageOffset()
{
    return static_cast<std::int64_t>(field(&FrameInfo::imageOffset));
}

void* BufferImpl::GetBufferPtr() { return base::inForkedChild() ? nullptr : memory(); }

std::uint64_t BufferImpl::GetBufferSize() { return field(&FrameInfo::deliveredSize); }
std::uint32_t BufferImpl::GetPixelFormat() { return field(&FrameInfo::pixelFormat); }
std::uint64_t BufferImpl::GetTimestamp() { return field(&FrameInfo::timestamp); }
std::uint64_t BufferImpl::GetFrameID() { return field(&FrameInfo::frameId); }
bool BufferImpl::IsIncomplete() { return field(&FrameInfo::incomplete, true); }
std::uint64_t BufferImpl::GetWidth() { return field(&FrameInfo::width); }
std::uint64_t BufferImpl::GetHeight() { return field(&FrameInfo::height); }
std::int64_t BufferImpl::GetXOffset() { return field(&FrameInfo::xOffset); }
std::int64_t BufferImpl::GetYOffset() { return field(&FrameInfo::yOffset); }
std::int64_t BufferImpl::GetXPadding() { return field(&FrameInfo::xPadding); }
std::int64_t BufferImpl::GetYPadding() { return field(&FrameInfo::yPadding); }

BufferMemory BufferImpl::setMemory(BufferMemory memory)
{
    const base::Lock lock(mutex_);
    std::swap(memory_, memory);
    current_ = nothing();
    return memory;
}

void BufferImpl::show(FrameInfo frame)
{
    const base::Lock lock(mutex_);
    current_ = std::move(frame);
}

} // namespace core
