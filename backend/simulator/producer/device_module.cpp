// Features, events and stream of an open device.
#include "simulator/producer/device_module.h"

#include "simulator/producer/failure.h"
#include "simulator/producer/message_event.h"
#include "simulator/producer/network_text.h"
#include "simulator/producer/remote_port.h"
#include "simulator/producer/stream_module.h"
#include "simulator/producer/transport_type.h"

#include <chrono>
#include <utility>

namespace simulator::producer
{

namespace
{

constexpr std::uint64_t kTicksPerSecond = 1000000000;

ModuleIdentity identity()
{
    ModuleIdentity identity;
    identity.vendor = kVendor;
    identity.model = "SimulatedDevice";
    identity.toolTip = "Host side of a simulated camera";
    identity.standardNameSpace = "None";
    identity.productGuid = "6D1F4A52-0B0E-4C0F-9C35-3E8F1C7A5D03";
    identity.versionGuid = "A35D6C1E-5B43-4F7E-8A0B-6C2B8E1D9F03";
    return identity;
}

} // namespace

InfoValue deviceInfo(CameraEndpoint& camera, std::int32_t command)
{
    const CameraConfig& config = camera.config();
    switch (command) {
    case gentl::kDeviceInfoId:
        return InfoValue::text(camera.id());
    case gentl::kDeviceInfoVendor:
        return InfoValue::text(config.vendor);
    case gentl::kDeviceInfoModel:
        return InfoValue::text(config.model);
    case gentl::kDeviceInfoTlType:
        return InfoValue::text(camera.tlType());
    case gentl::kDeviceInfoDisplayName:
        return InfoValue::text(camera.displayName());
    case gentl::kDeviceInfoAccessStatus:
        return InfoValue::int32(camera.status());
    case gentl::kDeviceInfoUserDefinedName:
        return InfoValue::text(camera.userDefinedName());
    case gentl::kDeviceInfoSerialNumber:
        return InfoValue::text(config.serialNumber);
    case gentl::kDeviceInfoVersion:
        return InfoValue::text(config.version);
    case gentl::kDeviceInfoTimestampFrequency:
        return InfoValue::uint64(kTicksPerSecond);
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown device info command");
    }
}

DeviceModule::DeviceModule(HandleRegistry& handles, gentl::Handle interface,
                           std::shared_ptr<CameraEndpoint> camera, gentl::DeviceAccess access)
    : Module(handles, identity(),
             {gentl::kEventError, gentl::kEventFeatureInvalidate, gentl::kEventFeatureChange,
              gentl::kEventRemoteDevice, gentl::kEventModule}),
      parent_(interface), camera_(std::move(camera)), access_(access)
{
    addFeatures();
    table().finish();
}

std::shared_ptr<DeviceModule> DeviceModule::open(HandleRegistry& handles, gentl::Handle interface,
                                                 std::shared_ptr<CameraEndpoint> camera,
                                                 gentl::DeviceAccess access)
{
    std::shared_ptr<DeviceModule> device(new DeviceModule(handles, interface, camera, access));
    camera->attach(device, access);
    try {
        device->publish();
        device->remotePort_ = handles.add(std::make_shared<RemotePort>(device, std::move(camera)));
    } catch (...) {
        device->close(); // the camera must not stay held
        throw;
    }
    return device;
}

void DeviceModule::addFeatures()
{
    FeatureTable& features = table();
    const CameraConfig& config = camera_->config();
    features.category("DeviceInformation", "Who the device is.");
    features.string("DeviceID", "Unique identifier of the device.", 128)
        .readOnly()
        .value(camera_->id());
    features.string("DeviceVendorName", "Maker of the device.", 64).readOnly().value(config.vendor);
    features.string("DeviceModelName", "Model of the device.", 64).readOnly().value(config.model);
    features.string("DeviceSerialNumber", "Serial number of the device.", 64)
        .readOnly()
        .value(config.serialNumber);
    features.string("DeviceUserID", "Name that the user gave the device.", 64)
        .readOnly()
        .onRead([this](std::size_t) { return camera_->userDefinedName(); });
    addTransportTypes(features.enumeration("DeviceType", "Transport layer of the device."), false)
        .readOnly()
        .value(transportTypeValue(camera_->tlType()));
    features.integer("DeviceTimestampFrequency", "Ticks of a timestamp in a second.")
        .unit("Hz")
        .expert()
        .readOnly()
        .value(static_cast<std::int64_t>(kTicksPerSecond));
    if (config.hasNetwork) {
        addNetworkFeatures();
    }
    features.category("StreamEnumeration", "The data streams of the device.");
    features.integer("StreamSelector", "Chooses a data stream.")
        .range(std::int64_t{0}, std::int64_t{0})
        .value(0);
    features.string("StreamID", "Unique identifier of the data stream.", 32)
        .selectedBy("StreamSelector", 1)
        .readOnly()
        .value(std::string(StreamModule::kId));
    features.category("DeviceControl", "How the host talks to the device.");
    features.enumeration("DeviceEndianessMechanism", "How the device's byte order is interpreted.")
        .entry("Legacy", 0, "As in descriptions before version 1.1.")
        .entry("Standard", 1, "As the description says.")
        .guru()
        .value(1);
    features.boolean("DeviceLost", "The device was unplugged while it was open.")
        .readOnly()
        .onRead([this](std::size_t) { return std::int64_t{lost_}; });
    features.port("EventDeviceLostPort", false, kDeviceLostEvent);
    features.category("EventControl", "Events of the host side.");
    features.integer("EventDeviceLost", "Identifier of the event that the device was unplugged.")
        .expert()
        .readOnly()
        .value(static_cast<std::int64_t>(kDeviceLostEvent));
    features.integer("EventDeviceLostTimestamp", "When the device was unplugged, on the host.")
        .unit("ns")
        .expert()
        .readOnly()
        .inPort("EventDeviceLostPort", 0);
}

void DeviceModule::addNetworkFeatures()
{
    FeatureTable& features = table();
    const auto address = [this, &features](const char* name, const char* toolTip,
                                           std::uint32_t IpConfig::*part) {
        features.integer(name, toolTip)
            .representation("IPV4Address")
            .readOnly()
            .onRead([this, part](std::size_t) { return std::int64_t{camera_->ip().*part}; });
    };
    address("GevDeviceIPAddress", "Present IP address of the device.", &IpConfig::address);
    address("GevDeviceSubnetMask", "Present subnet mask of the device.", &IpConfig::mask);
    address("GevDeviceGateway", "Present gateway of the device.", &IpConfig::gateway);
    features.integer("GevDeviceMACAddress", "Hardware address of the device.")
        .representation("MACAddress")
        .readOnly()
        .value(macAddress(camera_->config().macAddress));
}

PortFacts DeviceModule::facts()
{
    const CameraConfig& config = camera_->config();
    PortFacts facts;
    facts.id = camera_->id();
    facts.vendor = config.vendor;
    facts.model = config.model;
    facts.tlType = camera_->tlType();
    facts.module = "TLDevice";
    facts.version = kVersion;
    facts.portName = "Device";
    return facts;
}

void DeviceModule::requireAlive() const
{
    if (lost_) {
        throw Failure(gentl::err::kIo, "the device was unplugged");
    }
}

std::shared_ptr<StreamModule> DeviceModule::stream() const
{
    const std::lock_guard lock(streamMutex_);
    return stream_;
}

gentl::Handle DeviceModule::openStream(const std::string& id)
{
    if (id != StreamModule::kId) {
        throw Failure(gentl::err::kInvalidId, "no data stream '" + id + "'");
    }
    if (stream()) {
        throw Failure(gentl::err::kResourceInUse, "the data stream is open already");
    }
    if (access_ == gentl::kDeviceAccessReadOnly) {
        throw Failure(gentl::err::kAccessDenied, "the device was opened to read only");
    }
    requireAlive();
    auto opened = StreamModule::open(
        handles(), std::static_pointer_cast<DeviceModule>(shared_from_this()), camera_);
    const gentl::Handle handle = opened->handle();
    {
        const std::lock_guard lock(streamMutex_);
        stream_ = opened;
    }
    if (lost_) { // unplugged meanwhile: the stream may have missed it
        opened->cameraLost();
    }
    return handle;
}

void DeviceModule::closeStream(StreamModule& stream)
{
    stream.close();
    const std::lock_guard lock(streamMutex_);
    if (stream_.get() == &stream) {
        stream_.reset();
    }
}

void DeviceModule::endSoon()
{
    if (const auto open = stream()) {
        open->endSoon();
    }
}

void DeviceModule::closeChildren()
{
    if (const auto open = stream()) {
        closeStream(*open);
    }
    handles().remove(remotePort_);
    camera_->detach();
}

void DeviceModule::frameDue()
{
    if (const auto open = stream()) {
        open->frameDue();
    }
}

void DeviceModule::acquisitionStopped()
{
    if (const auto open = stream()) {
        open->cameraStopped();
    }
}

void DeviceModule::cameraEvent(std::uint64_t eventId, const void* data, std::size_t size)
{
    const WireFormat wire = camera_->config().wire;
    events().post(gentl::kEventRemoteDevice, cameraMessage(wire, ++messages_, eventId, data, size));
}

void DeviceModule::identityChanged()
{
    events().post(gentl::kEventFeatureInvalidate, featureMessage("DeviceUserID"));
    if (camera_->config().hasNetwork) {
        for (const char* name :
             {"GevCurrentIPAddress", "GevCurrentSubnetMask", "GevCurrentDefaultGateway"}) {
            events().post(gentl::kEventFeatureInvalidate, featureMessage(name));
        }
    }
}

void DeviceModule::featureChanged(const char* name)
{
    events().post(gentl::kEventFeatureInvalidate, featureMessage(name));
}

void DeviceModule::cameraLost()
{
    if (lost_.exchange(true)) {
        return;
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto ns = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
    unsigned char bigEndian[sizeof ns];
    for (std::size_t i = 0; i < sizeof ns; ++i) {
        bigEndian[i] = static_cast<unsigned char>(ns >> (56 - 8 * i) & 0xff);
    }
    const std::string error = errorMessage(gentl::err::kIo, "the device was unplugged");
    events().post(gentl::kEventModule, deviceMessage(kDeviceLostEvent, bigEndian, sizeof ns));
    events().post(gentl::kEventError, error);
    events().endAll();
    if (const auto open = stream()) {
        open->cameraLost();
    }
}

} // namespace simulator::producer
