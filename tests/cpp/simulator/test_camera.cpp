#include "test_camera.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace simulator::test
{

namespace
{

std::uint64_t loadBigEndian(const std::uint8_t* bytes, std::size_t size)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

std::vector<std::uint8_t> bigEndian(std::uint64_t value, std::size_t size)
{
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[size - 1 - i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return bytes;
}

/// Content of the first `tag` of a node's text; empty when there is none.
std::string content(const std::string& node, const std::string& tag)
{
    const std::size_t start = node.find('<' + tag);
    if (start == std::string::npos) {
        return {};
    }
    const std::size_t from = node.find('>', start) + 1;
    return node.substr(from, node.find('<', from) - from);
}

} // namespace

CameraConfig smallCamera()
{
    CameraConfig config;
    config.vendor = "Test";
    config.model = "Small";
    config.serialNumber = "1";
    config.version = "1";
    config.sensorWidth = 64;
    config.sensorHeight = 48;
    config.pixelFormats = defaultPixelFormats(config.sensor);
    config.maxFrameRate = 1000.0;
    return config;
}

std::uint64_t Listener::Event::number(std::size_t offset) const
{
    return loadBigEndian(data.data() + offset, 8);
}

void Listener::event(std::uint64_t eventId, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    events_.push_back({eventId, {bytes, bytes + size}});
}

TestCamera::TestCamera(const CameraConfig& config) : model(config)
{
    model.setObserver(&listener);
    set("SimulatorNoise", 0);
}

TestCamera::Register TestCamera::find(const std::string& name, std::size_t index) const
{
    const std::string& xml = model.xml();
    const std::size_t start = xml.find(" Name=\"" + name + "\"");
    if (start == std::string::npos) {
        throw std::invalid_argument("no register " + name);
    }
    const std::string node = xml.substr(start, xml.find("</pPort>", start) - start);
    const std::size_t offset = node.find("Offset=\"");
    const std::uint64_t stride =
        offset == std::string::npos ? 0 : std::strtoull(node.c_str() + offset + 8, nullptr, 16);
    return {std::strtoull(content(node, "Address").c_str(), nullptr, 16) + index * stride,
            std::strtoull(content(node, "Length").c_str(), nullptr, 10)};
}

std::int32_t TestCamera::set(const std::string& feature, std::int64_t value, std::size_t index)
{
    const Register reg = find(feature + "Reg", index);
    const auto bytes = bigEndian(static_cast<std::uint64_t>(value), reg.length);
    return model.write(reg.address, bytes.data(), bytes.size());
}

std::int32_t TestCamera::setReal(const std::string& feature, double value, std::size_t index)
{
    std::int64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return set(feature, bits, index);
}

std::int32_t TestCamera::setText(const std::string& feature, const std::string& text)
{
    return model.write(find(feature).address, text.c_str(), text.size() + 1);
}

std::int32_t TestCamera::run(const std::string& command, std::size_t index)
{
    return set(command, 1, index);
}

std::int64_t TestCamera::raw(const std::string& registerName, std::size_t index)
{
    const Register reg = find(registerName, index);
    std::vector<std::uint8_t> bytes(reg.length);
    const std::int32_t code = model.read(reg.address, bytes.data(), bytes.size());
    if (code != 0) {
        throw std::runtime_error(registerName + " reads " + std::to_string(code));
    }
    return static_cast<std::int64_t>(loadBigEndian(bytes.data(), bytes.size()));
}

std::int64_t TestCamera::get(const std::string& feature, std::size_t index)
{
    return raw(feature + "Reg", index);
}

double TestCamera::getReal(const std::string& feature, std::size_t index)
{
    const std::int64_t bits = get(feature, index);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::string TestCamera::getText(const std::string& feature)
{
    const Register reg = find(feature);
    std::string text(reg.length, '?');
    model.read(reg.address, text.data(), text.size());
    return text.c_str();
}

std::vector<std::uint8_t> TestCamera::frame(FrameLayout* layout, FramePlan* plan)
{
    FrameLayout ownLayout;
    const FramePlan next = model.nextFrame();
    if (plan != nullptr) {
        *plan = next;
    }
    if (!next.expose) {
        return {};
    }
    model.frameStarted(next);
    std::vector<std::uint8_t> memory(model.payloadSize());
    model.render(next, memory.data(), memory.size(), layout != nullptr ? layout : &ownLayout);
    model.frameDone(next);
    return memory;
}

} // namespace simulator::test
