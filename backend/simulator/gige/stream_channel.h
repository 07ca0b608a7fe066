// The stream of a served camera: frames at the camera's times, packets at the link's pace.
#pragma once

#include "base/mutex.h"
#include "gige/wire/gvcp.h"
#include "simulator/camera_model.h"
#include "simulator/gige/frame_store.h"
#include "simulator/gige/packet_faults.h"
#include "simulator/gige/packet_sender.h"
#include "simulator/gige/resend_budget.h"
#include "simulator/gige/server_socket.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace simulator::gige
{

/// Where and how the stream goes, as the camera's registers tell.
struct StreamTarget {
    Endpoint to;
    PacketForm form;
    std::uint64_t packetDelayNs = 0;

    bool isOpen() const { return to.port != 0 && to.address != 0; }
    static StreamTarget of(CameraModel& camera);
};

/// One thread of its own between start() and stop(). The other functions are called by the camera's
/// control thread, the signals by any.
class StreamChannel
{
public:
    /// Takes a port of `address` and tells the camera's registers. Throws std::system_error.
    StreamChannel(CameraModel& camera, std::uint32_t address);
    ~StreamChannel() { stop(); }
    StreamChannel(const StreamChannel&) = delete;
    StreamChannel& operator=(const StreamChannel&) = delete;

    /// Throws std::system_error when there is no thread to be had.
    void start();
    /// Ends the thread for good; the frame under way is not completed.
    void stop();

    /// Answers with packets, or with the reason why there are none.
    void resend(const wire::ResendRequest& request, const Endpoint& asker);
    /// One packet of the present size to the present destination.
    void fireTestPacket();

    // Signals.
    void frameDue();
    void cameraStopped();
    /// The channel was closed: nothing more goes out of the frame under way.
    void interrupt() { interrupted_.store(true); }

private:
    using Clock = std::chrono::steady_clock;

    void run();
    void carry(const FramePlan& plan);
    std::shared_ptr<SentFrame> render(const FramePlan& plan, PacketForm form,
                                      const NetworkFaults& faults);
    std::shared_ptr<const FrameMemory> picture(const FramePlan& plan, FrameLayout* layout);
    void transmit(SentFrame& frame, const FramePlan& plan, const StreamTarget& target,
                  const NetworkFaults& faults);
    void sendBurst(SentFrame& frame, std::uint32_t first, std::uint32_t end, const Endpoint& to,
                   bool faulty);
    /// False when the thread has to end.
    bool waitUntil(Clock::time_point time);
    /// The same, and when the camera was stopped since the frame was planned.
    bool waitWhileRunning(Clock::time_point time);
    void waitForFrame();
    /// Gives on what the faults hold back: what is due, or all of it in time.
    void flushHeld(bool everything);
    Clock::time_point hostTime(std::uint64_t cameraNs) const;
    void refuse(const wire::ResendRequest& request, const Endpoint& to, std::uint16_t reason);

    CameraModel& camera_;
    ServerSocket socket_;
    FrameStore store_;
    PacketSender resender_; ///< The control thread's.
    ResendBudget budget_;

    // The stream's own thread.
    PacketSender sender_;
    FramePool pool_;
    PacketFaults faults_;
    Endpoint heldFor_; ///< Where the packets go that the faults hold back.
    struct Repeated {
        std::shared_ptr<const FrameMemory> memory;
        FrameLayout layout;
        std::uint64_t startNs; ///< Of its plan.
    };
    std::vector<Repeated> repeated_;

    std::atomic<bool> interrupted_{false};
    base::Mutex mutex_;
    std::condition_variable changed_;
    bool ending_ ZEL_GUARDED_BY(mutex_) = false;
    bool due_ ZEL_GUARDED_BY(mutex_) = false;
    bool cameraStopped_ ZEL_GUARDED_BY(mutex_) = false;
    std::thread thread_; // last: it uses the rest
};

} // namespace simulator::gige
