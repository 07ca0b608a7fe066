// A transport in memory whose frames, faults and disappearances are made by the test.
#pragma once

#include "core/system_impl.h"
#include "core/transport.h"
#include "zel_camera_api.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace core_test
{

/// A camera with the features that an acquisition uses, in 64-bit registers.
class FakeCamera final : public genapi::FeatureSource
{
public:
    enum Register { kWidth, kHeight, kFormat, kPayload, kStart, kStop, kLocked, kOffsetX, kCount };
    static constexpr std::uint64_t kChunkId = 0xC0;

    ZelCamErr description(std::string* document) override;
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

    std::uint64_t value(Register which);
    void set(Register which, std::uint64_t value);
    /// What the next writes to a register answer.
    void refuse(Register which, ZelCamErr code);
    /// Registers that were written, in order.
    std::vector<std::pair<Register, std::uint64_t>> takeWrites();

private:
    std::mutex mutex_;
    std::uint64_t registers_[kCount] = {16, 8, 0x01080001, 128, 0, 0, 0, 0};
    ZelCamErr refusals_[kCount] = {};
    std::vector<std::pair<Register, std::uint64_t>> writes_;
};

class FakeStream;

/// The far side of one device: what the test holds in its hands.
class FakeDevice
{
public:
    FakeCamera camera;
    std::atomic<ZelCamErr> openCode{0};
    std::atomic<ZelCamErr> startCode{0};
    std::atomic<ZelCamErr> announceCode{0};
    std::atomic<ZelCamErr> revokeCode{0};
    std::atomic<ZelCamErr> discardCode{0};
    std::atomic<std::uint32_t> streams{1};
    std::atomic<std::uint64_t> minBuffers{1};
    std::atomic<int> opened{0};
    std::atomic<int> started{0};
    std::atomic<std::uint64_t> lost{5};
    std::atomic<std::uint64_t> underruns{7};
    std::atomic<bool> eventsThrow{false}; ///< As when there is no thread to be had.
    std::atomic<bool> hangsInStop{false}; ///< Stopping takes until this is taken back.

    /// Fills the oldest queued buffer of the open stream; false when there is none.
    bool deliver(core::FrameInfo info = {});
    void breakStream(ZelCamErr reason);
    void postEvent(std::uint64_t id, const std::string& data);
    void lose(ZelCamErr reason);
    std::size_t queued();
    core::StreamSink* streamSink();

private:
    friend class FakeStream;
    friend class FakeTransportDevice;
    std::mutex mutex_; ///< Guards the sinks against closing; held while they are called.
    core::StreamSink* streamSink_ = nullptr;
    core::DeviceSink* deviceSink_ = nullptr;
    std::deque<core::BufferToken> queue_;
    std::map<core::BufferToken, std::pair<void*, std::size_t>> announced_;
};

/// One interface with devices that come and go.
class FakeInterface final : public core::TransportInterface
{
public:
    FakeInterface(std::string id, std::int32_t type, bool simulated)
        : id_(std::move(id)), type_(type), simulated_(simulated)
    {
    }
    std::string id() override { return id_; }
    std::string description() override { return "Interface " + id_; }
    std::int32_t type() override { return type_; }
    bool isSimulated() override { return simulated_; }
    genapi::FeatureSource* features() override { return nullptr; }
    ZelCamErr updateDevices(std::uint64_t timeoutMs,
                            std::vector<core::DeviceDescription>* devices) override;
    std::int32_t accessStatus(const std::string& id) override;
    ZelCamErr ipSettings(const std::string& id, core::IpSettings* settings) override;
    ZelCamErr forceIp(const std::string& id, const core::IpSettings& settings) override;
    ZelCamErr openDevice(const std::string& id,
                         std::unique_ptr<core::TransportDevice>* device) override;

    /// Plugs in; the far side stays the same when the id comes back.
    FakeDevice& plug(const std::string& id, const std::string& userName = "");
    void unplug(const std::string& id);
    std::atomic<ZelCamErr> updateCode{0};
    std::atomic<int> forcedIps{0};

private:
    const std::string id_;
    const std::int32_t type_;
    const bool simulated_;
    std::mutex mutex_;
    std::map<std::string, core::DeviceDescription> present_;
    std::map<std::string, std::unique_ptr<FakeDevice>> far_;
};

/// A system over fake interfaces. Leaked on purpose, as the real one is.
class FakeWorld final : public core::ProviderLoader
{
public:
    static FakeWorld& create();
    FakeInterface& add(const std::string& id, std::int32_t type = ZelCam::kGigEVision,
                       bool simulated = false);
    core::SystemImpl& system() { return *system_; }
    /// Opens a device and expects it to work.
    ZelCam::Device* open(ZelCam::DeviceInfo* info = nullptr);

    std::vector<std::unique_ptr<core::TransportProvider>> loadDefaults() override;
    ZelCamErr load(const char* path,
                   std::vector<std::unique_ptr<core::TransportProvider>>* providers) override;

private:
    FakeWorld() = default;
    std::vector<std::unique_ptr<FakeInterface>> interfaces_;
    std::unique_ptr<core::SystemImpl> system_;
};

/// Lets a thread get into its wait: until then there is nothing that could be ended.
void letWait();

} // namespace core_test
