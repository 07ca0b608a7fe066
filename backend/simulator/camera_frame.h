// What a simulated camera hands to the host side that carries it: calls, plans, layouts.
#pragma once

#include <cstddef>
#include <cstdint>

namespace simulator
{

/// What a camera tells the host side that carries it. Called on the thread that wrote the register
/// or rendered the frame, or, when lines and timers are at work, on a thread of the camera; with no
/// lock of the model held.
class CameraObserver
{
public:
    virtual ~CameraObserver() = default;
    /// AcquisitionStart, AcquisitionStop and AcquisitionAbort were executed.
    virtual void acquisitionStarted() = 0;
    virtual void acquisitionStopped() = 0;
    /// A trigger was accepted: one frame (or burst) is to be exposed now.
    virtual void triggered() = 0;
    /// An enabled event: its GenICam EventID and the bytes of its event port, offset 0 first.
    virtual void event(std::uint64_t eventId, const void* data, std::size_t size) = 0;
    /// Something changed that hosts keep copies of: device identity, user name, IP settings.
    virtual void identityChanged() = 0;
    /// The camera itself changed a setting of which hosts may keep copies.
    virtual void featureChanged(const char* /*name*/) {}
    /// DeviceReset or the unplug fault: the device leaves now and is back after this time
    /// (all ones: it stays away).
    virtual void unplugged(std::uint64_t backAfterMs) = 0;
    /// A bootstrap register was written through read() and write() or a feature.
    virtual void bootstrapWritten(std::uint32_t /*address*/, std::uint32_t /*value*/) {}
};

/// What becomes of the next frame; decided by the model from settings, trigger state and faults.
struct FramePlan {
    bool expose = false;       ///< False: nothing to do until triggered or started again.
    bool lastOfRun = false;    ///< Single and multi frame: acquisition ends after this one.
    std::uint64_t frameId = 0; ///< Counted from 0 at each AcquisitionStart, lost frames included.
    std::uint64_t startNs = 0; ///< Start of exposure, camera clock.
    std::uint64_t exposureEndNs = 0;
    std::uint64_t readyNs = 0;    ///< When the frame is complete on the host, camera clock.
    std::uint64_t transferNs = 0; ///< Time on the link, which ends at readyNs.
    bool lost = false;            ///< Fault: the frame vanishes on the wire.
    bool incomplete = false;      ///< Fault: only `lines` lines arrive; render() draws all of them.
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
    std::uint64_t timestampNs = 0;   ///< As clocks outside show it: CameraModel::timestamp().
    std::uint64_t chunkLayoutId = 0; ///< 0: no chunks; see CameraModel::chunks().
    /// Bytes of the chunks with what stands between them; where the image is one, it counts too.
    std::uint64_t chunkBytes = 0;
    /// Where the data of the first chunk behind the image begin; 0: no chunks.
    std::uint64_t chunkOffset = 0;
};

/// One chunk of a rendered frame; the offset counts from the start of the memory.
struct ChunkPlace {
    std::uint64_t id;
    std::size_t offset;
    std::size_t size;
};

} // namespace simulator
