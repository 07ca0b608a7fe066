// Streams and buffers of the double. A fetch can be scripted to wait; only that wait has state.
#include "stream.h"

#include "images.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>

namespace zel_double
{
namespace
{

std::atomic<int> waitingFetches{0};

/// "GetImage" answers {"pixelType", "width", "height"} or null, "GetBufferPtr" the bytes.
class BufferDouble final : public ZelCam::Buffer, public Scripted
{
public:
    using Scripted::Scripted;
    ZelImage* GetImage() override
    {
        const Json description = call("GetImage").result();
        if (!description.is_object()) {
            return nullptr;
        }
        image_ = {};
        image_.pixelType = description.value("pixelType", ZelPixelType{0});
        image_.size = {description.value("width", 0U), description.value("height", 0U)};
        image_.owner = "source";
        return &image_;
    }
    std::int64_t GetImageOffset() override { return number<std::int64_t>("GetImageOffset"); }
    void* GetBufferPtr() override { return const_cast<char*>(call("GetBufferPtr").text()); }
    std::uint64_t GetBufferSize() override { return number<std::uint64_t>("GetBufferSize"); }
    std::uint32_t GetPixelFormat() override { return number<std::uint32_t>("GetPixelFormat"); }
    std::uint64_t GetTimestamp() override { return number<std::uint64_t>("GetTimestamp"); }
    std::uint64_t GetFrameID() override { return number<std::uint64_t>("GetFrameID"); }
    bool IsIncomplete() override { return number<bool>("IsIncomplete"); }
    std::uint64_t GetWidth() override { return number<std::uint64_t>("GetWidth"); }
    std::uint64_t GetHeight() override { return number<std::uint64_t>("GetHeight"); }
    std::int64_t GetXOffset() override { return number<std::int64_t>("GetXOffset"); }
    std::int64_t GetYOffset() override { return number<std::int64_t>("GetYOffset"); }
    std::int64_t GetXPadding() override { return number<std::int64_t>("GetXPadding"); }
    std::int64_t GetYPadding() override { return number<std::int64_t>("GetYPadding"); }

private:
    template <class T> T number(const char* operation) const
    {
        return call(operation).template number<T>();
    }

    ZelImage image_{};
};

Json describe(const ZelCam::Buffer* buffer)
{
    return buffer == nullptr ? Json() : Json(static_cast<const BufferDouble*>(buffer)->name());
}

class StreamDouble final : public ZelCam::Stream, public Scripted
{
public:
    using Scripted::Scripted;
    void Release() override
    {
        call("Release");
        wake();
    }
    ZelCam::Buffer* CreateBuffer(std::int64_t size, void* userPointer, ZelCamErr* err) override
    {
        return named<BufferDouble>(call("CreateBuffer", size, userPointer, err).err(err).result());
    }
    ZelCamErr RevokeBuffer(ZelCam::Buffer* buffer) override
    {
        return call("RevokeBuffer", describe(buffer)).code();
    }
    ZelCamErr QueueBuffer(ZelCam::Buffer* buffer) override
    {
        return call("QueueBuffer", describe(buffer)).code();
    }
    /// With "wait_ms" (-1: for ever) the fetch waits first; a wait that is ended early, by a
    /// cancel, a stop, a release or a signal handled on this thread, answers null with -1012.
    ZelCam::Buffer* GetBuffer(std::uint64_t timeoutMs, ZelCamErr* err) override
    {
        const Answer answer = call("GetBuffer", timeoutMs, err);
        if (!waited(answer.field("wait_ms", 0))) {
            *err = ZelErr::kGenTLAbort;
            return nullptr;
        }
        return named<BufferDouble>(answer.err(err).result());
    }
    ZelCamErr CancelBuffer() override
    {
        wake();
        return call("CancelBuffer").code();
    }
    ZelCamErr FlushBuffers(std::int64_t mode) override { return call("FlushBuffers", mode).code(); }
    ZelCamErr StartAcquisition(std::uint64_t frames, std::int64_t flags) override
    {
        return call("StartAcquisition", frames, flags).code();
    }
    ZelCamErr StopAcquisition(std::int64_t flags) override
    {
        wake();
        return call("StopAcquisition", flags).code();
    }
    ZelCamErr AllocBufferQueue(void* userPointer, std::uint64_t count) override
    {
        return call("AllocBufferQueue", userPointer, count).code();
    }
    ZelCamErr ReleaseBufferQueue() override { return call("ReleaseBufferQueue").code(); }
    std::uint64_t GetBufferQueueSize() override { return number("GetBufferQueueSize"); }
    std::uint64_t GetBufferSize() override { return number("GetBufferSize"); }
    std::uint64_t GetMinNumBuffers() override { return number("GetMinNumBuffers"); }
    std::uint64_t GetBufferAlignment() override { return number("GetBufferAlignment"); }

private:
    std::uint64_t number(const char* operation) const
    {
        return call(operation).number<std::uint64_t>();
    }

    void wake() const
    {
        if (waiting_ > 0) {
            eventfd_write(wakeUp_, 1);
        }
    }

    /// False when the wait was ended before its time.
    bool waited(int milliseconds)
    {
        if (milliseconds == 0) {
            return true;
        }
        pollfd wakeUp{wakeUp_, POLLIN, 0};
        ++waiting_;
        ++waitingFetches;
        const int result = poll(&wakeUp, 1, milliseconds);
        --waitingFetches;
        --waiting_;
        eventfd_t ignored = 0;
        eventfd_read(wakeUp_, &ignored);
        return result == 0;
    }

    int wakeUp_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    std::atomic<int> waiting_{0};
};

} // namespace

ZelCam::Stream* streamNamed(const Json& name) { return named<StreamDouble>(name); }

} // namespace zel_double

/// Number of fetches that wait now.
extern "C" ZEL_API int zeldouble_waiting() { return zel_double::waitingFetches; }
