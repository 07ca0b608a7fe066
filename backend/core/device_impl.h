// ZelCam::Device over an opened device of any transport.
#pragma once

#include "core/event_dispatcher.h"
#include "core/stream_impl.h"
#include "core/stream_statistics.h"
#include "core/transport.h"
#include "genapi/param_array.h"
#include "zel_cam/device.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

namespace core
{

class DeviceInfoImpl;

/// The shell of one device, owned by its DeviceInfoImpl and used again at every opening, so that
/// stale pointers stay good and opening for ever does not grow memory. lifetime_ is taken shared
/// by operations and exclusively by opening and closing; streamsMutex_ follows it.
class DeviceImpl final : public ZelCam::Device, private DeviceSink
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

    /// -1004 when it is open already; else the transport's code.
    ZelCamErr open();
    bool isOpen() const { return open_; }

    /// For the streams.
    genapi::ParamArray& cameraParameters() { return camera_; }
    void releaseStream(StreamImpl& stream);
    /// Makes the chunk data of a fetched frame readable through the camera's parameters.
    void publishChunks(BufferImpl& buffer);

private:
    void event(std::uint64_t eventId, const void* data, std::size_t size) override;
    void featuresInvalidated() override;
    void deviceLost(ZelCamErr reason) override;

    template <class Body> ZelCamErr whileOpen(Body&& body);
    ZelCam::Stream* openStream(std::uint32_t index);
    void attachTransportParameters(const StreamImpl* without = nullptr);
    void publishEvent(std::uint64_t session, std::uint64_t id, const void* data, std::size_t size);
    std::shared_ptr<EventDispatcher> events();
    StreamStatistics statistics();
    std::vector<StreamImpl*> shells();

    DeviceInfoImpl& info_;
    genapi::ParamArray camera_;
    genapi::ParamArray transportParameters_;
    StreamStatisticsSource statisticsSource_;

    std::shared_mutex lifetime_;
    std::unique_ptr<TransportDevice> transport_;
    ZelCamErr cameraCode_ = ZelErr::kOk; ///< Why the camera has no parameters.
    std::uint64_t session_ = 0;          ///< Counts the openings.
    std::atomic<bool> open_{false};
    std::atomic<ZelCamErr> lost_{ZelErr::kOk};

    std::mutex streamsMutex_; ///< Serialises opening and releasing of streams.
    std::mutex shellsMutex_;  ///< Guards the list itself; leaf.
    std::vector<std::unique_ptr<StreamImpl>> streams_;

    std::mutex eventsMutex_; ///< Leaf.
    std::shared_ptr<EventDispatcher> events_;
};

} // namespace core
