#include "vision/gige_device.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/thread.h"
#include "vision/control_keeper.h"
#include "vision/gvcp_socket.h"

#include <string>

namespace vision
{

namespace
{

using features::FeatureValue;

constexpr std::chrono::milliseconds kWatchPeriod{1000};

// Bootstrap registers of the first stream channel and of the network configuration.
constexpr std::uint64_t kPacketSize = 0x0D04;
constexpr std::uint64_t kPacketDelay = 0x0D08;
constexpr std::uint64_t kHeartbeatTimeout = 0x0938;
constexpr std::uint64_t kIpConfiguration = 0x0014;
constexpr std::uint64_t kPersistentAddress = 0x064C;
constexpr std::uint64_t kPersistentMask = 0x065C;
constexpr std::uint64_t kPersistentGateway = 0x066C;
constexpr std::uint32_t kPersistentBit = 0x1;
// The packet size shares its register with flags in the upper half.
constexpr std::uint32_t kPacketSizeMask = 0xFFFF;

GInetAddress* inetAddress(std::uint32_t address)
{
    return g_inet_address_new_from_string(ipText(address).c_str());
}

ZelCamErr readRegister(ArvDevice* device, std::uint64_t address, std::uint32_t* value)
{
    ArvError error;
    return arv_device_read_register(device, address, value, error.out()) ? ZelErr::kOk
                                                                         : error.code();
}

ZelCamErr writeRegister(ArvDevice* device, std::uint64_t address, std::uint32_t value)
{
    ArvError error;
    return arv_device_write_register(device, address, value, error.out()) ? ZelErr::kOk
                                                                          : error.code();
}

} // namespace

ZelCamErr GigeDevice::open(const NetworkAdapter& adapter, std::uint32_t address,
                           std::unique_ptr<core::TransportDevice>* device)
{
    silenceAravis();
    const ArvPtr<GInetAddress> local(inetAddress(adapter.address));
    const ArvPtr<GInetAddress> remote(inetAddress(address));
    ArvError error;
    ArvPtr<ArvDevice> arv(arv_gv_device_new(local.get(), remote.get(), error.out()));
    if (arv == nullptr) {
        base::log(base::LogChannel::Vision, "open %s: %s", ipText(address).c_str(), error.text());
        return error.failed() ? error.code() : ZelErr::kGenTLInvalidId;
    }
    if (!arv_gv_device_is_controller(ARV_GV_DEVICE(arv.get()))) {
        return ZelErr::kGenTLAccessDenied;
    }
    ArvError sizeError;
    const guint size = arv_gv_device_auto_packet_size(ARV_GV_DEVICE(arv.get()), sizeError.out());
    base::log(base::LogChannel::Vision, "packet size %u %s", size, sizeError.text());
    *device = std::make_unique<GigeDevice>(std::move(arv), adapter, address);
    return ZelErr::kOk;
}

GigeDevice::GigeDevice(ArvPtr<ArvDevice> device, const NetworkAdapter& adapter,
                       std::uint32_t address)
    : VisionDevice(std::move(device)), adapter_(adapter), address_(address),
      features_("GigEDevice", "GigE Vision control channel")
{
    declareFeatures();
    ControlKeeper::instance().add(arv());
    watcher_ = base::startThread("zel-gige-watch", [this] { watch(); });
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
    ControlKeeper::instance().remove(arv());
}

features::Feature& GigeDevice::registerFeature(const char* name, const char* toolTip,
                                               std::uint64_t address)
{
    ArvDevice* device = arv();
    return features_.table()
        .integer(name, toolTip)
        .range(0, std::int64_t{0xFFFFFFFF})
        .onRead([this, address](std::size_t) {
            return FeatureValue(std::int64_t{readForHook(address)});
        })
        .onWrite([device, address](std::size_t, const FeatureValue& value) {
            return writeRegister(device, address,
                                 static_cast<std::uint32_t>(std::get<std::int64_t>(value)));
        });
}

std::uint32_t GigeDevice::readForHook(std::uint64_t address)
{
    std::uint32_t value = 0;
    features_.failRead(readRegister(arv(), address, &value));
    return value;
}

void GigeDevice::declareFeatures()
{
    features::FeatureTable& table = features_.table();
    ArvDevice* device = arv();
    table.category("GigEVisionTransport", "The connection to the camera.");
    table.string("GevDeviceIPAddress", "IPv4 address of the camera.", 16)
        .readOnly()
        .value(ipText(address_));
    table.string("GevInterfaceName", "Network adapter that reaches the camera.", 64)
        .readOnly()
        .value(adapter_.name);
    table.integer("GevPacketSize", "Bytes of one packet of the stream, headers included.")
        .unit("B")
        .expert()
        .range(std::int64_t{64}, std::int64_t{65535})
        .onRead([this](std::size_t) {
            return FeatureValue(std::int64_t{readForHook(kPacketSize) & kPacketSizeMask});
        })
        .onWrite([device](std::size_t, const FeatureValue& value) {
            std::uint32_t now = 0;
            const ZelCamErr code = readRegister(device, kPacketSize, &now);
            const auto size = static_cast<std::uint32_t>(std::get<std::int64_t>(value));
            return code != ZelErr::kOk
                       ? code
                       : writeRegister(device, kPacketSize, (now & ~kPacketSizeMask) | size);
        });
    table
        .command("GevPacketSizeNegotiate",
                 "Takes the largest packet that the path to the camera carries.")
        .expert()
        .onExecute([device](std::size_t) {
            ArvError error;
            arv_gv_device_auto_packet_size(ARV_GV_DEVICE(device), error.out());
            return error.code();
        });
    registerFeature("GevPacketDelay", "Pause between two packets, in ticks of the camera.",
                    kPacketDelay)
        .expert();
    registerFeature("GevHeartbeatTimeout", "Silence after which the camera drops our control.",
                    kHeartbeatTimeout)
        .unit("ms")
        .guru();
    declarePersistentIp();
    table.finish();
}

void GigeDevice::declarePersistentIp()
{
    ArvDevice* device = arv();
    features_.table().category("PersistentIP", "Network settings after the next power-up.");
    features_.table()
        .boolean("GevPersistentIPEnable", "The camera starts with its persistent settings.")
        .onRead([this](std::size_t) {
            const bool on = (readForHook(kIpConfiguration) & kPersistentBit) != 0;
            return FeatureValue(std::int64_t{on});
        })
        .onWrite([device](std::size_t, const FeatureValue& value) {
            std::uint32_t now = 0;
            const ZelCamErr code = readRegister(device, kIpConfiguration, &now);
            if (code != ZelErr::kOk) {
                return code;
            }
            const bool on = std::get<std::int64_t>(value) != 0;
            return writeRegister(device, kIpConfiguration,
                                 on ? now | kPersistentBit : now & ~kPersistentBit);
        });
    registerFeature("GevPersistentIPAddress", "IPv4 address.", kPersistentAddress)
        .representation("IPV4Address");
    registerFeature("GevPersistentSubnetMask", "IPv4 subnet mask.", kPersistentMask)
        .representation("IPV4Address");
    registerFeature("GevPersistentDefaultGateway", "IPv4 gateway.", kPersistentGateway)
        .representation("IPV4Address");
}

void GigeDevice::watch()
{
    GvcpSocket socket(adapter_.address);
    std::unique_lock<std::mutex> lock(watchMutex_);
    while (!watchWake_.wait_for(lock, kWatchPeriod, [this] { return closing_; })) {
        lock.unlock();
        std::uint32_t privilege = 0;
        const bool answered =
            socket.readRegister(address_, gvcp::kControlChannelPrivilege, &privilege);
        // A camera that was restarted answers, but nobody controls it any more.
        if (!answered || privilege == 0) {
            ControlKeeper::instance().remove(arv());
            lost();
            return;
        }
        lock.lock();
    }
}

void GigeDevice::startEvents(core::DeviceSink* sink)
{
    VisionDevice::startEvents(sink);
    messages_ = std::make_unique<MessageChannel>(
        arv(), adapter_.address, address_,
        [this](std::uint64_t id, const void* data, std::size_t size) { deliver(id, data, size); });
}

void GigeDevice::stopEvents()
{
    if (isLost() && messages_ != nullptr) {
        messages_->setCameraGone();
    }
    messages_.reset();
    VisionDevice::stopEvents();
}

} // namespace vision
