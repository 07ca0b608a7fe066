// The inside of a camera model: its sections, its lock and its latched frames.
#pragma once

#include "simulator/acquisition_section.h"
#include "simulator/analog_section.h"
#include "simulator/camera_context.h"
#include "simulator/chunk_section.h"
#include "simulator/device_memory.h"
#include "simulator/device_section.h"
#include "simulator/event_section.h"
#include "simulator/fault_section.h"
#include "simulator/image_section.h"
#include "simulator/transport_section.h"
#include "simulator/user_set_section.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace simulator
{

/// Settings of a planned frame, as they were at the start of its exposure.
struct LatchedFrame {
    std::shared_ptr<const PictureRenderer> renderer;
    ChunkValues values;
    std::uint64_t chunks = 0;
    bool isExposing = false; ///< Started, and its exposure-end event is still to come.
};

/// Runs every operation of a model under one lock and delivers what it has to tell afterwards.
class CameraState
{
public:
    explicit CameraState(const CameraConfig& config);

    void setObserver(CameraObserver* observer);
    std::int32_t read(std::uint64_t address, void* data, std::size_t size);
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);
    FramePlan nextFrame();
    void frameStarted(const FramePlan& plan);
    void exposureEnded(const FramePlan& plan);
    std::int32_t render(const FramePlan& plan, void* memory, std::size_t capacity,
                        FrameLayout* layout);
    void endFrame(const FramePlan& plan, bool dropped);
    std::string userDefinedName();
    IpConfig ip();
    void forceIp(const IpConfig& ip);
    std::uint64_t payloadSize();
    void setTransportLocked(bool locked);
    void sessionClosed();

    const CameraConfig& config() const { return context_.config; }
    const std::string& xml() const { return table_.xml(); }
    std::uint64_t now() const { return context_.now(); }

private:
    /// Calls `action` under the lock; then the observer, without it.
    template <typename Action> auto run(Action action);
    void deliver(const std::vector<CameraContext::Message>& messages);
    void latch(FramePlan& plan);
    void endExposure(const FramePlan& plan);
    void powerLoss();
    std::uint64_t payload() const;
    std::uint64_t readoutNs() const;
    std::uint64_t transferNs() const;

    std::mutex mutex_;
    FeatureTable table_;
    CameraContext context_;
    // In the order in which their categories are listed.
    DeviceSection device_;
    ImageSection image_;
    AnalogSection analog_;
    ChunkSection chunks_;
    EventSection events_;
    AcquisitionSection acquisition_;
    UserSetSection userSets_;
    TransportSection transport_;
    DeviceMemory memory_;
    FaultSection faults_;

    std::vector<std::shared_ptr<const Scene>> scenes_;
    std::shared_ptr<const PictureRenderer> renderer_;
    std::map<std::uint64_t, LatchedFrame> latched_;
    std::uint64_t nextHandle_ = 1;

    std::mutex observerMutex_;
    std::condition_variable observerFree_;
    CameraObserver* observer_ = nullptr;
    std::size_t callsUnderWay_ = 0;
};

} // namespace simulator
