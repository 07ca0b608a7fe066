// A transport in memory whose frames, faults and disappearances are made by the test.
#include "fake_transport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <system_error>

namespace core_test
{

using Guard = std::lock_guard<std::mutex>;

namespace
{

std::string integer(const char* name, int index, const char* access, bool withFeature = true)
{
    const std::string reg = std::string(name) + "Reg";
    std::string xml = "<IntReg Name=\"" + reg + "\"><Address>" + std::to_string(index * 8) +
                      "</Address><Length>8</Length><AccessMode>" + access +
                      "</AccessMode><pPort>Device</pPort><Cachable>NoCache</Cachable>"
                      "<Sign>Signed</Sign><Endianess>LittleEndian</Endianess></IntReg>";
    if (withFeature) {
        xml += "<Integer Name=\"" + std::string(name) + "\"><pValue>" + reg + "</pValue></Integer>";
    }
    return xml;
}

std::string command(const char* name, int index)
{
    return integer(name, index, "RW", false) + "<Command Name=\"" + name + "\"><pValue>" + name +
           "Reg</pValue><CommandValue>1</CommandValue></Command>";
}

} // namespace

ZelCamErr FakeCamera::description(std::string* document)
{
    *document =
        "<?xml version=\"1.0\"?><RegisterDescription ModelName=\"Fake\" VendorName=\"Fake\" "
        "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
        "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"a\" VersionGuid=\"b\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
        "<Category Name=\"Root\"><pFeature>Width</pFeature><pFeature>Height</pFeature>"
        "<pFeature>PixelFormat</pFeature><pFeature>PayloadSize</pFeature>"
        "<pFeature>AcquisitionStart</pFeature><pFeature>AcquisitionStop</pFeature>"
        "<pFeature>TLParamsLocked</pFeature><pFeature>OffsetX</pFeature>"
        "<pFeature>EventTestValue</pFeature><pFeature>ChunkTestValue</pFeature></Category>" +
        integer("Width", kWidth, "RW") + integer("Height", kHeight, "RW") +
        integer("PixelFormat", kFormat, "RW", false) +
        "<Enumeration Name=\"PixelFormat\"><EnumEntry Name=\"Mono8\"><Value>17301505</Value>"
        "</EnumEntry><pValue>PixelFormatReg</pValue></Enumeration>" +
        integer("PayloadSize", kPayload, "RW") + command("AcquisitionStart", kStart) +
        command("AcquisitionStop", kStop) + integer("TLParamsLocked", kLocked, "RW") +
        integer("OffsetX", kOffsetX, "RW") +
        "<IntReg Name=\"EventTestValue\"><Address>0</Address><Length>1</Length><AccessMode>RO"
        "</AccessMode><pPort>EventTestPort</pPort><Sign>Unsigned</Sign>"
        "<Endianess>LittleEndian</Endianess></IntReg>"
        "<Port Name=\"EventTestPort\"><EventID>9001</EventID></Port>"
        "<IntReg Name=\"ChunkTestValue\"><Address>0</Address><Length>2</Length><AccessMode>RO"
        "</AccessMode><pPort>ChunkTestPort</pPort><Sign>Unsigned</Sign>"
        "<Endianess>LittleEndian</Endianess></IntReg>"
        "<Port Name=\"ChunkTestPort\"><ChunkID>c0</ChunkID></Port>"
        "<Port Name=\"Device\"/></RegisterDescription>";
    return ZelErr::kOk;
}

ZelCamErr FakeCamera::read(std::uint64_t address, void* data, std::size_t size)
{
    const Guard guard(mutex_);
    if (address > sizeof registers_ || size > sizeof registers_ - address) {
        return ZelErr::kGenTLInvalidAddress;
    }
    std::memcpy(data, reinterpret_cast<const char*>(registers_) + address, size);
    return ZelErr::kOk;
}

ZelCamErr FakeCamera::write(std::uint64_t address, const void* data, std::size_t size)
{
    const Guard guard(mutex_);
    if (address > sizeof registers_ || size > sizeof registers_ - address) {
        return ZelErr::kGenTLInvalidAddress;
    }
    const auto which = static_cast<Register>(address / 8);
    if (refusals_[which] != ZelErr::kOk) {
        return refusals_[which];
    }
    std::memcpy(reinterpret_cast<char*>(registers_) + address, data, size);
    writes_.emplace_back(which, registers_[which]);
    if (which == kStart || which == kStop) {
        registers_[which] = 0; // Done at once.
    }
    return ZelErr::kOk;
}

std::uint64_t FakeCamera::value(Register which)
{
    const Guard guard(mutex_);
    return registers_[which];
}

void FakeCamera::set(Register which, std::uint64_t value)
{
    const Guard guard(mutex_);
    registers_[which] = value;
}

void FakeCamera::refuse(Register which, ZelCamErr code)
{
    const Guard guard(mutex_);
    refusals_[which] = code;
}

std::vector<std::pair<FakeCamera::Register, std::uint64_t>> FakeCamera::takeWrites()
{
    const Guard guard(mutex_);
    return std::move(writes_);
}

class FakeStream final : public core::TransportStream
{
public:
    explicit FakeStream(FakeDevice& device) : device_(device) {}
    ~FakeStream() override
    {
        const Guard guard(device_.mutex_);
        device_.streamSink_ = nullptr;
        device_.queue_.clear();
        device_.announced_.clear();
    }
    std::uint64_t payloadSize() override { return 0; }
    std::uint64_t minBuffers() override { return device_.minBuffers; }
    std::uint64_t alignment() override { return 256; }
    ZelCamErr announce(core::BufferToken token, void* memory, std::size_t size) override
    {
        const Guard guard(device_.mutex_);
        if (device_.announceCode == ZelErr::kOk) {
            device_.announced_[token] = {memory, size};
        }
        return device_.announceCode;
    }
    ZelCamErr revoke(core::BufferToken token) override
    {
        const Guard guard(device_.mutex_);
        if (device_.revokeCode == ZelErr::kOk) {
            device_.announced_.erase(token);
        }
        return device_.revokeCode;
    }
    ZelCamErr queue(core::BufferToken token) override
    {
        const Guard guard(device_.mutex_);
        device_.queue_.push_back(token);
        return ZelErr::kOk;
    }
    ZelCamErr discardAll() override
    {
        const Guard guard(device_.mutex_);
        if (device_.discardCode == ZelErr::kOk) {
            device_.queue_.clear();
        }
        return device_.discardCode;
    }
    ZelCamErr start(std::uint64_t /*frames*/) override
    {
        device_.started += device_.startCode == ZelErr::kOk ? 1 : 0;
        return device_.startCode;
    }
    ZelCamErr stop(bool /*kill*/) override
    {
        while (device_.hangsInStop) {
            std::this_thread::yield();
        }
        --device_.started;
        return ZelErr::kOk;
    }
    core::StreamCounters counters() override { return {device_.lost, device_.underruns}; }

private:
    FakeDevice& device_;
};

class FakeTransportDevice final : public core::TransportDevice
{
public:
    explicit FakeTransportDevice(FakeDevice& device) : device_(device) { ++device_.opened; }
    ~FakeTransportDevice() override { --device_.opened; }
    genapi::FeatureSource* camera() override { return &device_.camera; }
    std::vector<genapi::FeatureSource*> transportFeatures() override { return {}; }
    std::uint32_t streamCount() override { return device_.streams; }
    std::string streamId(std::uint32_t index) override { return "S" + std::to_string(index); }
    ZelCamErr openStream(std::uint32_t /*index*/, core::StreamSink* sink,
                         std::unique_ptr<core::TransportStream>* stream) override
    {
        const Guard guard(device_.mutex_);
        device_.streamSink_ = sink;
        *stream = std::make_unique<FakeStream>(device_);
        return ZelErr::kOk;
    }
    void startEvents(core::DeviceSink* sink) override
    {
        const Guard guard(device_.mutex_);
        device_.deviceSink_ = sink;
        if (device_.eventsThrow) {
            throw std::system_error(
                std::make_error_code(std::errc::resource_unavailable_try_again));
        }
    }
    void stopEvents() override
    {
        const Guard guard(device_.mutex_);
        device_.deviceSink_ = nullptr;
    }

private:
    FakeDevice& device_;
};

bool FakeDevice::deliver(core::FrameInfo info)
{
    const Guard guard(mutex_);
    if (queue_.empty() || streamSink_ == nullptr) {
        return false;
    }
    const core::BufferToken token = queue_.front();
    queue_.pop_front();
    const auto& memory = announced_.at(token);
    std::memset(memory.first, static_cast<int>(info.frameId & 0xFFU), memory.second);
    if (info.deliveredSize == 0) {
        info.deliveredSize = memory.second;
    }
    streamSink_->bufferDone(token, std::move(info));
    while (const core::BufferToken spare = streamSink_->takeSpare()) {
        queue_.push_back(spare);
    }
    return true;
}

void FakeDevice::breakStream(ZelCamErr reason)
{
    const Guard guard(mutex_);
    streamSink_->streamBroken(reason);
}

void FakeDevice::postEvent(std::uint64_t id, const std::string& data)
{
    const Guard guard(mutex_);
    if (deviceSink_ != nullptr) {
        deviceSink_->event(id, data.data(), data.size());
    }
}

void FakeDevice::lose(ZelCamErr reason)
{
    const Guard guard(mutex_);
    deviceSink_->deviceLost(reason);
}

std::size_t FakeDevice::queued()
{
    const Guard guard(mutex_);
    return queue_.size();
}

core::StreamSink* FakeDevice::streamSink()
{
    const Guard guard(mutex_);
    return streamSink_;
}

ZelCamErr FakeInterface::updateDevices(std::uint64_t /*timeoutMs*/,
                                       std::vector<core::DeviceDescription>* devices)
{
    const Guard guard(mutex_);
    for (const auto& entry : present_) {
        devices->push_back(entry.second);
    }
    return updateCode;
}

std::int32_t FakeInterface::accessStatus(const std::string& id)
{
    const Guard guard(mutex_);
    return present_.count(id) != 0 ? 1 : 3;
}

ZelCamErr FakeInterface::ipSettings(const std::string& id, core::IpSettings* settings)
{
    const Guard guard(mutex_);
    if (type_ != ZelCam::kGigEVision) {
        return ZelErr::kGenTLNotImplemented;
    }
    if (present_.count(id) == 0) {
        return ZelErr::kGenTLInvalidId;
    }
    *settings = {0xC0A80001, 0xFFFFFF00, 0xC0A800FE};
    return ZelErr::kOk;
}

ZelCamErr FakeInterface::forceIp(const std::string& /*id*/, const core::IpSettings& /*settings*/)
{
    ++forcedIps;
    return type_ == ZelCam::kGigEVision ? ZelErr::kOk : ZelErr::kGenTLNotImplemented;
}

ZelCamErr FakeInterface::openDevice(const std::string& id,
                                    std::unique_ptr<core::TransportDevice>* device)
{
    const Guard guard(mutex_);
    if (present_.count(id) == 0) {
        return ZelErr::kGenTLInvalidId;
    }
    FakeDevice& far = *far_.at(id);
    if (far.openCode == ZelErr::kOk) {
        *device = std::make_unique<FakeTransportDevice>(far);
    }
    return far.openCode;
}

FakeDevice& FakeInterface::plug(const std::string& id, const std::string& userName)
{
    const Guard guard(mutex_);
    present_[id] = {id, "Vendor", "Model", "Display " + id, userName, "SN-" + id, "1.0"};
    auto& far = far_[id];
    if (far == nullptr) {
        far = std::make_unique<FakeDevice>();
    }
    return *far;
}

void FakeInterface::unplug(const std::string& id)
{
    const Guard guard(mutex_);
    present_.erase(id);
}

namespace
{

class FakeProvider final : public core::TransportProvider
{
public:
    explicit FakeProvider(std::vector<core::TransportInterface*> interfaces)
        : interfaces_(std::move(interfaces))
    {
    }
    std::vector<core::TransportInterface*> updateInterfaces() override { return interfaces_; }

private:
    std::vector<core::TransportInterface*> interfaces_;
};

} // namespace

FakeWorld& FakeWorld::create()
{
    static auto* const worlds = new std::vector<std::unique_ptr<FakeWorld>>;
    worlds->emplace_back(new FakeWorld);
    FakeWorld& world = *worlds->back();
    world.system_ = std::make_unique<core::SystemImpl>(world, "9.9");
    return world;
}

FakeInterface& FakeWorld::add(const std::string& id, std::int32_t type, bool simulated)
{
    interfaces_.push_back(std::make_unique<FakeInterface>(id, type, simulated));
    return *interfaces_.back();
}

ZelCam::Device* FakeWorld::open(ZelCam::DeviceInfo* info)
{
    ZelCamErr code = ZelErr::kUnknown;
    ZelCam::Device* const device = system_->openDevice(info, 2, &code);
    EXPECT_EQ(code, ZelErr::kOk);
    return device;
}

std::vector<std::unique_ptr<core::TransportProvider>> FakeWorld::loadDefaults()
{
    std::vector<core::TransportInterface*> interfaces;
    for (const auto& interface : interfaces_) {
        interfaces.push_back(interface.get());
    }
    std::vector<std::unique_ptr<core::TransportProvider>> providers;
    providers.push_back(std::make_unique<FakeProvider>(std::move(interfaces)));
    return providers;
}

ZelCamErr FakeWorld::load(const char* /*path*/,
                          std::vector<std::unique_ptr<core::TransportProvider>>* /*providers*/)
{
    return ZelErr::kFileNotFound;
}

void letWait() { std::this_thread::sleep_for(std::chrono::milliseconds(30)); }

} // namespace core_test
