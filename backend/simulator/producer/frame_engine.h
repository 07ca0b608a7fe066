// Carries the frames of a camera into the buffers of a stream, at the camera's times.
#pragma once

#include "simulator/camera_model.h"
#include "simulator/producer/buffer_queues.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace simulator::producer
{

/// Counts since the stream was opened, `delivered` since the last start.
struct FrameCounts {
    std::atomic<std::uint64_t> started{0};
    std::atomic<std::uint64_t> delivered{0};
    std::atomic<std::uint64_t> underrun{0}; ///< No buffer was queued.
    std::atomic<std::uint64_t> lost{0};     ///< Vanished on the way.
    std::atomic<std::uint64_t> incomplete{0};
};

/// One thread between start() and stop(). Its deadlines are absolute times of the camera's clock,
/// so that a late frame does not move the next one. start(), stop() and destruction are serialised
/// by the owner; the signals may come from any thread, the engine's own included.
class FrameEngine
{
public:
    FrameEngine(CameraModel& camera, BufferQueues& queues);
    ~FrameEngine();
    FrameEngine(const FrameEngine&) = delete;
    FrameEngine& operator=(const FrameEngine&) = delete;

    /// Carries `frames` frames (all ones: without limit), then idles until stop().
    void start(std::uint64_t frames);
    /// Never waits for the camera: without `kill` a frame under way is given up and counted as
    /// lost, else it is delivered incomplete.
    void stop(bool kill);

    // Signals.
    void requestStop(bool kill);
    /// The camera is gone: the frame under way is dropped, no further one comes.
    void abandon();
    /// There may be a frame to expose.
    void frameDue();
    /// The camera stopped: a frame whose exposure has not begun is not exposed.
    void cameraStopped();

    const FrameCounts& counts() const { return counts_; }

private:
    using Clock = std::chrono::steady_clock;
    /// In rising order of urgency.
    enum class Stop { None, Finish, Kill, Abandon };

    void run();
    void giveUp(const FramePlan& plan, const Filling& filling);
    void carry(const FramePlan& plan);
    FrameRecord fill(const FramePlan& plan, const AnnouncedBuffer& buffer);
    FrameRecord render(const FramePlan& plan, void* memory, std::size_t capacity);
    void finish(const FramePlan& plan, const Filling& filling, FrameRecord record);
    void cutShort(const FramePlan& plan, FrameRecord* record) const;
    void raise(Stop stop);
    void waitForFrame();
    bool waitForStart(const FramePlan& plan);
    Filling waitForBuffer(const FramePlan& plan);
    Stop waitUntil(std::uint64_t cameraNs);
    Stop waitUntilReady(const FramePlan& plan);
    Clock::time_point hostTime(std::uint64_t cameraNs) const;

    CameraModel& camera_;
    BufferQueues& queues_;
    FrameCounts counts_;
    std::thread thread_;
    std::uint64_t remaining_ = 0; ///< The engine's thread only.

    // Under the lock of the queues.
    Stop stop_ = Stop::None;
    bool abandoned_ = false;
    bool due_ = false;
    bool cameraStopped_ = false;
};

} // namespace simulator::producer
