#include "common/acquisition.h"

#include "common/failure.h"
#include "common/interrupt.h"

#include <algorithm>
#include <chrono>

namespace common
{

namespace
{

using Clock = std::chrono::steady_clock;

// Long enough to be cheap, short enough for Ctrl-C to be felt at once.
constexpr std::uint32_t kSliceMs = 100;

} // namespace

Acquisition::Acquisition(OpenCamera& camera, bool newestOnly, std::uint64_t buffers)
    : stream_(camera.device().GetStreamByIndex(0))
{
    if (stream_ == nullptr) {
        throw Failure(Exit::Failed, "this camera has no stream of pictures");
    }
    try {
        start(camera, newestOnly, buffers);
    } catch (...) {
        stream_->Release();
        throw;
    }
}

void Acquisition::start(OpenCamera& camera, bool newestOnly, std::uint64_t buffers)
{
    ZelGenParam::Array* const transport = camera.transport();
    const char* const mode = newestOnly ? "NewestOnly" : "OldestFirst";
    const bool set = transport != nullptr &&
                     transport->SetEnumValueStr("StreamBufferHandlingMode", mode) == ZelErr::kOk;
    drain_ = newestOnly && !set;
    check("buffers for the frames",
          stream_->AllocBufferQueue(nullptr, std::max(buffers, stream_->GetMinNumBuffers())));
    check("the start of the acquisition", stream_->StartAcquisition(ZelCam::kInfinite, 0));
    started_ = true;
}

Acquisition::~Acquisition()
{
    stop();
    stream_->Release();
}

void Acquisition::stop()
{
    if (started_.exchange(false)) {
        stream_->StopAcquisition(1);
    }
}

ZelCam::Buffer* Acquisition::newestReady(ZelCam::Buffer* buffer)
{
    constexpr int kMost = 64;
    for (int i = 0; i < kMost; ++i) {
        ZelCamErr err = ZelErr::kOk;
        ZelCam::Buffer* const newer = stream_->GetBuffer(0, &err);
        if (newer == nullptr) {
            break;
        }
        giveBack(buffer);
        buffer = newer;
    }
    return buffer;
}

ZelCam::Buffer* Acquisition::poll(std::uint32_t timeoutMs, ZelCamErr& err)
{
    ZelCam::Buffer* buffer = stream_->GetBuffer(timeoutMs, &err);
    if (buffer == nullptr) {
        return nullptr;
    }
    if (drain_) {
        buffer = newestReady(buffer);
    }
    const std::uint64_t id = buffer->GetFrameID();
    if (counting_ && id > lastId_ + 1) {
        counts_.lost += id - lastId_ - 1;
    }
    counting_ = true;
    lastId_ = id;
    ++counts_.frames;
    counts_.incomplete += buffer->IsIncomplete() ? 1 : 0;
    counts_.bytes += buffer->GetBufferSize();
    return buffer;
}

ZelCam::Buffer* Acquisition::next(std::uint32_t timeoutMs)
{
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!interrupted()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        ZelCamErr err = ZelErr::kOk;
        ZelCam::Buffer* const buffer =
            poll(static_cast<std::uint32_t>(std::clamp<std::int64_t>(left, 0, kSliceMs)), err);
        if (buffer != nullptr) {
            return buffer;
        }
        if (err != ZelErr::kGenTLTimeout && err != ZelErr::kGenTLAbort) {
            throw sdkFailure("no frame", err);
        }
        if (left <= 0) {
            throw sdkFailure("no frame within " + std::to_string(timeoutMs) + " ms",
                             ZelErr::kGenTLTimeout);
        }
    }
    return nullptr;
}

void Acquisition::giveBack(ZelCam::Buffer* buffer) { stream_->QueueBuffer(buffer); }

TriggerMode::TriggerMode(ZelGenParam::Array& features, const std::string& source)
    : features_(features)
{
    features_.SetEnumValueStr("TriggerSelector", "FrameStart");
    check("TriggerSource=" + source, features_.SetEnumValueStr("TriggerSource", source.c_str()));
    check("TriggerMode=On", features_.SetEnumValueStr("TriggerMode", "On"));
}

TriggerMode::~TriggerMode() { features_.SetEnumValueStr("TriggerMode", "Off"); }

void TriggerMode::fire() { check("TriggerSoftware", features_.ExecuteCommand("TriggerSoftware")); }

} // namespace common
