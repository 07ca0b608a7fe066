// A data stream of a producer.
#pragma once

#include "core/transport.h"
#include "gentl/event_pump.h"
#include "gentl/frame_reader.h"
#include "gentl/module_port.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace gentl
{

/// Announces core's memory to the producer and carries its new-buffer events to core.
class GentlStream final : public core::TransportStream
{
public:
    /// Tells the device that its stream is in trouble; true when the device is gone.
    using Suspicion = std::function<bool()>;

    /// Takes over the open handle, also when it fails.
    static ZelCamErr create(const Api& api, Handle stream, std::uint64_t tickFrequency,
                            core::StreamSink* sink, Suspicion suspicion,
                            std::unique_ptr<core::TransportStream>* result);
    ~GentlStream() override;

    std::uint64_t payloadSize() override;
    std::uint64_t minBuffers() override;
    std::uint64_t alignment() override;
    ZelCamErr announce(core::BufferToken token, void* memory, std::size_t size) override;
    ZelCamErr revoke(core::BufferToken token) override;
    ZelCamErr queue(core::BufferToken token) override;
    ZelCamErr discardAll() override;
    ZelCamErr start(std::uint64_t frames) override;
    ZelCamErr stop(bool kill) override;
    core::StreamCounters counters() override;
    std::vector<genapi::FeatureSource*> features() override { return {&port_}; }

private:
    struct Announced {
        core::BufferToken token;
        void* memory;
        std::size_t size;
    };

    GentlStream(const Api& api, Handle stream, std::uint64_t tickFrequency, core::StreamSink* sink,
                Suspicion suspicion);
    std::uint64_t info(std::int32_t command, std::uint64_t fallback) const;
    Handle handleOf(core::BufferToken token);
    bool newBuffer(const void* data, std::size_t size);
    void countGap(std::uint64_t frameId);
    void bringHome();
    void countGivenUp();

    const Api& api_;
    const Handle stream_;
    core::StreamSink* const sink_;
    const Suspicion suspicion_;
    ModulePort port_;
    FrameReader reader_; ///< Of the pump's thread.

    std::mutex mutex_; ///< Guards the two maps; leaf.
    std::unordered_map<Handle, Announced> byHandle_;
    std::unordered_map<core::BufferToken, Handle> byToken_;

    std::atomic<bool> grabbing_{false};
    std::atomic<bool> firstFrame_{true};
    std::uint64_t lastFrameId_ = 0;         ///< Of the pump's thread.
    std::atomic<std::uint64_t> missing_{0}; ///< Frames that were begun and did not come.
    std::atomic<std::uint64_t> seen_{0};
    std::atomic<std::uint64_t> startedBefore_{0};
    std::atomic<std::uint64_t> underrunsBefore_{0};

    std::unique_ptr<EventPump> pump_; ///< Last: its handlers use the rest.
};

} // namespace gentl
