// A data stream received by Aravis.
#pragma once

#include "core/transport.h"
#include "features/table_source.h"
#include "vision/arv_ptr.h"
#include "vision/frame_ids.h"
#include "vision/receiver_options.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <unordered_map>

namespace vision
{

/// Buffers are memory of core's, wrapped for Aravis; its receiving thread hands each filled one to
/// the sink at once, so waits and cancels are core's. The receiver is made at the first start,
/// because it takes packet size and options then, and made anew when an option changed.
class VisionStream final : public core::TransportStream
{
public:
    /// `isLost` tells whether the device is gone; `closed` is called once by the destructor, after
    /// the last callback.
    VisionStream(ArvDevice* device, core::StreamSink* sink, std::function<bool()> isLost,
                 std::function<void()> closed);
    ~VisionStream() override;

    std::uint64_t payloadSize() override { return 0; }
    std::uint64_t minBuffers() override { return 2; }
    std::uint64_t alignment() override { return 64; }
    ZelCamErr announce(core::BufferToken token, void* memory, std::size_t size) override;
    ZelCamErr revoke(core::BufferToken token) override;
    ZelCamErr queue(core::BufferToken token) override;
    ZelCamErr discardAll() override;
    ZelCamErr start(std::uint64_t frames) override;
    ZelCamErr stop(bool kill) override;
    core::StreamCounters counters() override;
    std::vector<genapi::FeatureSource*> features() override { return {&features_}; }

private:
    /// Memory of core's, wrapped.
    struct Announced {
        ArvPtr<ArvBuffer> buffer;
        std::size_t size = 0;
        bool queued = false; ///< Given to us and not yet back.
    };

    static void onNewBuffer(ArvStream* stream, void* self);
    void take(ArvStream* receiver, ArvBuffer* buffer);
    core::FrameInfo describe(ArvBuffer* buffer, bool complete);
    void declareFeatures();
    void declareCounters();
    ZelCamErr createReceiver();
    void dropReceiver();
    void runThread();
    void haltThread(bool discardBuffers);
    /// `buffer` stays announced: core revokes only what is not queued.
    void push(ArvStream* receiver, ArvBuffer* buffer);
    void pushQueued();
    std::uint64_t receiverCounter(const char* name);
    void countGap(ArvStream* receiver, std::uint64_t before, std::uint64_t now);

    ArvDevice* const device_;
    core::StreamSink* const sink_;
    const std::function<bool()> isLost_;
    const std::function<void()> closed_;

    std::mutex mutex_; ///< Guards announced_; never held while a thread is joined.
    std::unordered_map<core::BufferToken, Announced> announced_;

    std::mutex receiverMutex_; ///< Guards receiver_ for those who read counters beside us.
    ArvPtr<ArvStream> receiver_;
    bool threadRuns_ = false; ///< The receiver's thread; it may be halted only when it runs.
    /// Between start() and stop(). The receiver's thread runs at other times too, and what it
    /// completes then is nobody's.
    std::atomic<bool> receiving_{false};

    std::atomic<std::uint64_t> remaining_{0};
    FrameIds ids_; ///< Of the receiver's thread while that runs.
    // Frame ids that were passed over since the start, for want of a buffer or otherwise.
    std::atomic<std::uint64_t> underruns_{0};
    std::atomic<std::uint64_t> lost_{0};
    /// The receiver's own count at the last frame. It counts packets without a frame.
    std::atomic<std::uint64_t> shortagesSeen_{0};

    ReceiverOptions options_;
    features::TableSource features_;
};

} // namespace vision
