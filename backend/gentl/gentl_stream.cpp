// A data stream of a producer.
#include "gentl/gentl_stream.h"

#include "gentl/info.h"

#include <chrono>
#include <cstring>
#include <new>
#include <thread>

namespace gentl
{

using Guard = std::lock_guard<std::mutex>;

namespace
{
// A larger step is no loss but another way of counting.
constexpr std::uint64_t kMaxGap = 1U << 15U;
constexpr std::chrono::milliseconds kPatience{200};
constexpr std::chrono::microseconds kGlance{200};
} // namespace

GentlStream::GentlStream(const Api& api, Handle stream, std::uint64_t tickFrequency,
                         core::StreamSink* sink, Suspicion suspicion)
    : api_(api), stream_(stream), sink_(sink), suspicion_(std::move(suspicion)), port_(api, stream),
      reader_(api, stream, tickFrequency)
{
}

ZelCamErr GentlStream::create(const Api& api, Handle stream, std::uint64_t tickFrequency,
                              core::StreamSink* sink, Suspicion suspicion,
                              std::unique_ptr<core::TransportStream>* result)
{
    std::unique_ptr<GentlStream> created;
    try {
        created.reset(new GentlStream(api, stream, tickFrequency, sink, std::move(suspicion)));
    } catch (...) {
        api.call<&FunctionTable::DSClose>("DSClose", stream);
        throw;
    }
    GentlStream* const self = created.get();
    EventPump::Handlers handlers;
    handlers.event = [self](Handle, const void* data, std::size_t size) {
        return self->newBuffer(data, size);
    };
    handlers.trouble = [self](Error) { return self->suspicion_(); };
    Error code = err::kSuccess;
    self->pump_ = EventPump::start(api, stream, kEventNewBuffer, std::move(handlers), &code);
    if (code == err::kSuccess) {
        *result = std::move(created);
    }
    return code;
}

GentlStream::~GentlStream()
{
    pump_.reset();
    if (grabbing_) {
        static_cast<void>(stop(true));
    }
    api_.call<&FunctionTable::DSFlushQueue>("DSFlushQueue", stream_,
                                            std::int32_t{kQueueAllDiscard});
    for (const auto& entry : byHandle_) {
        void* memory = nullptr;
        void* user = nullptr;
        api_.call<&FunctionTable::DSRevokeBuffer>("DSRevokeBuffer", stream_, entry.first, &memory,
                                                  &user);
    }
    api_.call<&FunctionTable::DSClose>("DSClose", stream_);
}

std::uint64_t GentlStream::info(std::int32_t command, std::uint64_t fallback) const
{
    return askNumber([&](std::int32_t* type, void* data, std::size_t* size) {
               return api_.call<&FunctionTable::DSGetInfo>("DSGetInfo", stream_, command, type,
                                                           data, size);
           })
        .value_or(fallback);
}

std::uint64_t GentlStream::payloadSize()
{
    return info(kStreamInfoDefinesPayloadSize, 0) != 0 ? info(kStreamInfoPayloadSize, 0) : 0;
}

std::uint64_t GentlStream::minBuffers() { return info(kStreamInfoBufAnnounceMin, 1); }

std::uint64_t GentlStream::alignment() { return info(kStreamInfoBufAlignment, 1); }

ZelCamErr GentlStream::announce(core::BufferToken token, void* memory, std::size_t size)
{
    Handle buffer = nullptr;
    const Error code = api_.call<&FunctionTable::DSAnnounceBuffer>(
        "DSAnnounceBuffer", stream_, memory, size, static_cast<void*>(nullptr), &buffer);
    if (code != err::kSuccess) {
        return code;
    }
    const Guard guard(mutex_);
    try {
        if (buffer == nullptr || !byHandle_.emplace(buffer, Announced{0, memory, size}).second) {
            return err::kError; // A handle that tells nothing, or one that is somebody else's.
        }
        byToken_.emplace(token, buffer);
    } catch (const std::bad_alloc&) {
        byHandle_.erase(buffer);
        void* user = nullptr;
        api_.call<&FunctionTable::DSRevokeBuffer>("DSRevokeBuffer", stream_, buffer, &memory,
                                                  &user);
        throw;
    }
    byHandle_[buffer].token = token;
    return err::kSuccess;
}

ZelCamErr GentlStream::revoke(core::BufferToken token)
{
    const Handle buffer = handleOf(token);
    if (buffer == nullptr) {
        return err::kInvalidHandle;
    }
    void* memory = nullptr;
    void* user = nullptr;
    const Error code = api_.call<&FunctionTable::DSRevokeBuffer>("DSRevokeBuffer", stream_, buffer,
                                                                 &memory, &user);
    const Guard guard(mutex_);
    byToken_.erase(token);
    if (code == err::kSuccess) {
        byHandle_.erase(buffer);
    } else {
        byHandle_[buffer].token = 0; // Still the producer's; closing the stream tries again.
    }
    return code;
}

ZelCamErr GentlStream::queue(core::BufferToken token)
{
    const Handle buffer = handleOf(token);
    return buffer != nullptr
               ? api_.call<&FunctionTable::DSQueueBuffer>("DSQueueBuffer", stream_, buffer)
               : err::kInvalidHandle;
}

// The pump is halted, so that no event that it holds in its hand comes after the flush.
ZelCamErr GentlStream::discardAll()
{
    const bool parked = pump_->park();
    const Error code = api_.call<&FunctionTable::DSFlushQueue>("DSFlushQueue", stream_,
                                                               std::int32_t{kQueueAllDiscard});
    pump_->resume();
    return code == err::kSuccess && !parked ? err::kTimeout : code;
}

ZelCamErr GentlStream::start(std::uint64_t frames)
{
    firstFrame_ = true;
    missing_ = 0;
    seen_ = 0;
    underrunsBefore_ = info(kStreamInfoNumUnderrun, 0);
    startedBefore_ = info(kStreamInfoNumStarted, 0);
    grabbing_ = true; // Before the first frame can come.
    const Error code = api_.call<&FunctionTable::DSStartAcquisition>(
        "DSStartAcquisition", stream_, std::int32_t{kAcqStartDefault}, frames);
    grabbing_ = code == err::kSuccess;
    return code;
}

ZelCamErr GentlStream::stop(bool kill)
{
    const auto stopWith = [this](std::int32_t flags) {
        return api_.call<&FunctionTable::DSStopAcquisition>("DSStopAcquisition", stream_, flags);
    };
    Error code = stopWith(kill ? kAcqStopKill : kAcqStopDefault);
    if (kill && (code == err::kNotImplemented || code == err::kInvalidParameter)) {
        code = stopWith(kAcqStopDefault);
    }
    grabbing_ = false;
    if (code == err::kSuccess && pump_ != nullptr) {
        bringHome();
        countGivenUp();
    }
    return code;
}

// A frame that was begun and did not come has no successor whose number would tell.
void GentlStream::countGivenUp()
{
    const std::uint64_t total = info(kStreamInfoNumStarted, 0);
    const std::uint64_t before = startedBefore_;
    const std::uint64_t started = total >= before ? total - before : total;
    const std::uint64_t seen = seen_;
    if (started > seen && started - seen > missing_ && started - seen <= kMaxGap) {
        missing_ = started - seen;
    }
}

// Frames that the producer finished, up to the one in the pump's hand: what is flushed after the
// stop must not appear after the flush.
void GentlStream::bringHome()
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (info(kStreamInfoNumAwaitDelivery, 0) > 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kGlance);
    }
    static_cast<void>(pump_->park());
    pump_->resume();
}

// Some producers count underruns from the start on, others for ever.
core::StreamCounters GentlStream::counters()
{
    core::StreamCounters counters;
    const std::uint64_t total = info(kStreamInfoNumUnderrun, 0);
    const std::uint64_t before = underrunsBefore_;
    counters.underruns = total >= before ? total - before : total;
    const std::uint64_t missing = missing_;
    counters.lost = missing > counters.underruns ? missing - counters.underruns : 0;
    return counters;
}

Handle GentlStream::handleOf(core::BufferToken token)
{
    const Guard guard(mutex_);
    const auto found = byToken_.find(token);
    return found != byToken_.end() ? found->second : nullptr;
}

// On the pump's thread.
bool GentlStream::newBuffer(const void* data, std::size_t size)
{
    NewBufferData event{};
    if (size < sizeof event) {
        return false;
    }
    std::memcpy(&event, data, sizeof event);
    Announced buffer{};
    {
        const Guard guard(mutex_);
        const auto found = byHandle_.find(event.buffer);
        if (found == byHandle_.end() || found->second.token == 0) {
            return false; // Null, or revoked meanwhile, or never announced.
        }
        buffer = found->second;
    }
    core::FrameInfo frame;
    try {
        frame = reader_.read(event.buffer, buffer.memory, buffer.size);
    } catch (const std::bad_alloc&) {
        frame.empty = true; // The frame is lost, its buffer is not.
    }
    if (frame.empty && grabbing_ &&
        api_.call<&FunctionTable::DSQueueBuffer>("DSQueueBuffer", stream_, event.buffer) ==
            err::kSuccess) {
        return false; // Nothing in it: it goes round once more.
    }
    if (!frame.empty) {
        ++seen_;
        countGap(frame.frameId);
    }
    sink_->bufferDone(buffer.token, std::move(frame));
    core::refill(*sink_, *this);
    return true;
}

void GentlStream::countGap(std::uint64_t frameId)
{
    const bool first = firstFrame_.exchange(false);
    if (!first && frameId > lastFrameId_ + 1 && frameId - lastFrameId_ <= kMaxGap) {
        missing_ += frameId - lastFrameId_ - 1;
    }
    lastFrameId_ = frameId;
}

} // namespace gentl
