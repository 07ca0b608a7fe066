// A GigE Vision camera.
#pragma once

#include "core/transport.h"
#include "features/table_source.h"
#include "gige/camera_source.h"
#include "gige/control_channel.h"
#include "gige/control_keeper.h"
#include "gige/message_channel.h"
#include "gige/network_adapter.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace gige
{

/// Opened with control. A watch keeps the control and notices within a second that the camera is
/// gone or somebody else's; it tells the sinks once, and from then on everything answers -1010.
class GigeDevice final : public core::TransportDevice
{
public:
    enum class Access {
        Control,
        Listen, ///< Nothing is written; its stream is what another client lets it send to a group.
    };

    /// -1005 when another client has control (Listen: has it for itself alone), -1007 when there is
    /// no answer.
    static ZelCamErr open(const NetworkAdapter& adapter, std::uint32_t address, Access access,
                          std::unique_ptr<core::TransportDevice>* device);

    /// `held` is empty for a device that listens.
    GigeDevice(std::unique_ptr<ControlChannel> control, HeldControl held,
               const NetworkAdapter& adapter, Access access);
    ~GigeDevice() override;
    GigeDevice(const GigeDevice&) = delete;
    GigeDevice& operator=(const GigeDevice&) = delete;

    genapi::FeatureSource* camera() override { return &camera_; }
    std::vector<genapi::FeatureSource*> transportFeatures() override { return {&features_}; }
    std::uint32_t streamCount() override { return streamCount_; }
    std::string streamId(std::uint32_t index) override;
    ZelCamErr openStream(std::uint32_t index, core::StreamSink* sink,
                         std::unique_ptr<core::TransportStream>* stream) override;
    void startEvents(core::DeviceSink* sink) override;
    void stopEvents() override;

private:
    void prepare();
    void declareFeatures();
    void declarePersistentIp();
    features::Feature& registerFeature(const char* name, const char* toolTip,
                                       std::uint32_t address);
    std::uint32_t readForHook(std::uint32_t address);
    ZelCamErr change(std::uint32_t address, std::uint32_t mask, std::uint32_t value);
    void watch();
    static ZelCamErr takeControl(ControlChannel& control);
    bool isStillThere();
    void lost();
    void deliver(const wire::Event& event);

    const std::unique_ptr<ControlChannel> control_;
    const HeldControl held_;
    const NetworkAdapter adapter_;
    const bool listening_;
    const std::uint32_t largestPacket_;
    CameraSource camera_;
    std::uint32_t streamCount_ = 1;
    features::TableSource features_;
    std::unique_ptr<MessageChannel> messages_;

    std::mutex mutex_; ///< Guards the sinks; held while they are called.
    core::DeviceSink* sink_ = nullptr;
    std::vector<core::StreamSink*> streamSinks_;

    std::mutex watchMutex_; ///< Guards closing_ and silent_.
    std::condition_variable watchWake_;
    bool closing_ = false;
    bool silent_ = false; ///< Somebody's command was not answered.
    std::thread watcher_;
};

} // namespace gige
