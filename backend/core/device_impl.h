// ZelCam::Device over an opened device of any transport.
#pragma once

#include "base/mutex.h"
#include "core/event_dispatcher.h"
#include "core/stream_features.h"
#include "core/stream_impl.h"
#include "core/transport.h"
#include "params/param_array.h"
#include "zel_cam/device.h"

#include <atomic>
#include <memory>
#include <vector>

namespace core
{

class DeviceInfoImpl;

/// The shell of one device, owned by its DeviceInfoImpl and used again at every opening, so that
/// stale pointers stay good and opening for ever does not grow memory. lifetime_ is taken shared
/// by operations and exclusively by opening and closing; streamsMutex_ follows it.
class DeviceImpl final : public ZelCam::Device, private DeviceSink, private StreamFeaturesOwner
{
public:
    explicit DeviceImpl(DeviceInfoImpl& info);

    void Release() override;
    std::uint32_t GetNumStreams() override;
    ZelCam::Stream* GetStreamByIndex(std::uint32_t index) override;
    ZelCam::Stream* GetStreamById(const char* id) override;
    ZelCam::DeviceInfo* GetInfo() override;
    ZelCamErr ReadMem(std::int64_t address, void* data, std::int64_t length) override;
    ZelCamErr WriteMem(std::int64_t address, const void* data, std::int64_t length,
                       std::int64_t* written) override;
    ZelCamErr RegisterEvent(long eventId, ZelCam::EventCallback callback, void* context) override;
    ZelCamErr UnRegisterEvent(long eventId, ZelCam::EventCallback callback, void* context) override;
    ZelGenParam::Array* GetTransportParameters(ZelCamErr* err) override;
    ZelGenParam::Array* GetCameraParameters(ZelCamErr* err) override;
    ZelCamErr SaveConfiguration(const char* fileName) override;
    ZelCamErr LoadConfiguration(const char* fileName) override;

    /// -1004 when it is open already; else the transport's code. What fails half-way leaves the
    /// device closed.
    ZelCamErr open();
    bool isOpen() const { return open_; }
    /// -1010 from the moment when the transport lost the device until it is released; else 0.
    ZelCamErr lost() override { return lost_; }
    /// For the log.
    const char* name() const;

    /// For the streams.
    params::ParamArray& cameraParameters() { return camera_; }
    void releaseStream(StreamImpl& stream);
    /// Makes the chunk data of a fetched frame readable through the camera's parameters, in place
    /// of those of the frame before. A frame that was overtaken by a later one is passed over.
    void publishChunks(const FetchedFrame& frame);

private:
    void event(std::uint64_t eventId, const void* data, std::size_t size) override;
    void featuresInvalidated() override;
    void deviceLost(ZelCamErr reason) override;

    StreamStatistics statistics() override;
    HandlingMode handlingMode() override { return mode_; }
    void setHandlingMode(HandlingMode mode) override;

    template <class Body> ZelCamErr whileOpen(Body&& body);
    void start() ZEL_REQUIRES(lifetime_);
    void shut() ZEL_REQUIRES(lifetime_);
    ZelCam::Stream* openStream(TransportDevice& transport, std::uint32_t index);
    /// False without memory: the array then answers -1021 to everything.
    bool attachTransportParameters(TransportDevice& transport, const StreamImpl* without = nullptr);
    std::vector<genapi::FeatureSource*> transportSources(TransportDevice& transport,
                                                         const StreamImpl* without);
    void publishEvent(std::uint64_t session, std::uint64_t id, const void* data, std::size_t size);
    std::shared_ptr<EventDispatcher> events();
    /// Calls `body` with every stream's shell; needs no memory.
    template <class Body> void forEachStream(Body&& body);

    DeviceInfoImpl& info_;
    params::ParamArray camera_;
    params::ParamArray transportParameters_;
    StreamFeatures streamFeatures_;

    base::SharedMutex lifetime_;
    std::unique_ptr<TransportDevice> transport_ ZEL_GUARDED_BY(lifetime_);
    /// Why the camera has no parameters.
    ZelCamErr cameraCode_ ZEL_GUARDED_BY(lifetime_) = ZelErr::kOk;
    std::uint64_t session_ ZEL_GUARDED_BY(lifetime_) = 0; ///< Counts the openings.
    std::atomic<bool> open_{false};
    std::atomic<ZelCamErr> lost_{ZelErr::kOk};
    std::atomic<HandlingMode> mode_{HandlingMode::OldestFirst};

    base::Mutex streamsMutex_; ///< Serialises opening and releasing of streams.
    base::Mutex shellsMutex_;  ///< Guards the list itself; leaf.
    std::vector<std::unique_ptr<StreamImpl>> streams_ ZEL_GUARDED_BY(shellsMutex_);

    base::Mutex chunksMutex_; ///< Before the camera's node map.
    std::uint64_t shownFetch_ ZEL_GUARDED_BY(chunksMutex_) = 0;
    bool chunksShown_ ZEL_GUARDED_BY(chunksMutex_) = false;

    base::Mutex eventsMutex_; ///< Leaf.
    std::shared_ptr<EventDispatcher> events_ ZEL_GUARDED_BY(eventsMutex_);
};

} // namespace core
