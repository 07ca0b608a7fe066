// Frames of an open camera for as long as the object lives.
#pragma once

#include "common/open_camera.h"

#include <atomic>
#include <cstdint>

namespace common
{

/// Counters of an acquisition so far.
struct FrameCounts {
    std::uint64_t frames = 0;     ///< Fetched, whole or not.
    std::uint64_t incomplete = 0; ///< Fetched with parts missing.
    std::uint64_t lost = 0;       ///< Missing between the numbers of those that were fetched.
    std::uint64_t bytes = 0;      ///< Payload of those that were fetched.

    FrameCounts operator+(const FrameCounts& other) const
    {
        return {frames + other.frames, incomplete + other.incomplete, lost + other.lost,
                bytes + other.bytes};
    }
};

/// One thread fetches; counts() is for that thread too.
class Acquisition
{
public:
    /// Buffers are allocated and the camera started. `newestOnly`: frames that nobody fetched in
    /// time are dropped in favour of newer ones. Failure when something refuses.
    Acquisition(OpenCamera& camera, bool newestOnly, std::uint64_t buffers = 8);
    ~Acquisition();
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    /// The next frame, which belongs to the caller until giveBack. Null once Ctrl-C came. Failure
    /// after so many milliseconds without one, or when the camera is gone.
    ZelCam::Buffer* next(std::uint32_t timeoutMs);
    /// The next frame without a Failure for a time-out: null with -1011 in `err`.
    ZelCam::Buffer* poll(std::uint32_t timeoutMs, ZelCamErr& err);
    void giveBack(ZelCam::Buffer* buffer);
    /// Ends the camera's side; frames that are ready can still be fetched. Any thread.
    void stop();

    const FrameCounts& counts() const { return counts_; }

private:
    void start(OpenCamera& camera, bool newestOnly, std::uint64_t buffers);
    ZelCam::Buffer* newestReady(ZelCam::Buffer* buffer);

    ZelCam::Stream* stream_;
    std::atomic<bool> started_{false};
    bool drain_ = false;
    bool counting_ = false;
    std::uint64_t lastId_ = 0;
    FrameCounts counts_;
};

/// Switches the trigger of each frame on with this source, and off again; what the camera does not
/// have is left alone. Failure when it does not take the source.
class TriggerMode
{
public:
    TriggerMode(ZelGenParam::Array& features, const std::string& source);
    ~TriggerMode();
    TriggerMode(const TriggerMode&) = delete;
    TriggerMode& operator=(const TriggerMode&) = delete;

    void fire();

private:
    ZelGenParam::Array& features_;
};

} // namespace common
