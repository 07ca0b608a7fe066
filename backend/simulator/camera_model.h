// A simulated camera without its host side: registers, GenICam description, pictures, timing.
#pragma once

#include "simulator/camera_config.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace simulator
{

class CameraState;

/// What a camera tells the host side that carries it. Called on the thread that wrote the register
/// or rendered the frame, with no lock of the model held.
class CameraObserver
{
public:
    virtual ~CameraObserver() = default;
    /// AcquisitionStart, AcquisitionStop and AcquisitionAbort were executed.
    virtual void acquisitionStarted() = 0;
    virtual void acquisitionStopped() = 0;
    /// A software trigger was accepted: one frame (or burst) is to be exposed now.
    virtual void triggered() = 0;
    /// An enabled event: its GenICam EventID and the bytes of its event port, offset 0 first.
    virtual void event(std::uint64_t eventId, const void* data, std::size_t size) = 0;
    /// Something changed that hosts keep copies of: device identity, user name, IP settings.
    virtual void identityChanged() = 0;
    /// DeviceReset or the unplug fault: the device leaves now and is back after this time
    /// (all ones: it stays away).
    virtual void unplugged(std::uint64_t backAfterMs) = 0;
};

/// What becomes of the next frame; decided by the model from settings, trigger state and faults.
struct FramePlan {
    bool expose = false;       ///< False: nothing to do until triggered or started again.
    bool lastOfRun = false;    ///< Single and multi frame: acquisition ends after this one.
    std::uint64_t frameId = 0; ///< Counted from 0 at each AcquisitionStart, lost frames included.
    std::uint64_t startNs = 0; ///< Start of exposure, camera clock.
    std::uint64_t exposureEndNs = 0;
    std::uint64_t readyNs = 0; ///< When the frame is complete on the host, camera clock.
    bool lost = false;         ///< Fault: the frame vanishes on the wire.
    bool incomplete = false;   ///< Fault: only `lines` lines arrive; render() draws all of them.
    std::uint64_t lines = 0;
    std::uint64_t settings = 0; ///< Handle of the settings latched at exposure, for render().
};

/// One rendered frame as it lies in memory.
struct FrameLayout {
    std::uint64_t size = 0;        ///< Bytes written, chunks included.
    std::uint64_t imageSize = 0;   ///< Bytes of the image.
    std::uint32_t pixelFormat = 0; ///< PFNC.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint64_t timestampNs = 0;
    std::uint64_t chunkLayoutId = 0; ///< 0: no chunks; see CameraModel::chunks().
};

/// One chunk of a rendered frame; the offset counts from the start of the memory.
struct ChunkPlace {
    std::uint64_t id;
    std::size_t offset;
    std::size_t size;
};

/// Registers, description and pictures of one camera. Thread safe: one lock inside, never held
/// while an observer is called or pixels are rendered. Codes are those of GenTL.
class CameraModel
{
public:
    explicit CameraModel(const CameraConfig& config);
    ~CameraModel();
    CameraModel(const CameraModel&) = delete;
    CameraModel& operator=(const CameraModel&) = delete;

    /// The observer is borrowed; null ends the calls (returns after a call under way, so it must
    /// not come from inside one).
    void setObserver(CameraObserver* observer);

    /// GenICam description, the same text for the life of the model. It also lies in the register
    /// space, at xmlAddress().
    const std::string& xml() const;
    std::uint64_t xmlAddress() const;

    std::int32_t read(std::uint64_t address, void* data, std::size_t size);
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);

    const CameraConfig& config() const;
    /// Present identity and network settings (registers may have changed them).
    std::string userDefinedName();
    IpConfig ip();
    /// ForceIP from the network, as a camera takes it: no session needed.
    void forceIp(const IpConfig& ip);

    /// Nanoseconds of the camera clock.
    std::uint64_t now() const;
    std::uint64_t payloadSize();
    /// The host locks and unlocks what must not change during an acquisition (TLParamsLocked).
    void setTransportLocked(bool locked);
    /// The host closed the session: acquisition stops, events are disabled.
    void sessionClosed();

    /// Plans the next frame; call again at plan.readyNs. With expose false wait for the observer.
    FramePlan nextFrame();
    /// To be called at plan.startNs and plan.exposureEndNs: the events of these times. A frame that
    /// was started and ends without exposureEnded() has its exposure-end event then.
    void frameStarted(const FramePlan& plan);
    void exposureEnded(const FramePlan& plan);
    /// Renders a planned frame into `memory` (at most `capacity`
    /// bytes; -1016 when that is less than the payload, with the leading bytes written).
    std::int32_t render(const FramePlan& plan, void* memory, std::size_t capacity,
                        FrameLayout* layout);
    /// The chunks of a rendered frame; returns how many there are and writes at most `capacity` of
    /// them into `places`.
    std::size_t chunks(const FrameLayout& layout, ChunkPlace* places, std::size_t capacity);
    /// Every plan ends with exactly one of frameDropped() and frameDone(), which release its
    /// settings (a second call does nothing) and end a single or multi frame acquisition after its
    /// last frame; that end is not reported through acquisitionStopped().
    ///
    /// The host found no buffer for a planned frame: the camera's lost-frame event and counter.
    void frameDropped(const FramePlan& plan);
    /// A frame was delivered, or lost on its way (plan.lost).
    void frameDone(const FramePlan& plan);

private:
    std::unique_ptr<CameraState> state_;
};

} // namespace simulator
