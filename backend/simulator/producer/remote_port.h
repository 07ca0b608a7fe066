// The register space of the camera itself, as an open device reaches it.
#pragma once

#include "simulator/producer/device_module.h"
#include "simulator/producer/port.h"

#include <memory>
#include <string>

namespace simulator::producer
{

class RemotePort final : public Port
{
public:
    RemotePort(std::weak_ptr<DeviceModule> device, std::shared_ptr<CameraEndpoint> camera);

    void read(std::uint64_t address, void* data, std::size_t size) override;
    void write(std::uint64_t address, const void* data, std::size_t size) override;
    PortFacts facts() override;
    std::string xml() const override;
    std::size_t xmlSize() const override;
    std::uint64_t xmlAddress() const override;
    std::string xmlFileName() const override { return "simulated_camera.xml"; }

private:
    std::shared_ptr<DeviceModule> device() const;

    const std::weak_ptr<DeviceModule> device_;
    const std::shared_ptr<CameraEndpoint> camera_;
};

} // namespace simulator::producer
