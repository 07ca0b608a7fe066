#include "gige/gige_device.h"

#include "base/fork_guard.h"
#include "base/ipv4.h"
#include "base/log.h"
#include "base/operation_guard.h"
#include "base/thread.h"
#include "gige/control_keeper.h"
#include "gige/gige_stream.h"
#include "gige/packet_size.h"
#include "gige/wire/bootstrap.h"

#include <algorithm>

namespace gige
{

namespace
{

using features::FeatureValue;

// With the time that an unanswered command takes, a loss is noticed within a second.
constexpr std::chrono::milliseconds kWatchPeriod{300};
constexpr std::uint32_t kPrivilege = wire::kPrivilegeExclusive | wire::kPrivilegeControl;
constexpr std::uint32_t kMostStreams = 32;
constexpr std::uint32_t kSmallestPacket = 64;

} // namespace

ZelCamErr GigeDevice::takeControl(ControlChannel& control)
{
    std::uint32_t privilege = 0;
    ZelCamErr code = control.readRegister(wire::reg::kControlPrivilege, &privilege);
    if (code == ZelErr::kOk && (privilege & kPrivilege) != 0) {
        return ZelErr::kGenTLAccessDenied; // Another client controls it; it is not touched.
    }
    if (code == ZelErr::kOk) {
        code = control.writeRegister(wire::reg::kControlPrivilege, wire::kPrivilegeControl);
    }
    if (code == ZelErr::kOk) {
        code = control.readRegister(wire::reg::kControlPrivilege, &privilege);
    }
    return code == ZelErr::kOk && (privilege & kPrivilege) == 0 ? ZelErr::kGenTLAccessDenied : code;
}

ZelCamErr GigeDevice::open(const NetworkAdapter& adapter, std::uint32_t address, Access access,
                           std::unique_ptr<core::TransportDevice>* device)
{
    auto control = std::make_unique<ControlChannel>();
    ZelCamErr code = control->connect(address);
    if (code == ZelErr::kGenTLResourceExhausted) {
        return code;
    }
    HeldControl held = access == Access::Control ? HeldControl(*control) : HeldControl();
    std::uint32_t privilege = 0;
    if (code == ZelErr::kOk) {
        code = access == Access::Control
                   ? takeControl(*control)
                   : control->readRegister(wire::reg::kControlPrivilege, &privilege);
    }
    if (code != ZelErr::kOk) {
        if (code == ZelErr::kGenTLAccessDenied) {
            held.drop(); // Somebody else has it.
        }
        base::log(base::LogChannel::Gige, "open %s: %d", base::formatIpv4(address).c_str(), code);
        return control->isLost() || code == ZelErr::kGenTLIo ? ZelErr::kGenTLInvalidId : code;
    }
    *device = std::make_unique<GigeDevice>(std::move(control), std::move(held), adapter, access);
    return ZelErr::kOk;
}

GigeDevice::GigeDevice(std::unique_ptr<ControlChannel> control, HeldControl held,
                       const NetworkAdapter& adapter, Access access)
    : control_(std::move(control)), held_(std::move(held)), adapter_(adapter),
      listening_(access == Access::Listen),
      largestPacket_(largestPacket(adapter, control_->device())),
      camera_(*control_, largestPacket_, listening_),
      features_("GigEDevice", "GigE Vision control channel")
{
    control_->onSilence([this] {
        const std::lock_guard<std::mutex> lock(watchMutex_);
        silent_ = true;
        watchWake_.notify_all();
    });
    prepare();
    declareFeatures();
    watcher_ = base::startThread("zel-gige-watch", [this] {
        base::contained("the watch of a camera", [this] { watch(); });
    });
}

GigeDevice::~GigeDevice()
{
    if (base::inForkedChild()) {
        watcher_.detach(); // It does not exist in this process.
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(watchMutex_);
        closing_ = true;
    }
    watchWake_.notify_all();
    watcher_.join();
}

/// What a camera can do and we want it to; none of it is needed.
void GigeDevice::prepare()
{
    std::uint32_t capability = 0;
    if (!listening_ &&
        control_->readRegister(wire::reg::kControlCapability, &capability) == ZelErr::kOk) {
        namespace can = wire::capability;
        namespace set = wire::configuration;
        std::uint32_t wanted = (capability & can::kPendingAck) != 0 ? set::kPendingAck : 0U;
        wanted |= (capability & can::kStatusCodes11) != 0 ? set::kStatusCodes11 : 0U;
        wanted |= (capability & can::kStatusCodes20) != 0 ? set::kStatusCodes20 : 0U;
        if (wanted != 0) {
            static_cast<void>(change(wire::reg::kControlConfiguration, wanted, wanted));
        }
    }
    std::uint32_t streams = 0;
    if (control_->readRegister(wire::reg::kStreamChannelCount, &streams) == ZelErr::kOk) {
        streamCount_ = std::clamp(streams, 1U, kMostStreams);
    }
    if (!listening_) {
        static_cast<void>(negotiatePacketSize(*control_, largestPacket_, adapter_.loopback));
    }
}

features::Feature& GigeDevice::registerFeature(const char* name, const char* toolTip,
                                               std::uint32_t address)
{
    return features_.table()
        .integer(name, toolTip)
        .range(0, std::int64_t{0xFFFFFFFF})
        .onRead([this, address](std::size_t) {
            return FeatureValue(std::int64_t{readForHook(address)});
        })
        .onWrite([this, address](std::size_t, const FeatureValue& value) {
            return change(address, 0xFFFFFFFFU,
                          static_cast<std::uint32_t>(std::get<std::int64_t>(value)));
        });
}

std::uint32_t GigeDevice::readForHook(std::uint32_t address)
{
    std::uint32_t value = 0;
    features_.failRead(control_->readRegister(address, &value));
    return value;
}

/// Replaces the bits of `mask` in a register.
ZelCamErr GigeDevice::change(std::uint32_t address, std::uint32_t mask, std::uint32_t value)
{
    if (listening_) {
        return ZelErr::kGenTLAccessDenied;
    }
    std::uint32_t now = 0;
    const ZelCamErr code =
        mask == 0xFFFFFFFFU ? ZelErr::kOk : control_->readRegister(address, &now);
    return code != ZelErr::kOk ? code
                               : control_->writeRegister(address, (now & ~mask) | (value & mask));
}

void GigeDevice::declareFeatures()
{
    features::FeatureTable& table = features_.table();
    const std::uint32_t packetSize = wire::streamRegister(0, wire::stream::kPacketSize);
    table.category("GigEVisionTransport", "The connection to the camera.");
    table.string("GevDeviceIPAddress", "IPv4 address of the camera.", 16)
        .readOnly()
        .value(base::formatIpv4(control_->device()));
    table.string("GevInterfaceName", "Network adapter that reaches the camera.", 64)
        .readOnly()
        .value(adapter_.name);
    table.integer("GevPacketSize", "Bytes of one packet of the stream, headers included.")
        .unit("B")
        .expert()
        .range(std::int64_t{kSmallestPacket}, std::int64_t{largestPacket_})
        .onRead([this, packetSize](std::size_t) {
            return FeatureValue(std::int64_t{readForHook(packetSize) & wire::kPacketSizeMask});
        })
        .onWrite([this, packetSize](std::size_t, const FeatureValue& value) {
            return change(packetSize, wire::kPacketSizeMask,
                          static_cast<std::uint32_t>(std::get<std::int64_t>(value)));
        });
    table
        .command("GevPacketSizeNegotiate",
                 "Takes the largest packet that the path to the camera carries.")
        .expert()
        .lockedIf([this] {
            const std::lock_guard<std::mutex> lock(mutex_);
            return listening_ || !streamSinks_.empty(); // It would close their channel.
        })
        .onExecute([this](std::size_t) {
            return negotiatePacketSize(*control_, largestPacket_, adapter_.loopback);
        });
    registerFeature("GevPacketDelay", "Pause between two packets, in ticks of the camera.",
                    wire::streamRegister(0, wire::stream::kPacketDelay))
        .expert();
    registerFeature("GevHeartbeatTimeout", "Silence after which the camera drops our control.",
                    wire::reg::kHeartbeatTimeout)
        .unit("ms")
        .guru();
    declarePersistentIp();
    table.finish();
}

void GigeDevice::declarePersistentIp()
{
    features_.table().category("PersistentIP", "Network settings after the next power-up.");
    features_.table()
        .boolean("GevPersistentIPEnable", "The camera starts with its persistent settings.")
        .onRead([this](std::size_t) {
            const std::uint32_t now = readForHook(wire::reg::kCurrentIpConfiguration);
            return FeatureValue(std::int64_t{(now & wire::kIpPersistent) != 0});
        })
        .onWrite([this](std::size_t, const FeatureValue& value) {
            const bool on = std::get<std::int64_t>(value) != 0;
            return change(wire::reg::kCurrentIpConfiguration, wire::kIpPersistent,
                          on ? wire::kIpPersistent : 0);
        });
    registerFeature("GevPersistentIPAddress", "IPv4 address.", wire::reg::kPersistentAddress)
        .representation("IPV4Address");
    registerFeature("GevPersistentSubnetMask", "IPv4 subnet mask.", wire::reg::kPersistentMask)
        .representation("IPV4Address");
    registerFeature("GevPersistentDefaultGateway", "IPv4 gateway.", wire::reg::kPersistentGateway)
        .representation("IPV4Address");
}

/// Reading its privilege tells the camera that we are there, and us whether it is still ours.
bool GigeDevice::isStillThere()
{
    std::uint32_t privilege = 0;
    const ZelCamErr code = control_->readRegister(wire::reg::kControlPrivilege, &privilege);
    // One that asks for patience or is busy is there; one that was restarted is nobody's.
    return code == ZelErr::kGenTLTimeout || code == ZelErr::kGenTLBusy ||
           (code == ZelErr::kOk && (listening_ || (privilege & kPrivilege) != 0));
}

void GigeDevice::watch()
{
    std::unique_lock<std::mutex> lock(watchMutex_);
    for (;;) {
        watchWake_.wait_for(lock, kWatchPeriod, [this] { return closing_ || silent_; });
        if (closing_) {
            return;
        }
        lock.unlock();
        if (!isStillThere()) {
            lost();
            return;
        }
        lock.lock();
    }
}

void GigeDevice::lost()
{
    control_->setLost();
    base::log(base::LogChannel::Gige, "%s is lost", base::formatIpv4(control_->device()).c_str());
    const std::lock_guard<std::mutex> lock(mutex_);
    for (core::StreamSink* sink : streamSinks_) {
        sink->streamBroken(ZelErr::kGenTLIo);
    }
    if (sink_ != nullptr) {
        sink_->deviceLost(ZelErr::kGenTLIo);
    }
}

void GigeDevice::deliver(const wire::Event& event)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (sink_ != nullptr) {
        sink_->event(event.id, event.record.data, event.record.size);
    }
}

std::string GigeDevice::streamId(std::uint32_t index) { return "Stream" + std::to_string(index); }

ZelCamErr GigeDevice::openStream(std::uint32_t index, core::StreamSink* sink,
                                 std::unique_ptr<core::TransportStream>* stream)
{
    if (index >= streamCount_) {
        return ZelErr::kGenTLInvalidIndex;
    }
    const int towards = adapterTowards(control_->device());
    const GigeStream::Where where{index, towards != 0 ? towards : adapter_.index, listening_};
    auto made = std::make_unique<GigeStream>(*control_, where, sink, [this, sink] {
        const std::lock_guard<std::mutex> lock(mutex_);
        streamSinks_.erase(std::remove(streamSinks_.begin(), streamSinks_.end(), sink),
                           streamSinks_.end());
    });
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        streamSinks_.push_back(sink);
    }
    *stream = std::move(made);
    return ZelErr::kOk;
}

void GigeDevice::startEvents(core::DeviceSink* sink)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        sink_ = sink;
    }
    if (listening_) {
        return; // The message channel is the other client's.
    }
    messages_ = std::make_unique<MessageChannel>(
        *control_, [this](const wire::Event& event) { deliver(event); });
}

void GigeDevice::stopEvents()
{
    messages_.reset();
    const std::lock_guard<std::mutex> lock(mutex_);
    sink_ = nullptr;
}

} // namespace gige
