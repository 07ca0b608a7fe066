// The data stream of a GigE Vision camera.
#pragma once

#include "base/mutex.h"
#include "core/transport.h"
#include "features/table_source.h"
#include "gige/control_channel.h"
#include "gige/frame_assembler.h"
#include "gige/packet_pace.h"
#include "gige/receiver_options.h"
#include "gige/stream_socket.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace gige
{

/// A thread of its own receives between start() and stop(), straight into memory of core's. The
/// camera's stream channel is opened at the first start and closed with the stream, so that
/// starting again is cheap.
class GigeStream final : public core::TransportStream, private FrameRoad
{
public:
    struct Where {
        std::uint32_t channel = 0; ///< Of the camera's stream channels.
        int adapter = 0;           ///< Number of the adapter that the packets come by.
        /// Another client has control: what it has set up is received, nothing is written.
        bool listening = false;
    };

    /// `control` is borrowed; `closed` is called once by the destructor, after the last callback.
    GigeStream(ControlChannel& control, const Where& where, core::StreamSink* sink,
               std::function<void()> closed);
    ~GigeStream() override;

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
    bool controlsCamera() const override { return !where_.listening; }
    std::vector<genapi::FeatureSource*> features() override { return {&features_}; }

private:
    struct Announced {
        std::uint8_t* memory;
        std::size_t size;
    };

    Place takePlace() override;
    void givePlace(const Place& place) override;
    void deliver(core::BufferToken token, core::FrameInfo info) override;
    void requestResend(std::uint64_t rawId, bool extended, std::uint32_t first,
                       std::uint32_t last) override;

    void declareFeatures();
    std::uint32_t streamRegister(std::uint32_t offset) const;
    ZelCamErr openChannel();
    ZelCamErr openSockets();
    ZelCamErr listenAlong(StreamSocket::Ends* ends);
    ZelCamErr makeSource(std::size_t packetSize);
    void discardOldFrames();
    void closeChannel();
    ZelCamErr readSettings(FrameAssembler::Settings* settings);
    void receive();
    bool drain(int most);
    std::chrono::microseconds nap(Clock::time_point now, std::uint64_t packetsBefore, bool within);
    bool isNearEnd(Clock::time_point now) const;
    void housekeep(Clock::time_point now);
    void await(Clock::time_point due);

    ControlChannel& control_;
    const Where where_;
    core::StreamSink* const sink_;
    const std::function<void()> closed_;
    ReceiverOptions options_;
    features::TableSource features_;
    StreamNumbers numbers_;

    base::Mutex queueMutex_; ///< Taken last, never held long.
    std::unordered_map<core::BufferToken, Announced> announced_ ZEL_GUARDED_BY(queueMutex_);
    /// With room for all that are announced: what comes back needs no memory.
    std::vector<core::BufferToken> queue_ ZEL_GUARDED_BY(queueMutex_);

    /// Held while packets are taken: who holds it knows that nothing is written into frames.
    std::mutex dataMutex_;
    std::atomic<int> waiting_{0}; ///< Who wants dataMutex_; the receiver lets them.
    FrameAssembler assembler_;
    std::uint64_t remaining_ = 0;

    StreamSocket socket_;
    UdpSocket requests_;
    std::uint16_t requestId_ = 0;
    std::unique_ptr<PacketSource> source_;
    base::UniqueFd wake_;
    std::atomic<bool> stopping_{false};
    bool receiving_ = false;
    bool canResend_ = false;
    std::uint32_t packetSize_ = 0;
    std::thread thread_;

    // Of the receiver's thread.
    Clock::time_point due_{};    ///< Next work of the assembler.
    std::uint32_t expected_ = 0; ///< Packets until the end of the newest frame.
    Clock::time_point lastEmpty_{};
    PacketPace pace_;
    std::uint64_t askedBefore_ = 0;
    Clock::time_point lossy_{}; ///< Until then.
    Clock::time_point nextHousekeeping_{};
    Clock::time_point nextTraversal_{};
    bool toldOfDrops_ = false;
};

} // namespace gige
