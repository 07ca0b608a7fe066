// ZelCam::Buffer: one acquisition buffer of a data stream.
#pragma once

#include "../zel_export.h"

#include <cstdint>

struct ZelImage;

namespace ZelCam
{

/// One acquisition buffer. Owned by its stream; lives as long as the stream's device is known to
/// the process, so a pointer that is used after a revoke or a release answers with zeros (and
/// IsIncomplete with true). The contents are stable from the fetch until the buffer is queued
/// again; queueing while another thread reads is the caller's mistake.
class ZEL_API Buffer
{
public:
    /// Slot 0. Description of the image in this buffer; its pixel type is a ZelPixelType. Owned by
    /// the buffer, rewritten by the next fetch. Null when the buffer holds no image.
    virtual ZelImage* GetImage() = 0;
    /// Slot 1. Offset in bytes of the image inside the buffer memory.
    virtual std::int64_t GetImageOffset() = 0;
    /// Slot 2. Base address of the buffer memory.
    virtual void* GetBufferPtr() = 0;
    /// Slot 3. Bytes of payload that were delivered, counted from base address plus image offset.
    virtual std::uint64_t GetBufferSize() = 0;
    /// Slot 4. PFNC code of the pixel format, the value of the camera's PixelFormat entry.
    virtual std::uint32_t GetPixelFormat() = 0;
    virtual void reserved5() {}
    /// Slot 6. Time stamp in nanoseconds where the transport tells its unit, else in device ticks.
    virtual std::uint64_t GetTimestamp() = 0;
    /// Slot 7. Frame id, counted by the camera.
    virtual std::uint64_t GetFrameID() = 0;
    /// Slot 8. True when parts of the frame are missing.
    virtual bool IsIncomplete() = 0;
    /// Slot 9. Width in pixels.
    virtual std::uint64_t GetWidth() = 0;
    /// Slot 10. Height in lines, as delivered.
    virtual std::uint64_t GetHeight() = 0;
    /// Slot 11. Horizontal offset of the region of interest on the sensor, in pixels.
    virtual std::int64_t GetXOffset() = 0;
    /// Slot 12. Vertical offset of the region of interest on the sensor, in lines.
    virtual std::int64_t GetYOffset() = 0;
    /// Slot 13. Bytes of padding at the end of each line.
    virtual std::int64_t GetXPadding() = 0;
    /// Slot 14. Bytes of padding at the end of the image.
    virtual std::int64_t GetYPadding() = 0;

protected:
    ~Buffer() = default;
};

} // namespace ZelCam
