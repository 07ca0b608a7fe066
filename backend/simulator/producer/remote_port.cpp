// Register access to the camera while its device is open and alive.
#include "simulator/producer/remote_port.h"

#include "simulator/producer/failure.h"

#include <utility>

namespace simulator::producer
{

namespace
{

void check(gentl::Error code, const char* what, std::uint64_t address)
{
    if (code != gentl::err::kSuccess) {
        throw Failure(code, std::string("the camera refused to ") + what + " at address " +
                                std::to_string(address));
    }
}

} // namespace

RemotePort::RemotePort(std::weak_ptr<DeviceModule> device, std::shared_ptr<CameraEndpoint> camera)
    : device_(std::move(device)), camera_(std::move(camera))
{
}

std::shared_ptr<DeviceModule> RemotePort::device() const
{
    auto device = device_.lock();
    if (!device || device->isClosed()) {
        throw Failure(gentl::err::kInvalidHandle, "the device was closed");
    }
    device->requireAlive();
    return device;
}

void RemotePort::read(std::uint64_t address, void* data, std::size_t size)
{
    const auto alive = device();
    check(camera_->model().read(address, data, size), "read", address);
}

void RemotePort::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (device()->access() == gentl::kDeviceAccessReadOnly) {
        throw Failure(gentl::err::kAccessDenied, "the device was opened to read only");
    }
    check(camera_->model().write(address, data, size), "write", address);
}

PortFacts RemotePort::facts()
{
    const auto device = device_.lock();
    const CameraConfig& config = camera_->config();
    PortFacts facts;
    facts.id = camera_->id();
    facts.vendor = config.vendor;
    facts.model = config.model;
    facts.tlType = camera_->tlType();
    facts.module = "Device";
    facts.version = config.version;
    facts.portName = "Device";
    facts.writable = device && device->access() != gentl::kDeviceAccessReadOnly;
    facts.reachable = device && !device->isLost();
    return facts;
}

std::string RemotePort::xml() const { return camera_->model().xml(); }

std::size_t RemotePort::xmlSize() const { return camera_->model().xmlSize(); }

std::uint64_t RemotePort::xmlAddress() const { return camera_->model().xmlAddress(); }

} // namespace simulator::producer
