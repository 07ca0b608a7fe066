// The built-in simulated interfaces and cameras.
#include "simulator/camera_config.h"

#include <cstdlib>

namespace simulator
{

namespace
{

constexpr std::uint64_t kGigE = 118000000;
constexpr std::uint64_t kUsb3 = 380000000;
constexpr std::uint64_t kCameraLinkFull = 850000000;
constexpr std::uint64_t kCoaXPress4 = 2400000000;
constexpr std::uint64_t kHdSdi = 371000000;

const char* const kVendor = "Zelcam Simulation";

std::vector<std::string> monoFormats()
{
    return {"Mono8",   "Mono10",       "Mono10p", "Mono10Packed", "Mono12",
            "Mono12p", "Mono12Packed", "Mono14",  "Mono16"};
}

std::vector<std::string> bayerFormats(const std::string& order)
{
    std::vector<std::string> names;
    for (const char* depth : {"8", "10", "10p", "10Packed", "12", "12p", "12Packed", "14", "16"}) {
        names.push_back("Bayer" + order + depth);
    }
    names.emplace_back("Mono8");
    return names;
}

std::vector<std::string> colorFormats()
{
    return {"RGB8",          "BGR8",     "RGBa8",      "BGRa8",    "RGB10", "BGR10",
            "RGB12",         "BGR12",    "RGB14",      "BGR14",    "RGB16", "BGR16",
            "YUV422_8_UYVY", "YUV422_8", "YCbCr422_8", "YUV8_UYV", "Mono8"};
}

CameraConfig camera(const char* model, const char* serial, SensorKind sensor, std::uint32_t width,
                    std::uint32_t height)
{
    CameraConfig config;
    config.vendor = kVendor;
    config.model = model;
    config.serialNumber = serial;
    config.version = "1.0.0";
    config.sensor = sensor;
    config.sensorWidth = width;
    config.sensorHeight = height;
    config.pixelFormats = defaultPixelFormats(sensor);
    return config;
}

CameraConfig withNetwork(CameraConfig config, std::uint32_t address, const char* mac)
{
    config.hasNetwork = true;
    config.ip = {address, 0xFFFFFF00, 0xC0A86401};
    config.macAddress = mac;
    config.linkBytesPerSecond = kGigE;
    return config;
}

InterfaceConfig interface(const char* id, const char* name, const char* tlType)
{
    InterfaceConfig config;
    config.id = id;
    config.displayName = name;
    config.tlType = tlType;
    return config;
}

} // namespace

std::uint64_t macNumber(const std::string& text)
{
    std::string digits;
    for (const char c : text) {
        if (c != ':' && c != '-') {
            digits += c;
        }
    }
    return std::strtoull(digits.c_str(), nullptr, 16) & 0xFFFFFFFFFFFF;
}

std::string identifierOf(std::string text)
{
    for (char& c : text) {
        const bool isPlain =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        c = isPlain ? c : '_';
    }
    return text;
}

std::vector<std::string> defaultPixelFormats(SensorKind sensor)
{
    switch (sensor) {
    case SensorKind::BayerGR:
        return bayerFormats("GR");
    case SensorKind::BayerRG:
        return bayerFormats("RG");
    case SensorKind::BayerGB:
        return bayerFormats("GB");
    case SensorKind::BayerBG:
        return bayerFormats("BG");
    case SensorKind::Color:
        return colorFormats();
    default:
        return monoFormats();
    }
}

WireFormat wireFormatOf(const std::string& tlType)
{
    if (tlType == "GEV") {
        return WireFormat::GigEVision;
    }
    return tlType == "U3V" ? WireFormat::Usb3Vision : WireFormat::Plain;
}

std::vector<InterfaceConfig> defaultInterfaces()
{
    auto gige = interface("ZelSimGigE", "Simulated GigE Vision interface", "GEV");
    gige.cameras.push_back(withNetwork(camera("ZG-1936M", "10000001", SensorKind::Mono, 1936, 1216),
                                       0xC0A8640B, "02:5a:43:00:00:01"));
    gige.cameras.back().maxFrameRate = 165.0;
    gige.cameras.push_back(
        withNetwork(camera("ZG-2448C", "10000002", SensorKind::BayerRG, 2448, 2048), 0xC0A8640C,
                    "02:5a:43:00:00:02"));
    gige.cameras.back().maxFrameRate = 75.0;

    auto usb = interface("ZelSimUSB3", "Simulated USB3 Vision interface", "U3V");
    usb.cameras.push_back(camera("ZU-1440C", "20000001", SensorKind::BayerGB, 1440, 1080));
    usb.cameras.back().maxFrameRate = 226.0;
    usb.cameras.back().linkBytesPerSecond = kUsb3;

    auto cameraLink = interface("ZelSimCL", "Simulated Camera Link interface", "CL");
    cameraLink.cameras.push_back(camera("ZL-2048M", "30000001", SensorKind::Mono, 2048, 1088));
    cameraLink.cameras.back().maxFrameRate = 340.0;
    cameraLink.cameras.back().linkBytesPerSecond = kCameraLinkFull;

    auto coaxPress = interface("ZelSimCXP", "Simulated CoaXPress interface", "CXP");
    coaxPress.cameras.push_back(camera("ZX-5120M", "40000001", SensorKind::Mono, 5120, 5120));
    coaxPress.cameras.back().maxFrameRate = 80.0;
    coaxPress.cameras.back().linkBytesPerSecond = kCoaXPress4;

    auto sdi = interface("ZelSimSDI", "Simulated HD-SDI interface", "Custom");
    sdi.cameras.push_back(camera("ZS-1920C", "50000001", SensorKind::Color, 1920, 1080));
    sdi.cameras.back().maxFrameRate = 60.0;
    sdi.cameras.back().linkBytesPerSecond = kHdSdi;

    std::vector<InterfaceConfig> interfaces = {gige, usb, cameraLink, coaxPress, sdi};
    for (InterfaceConfig& one : interfaces) {
        for (CameraConfig& camera : one.cameras) {
            camera.wire = wireFormatOf(one.tlType);
        }
    }
    return interfaces;
}

std::vector<InterfaceConfig> interfacesFromEnvironment(std::string* error, bool offHides)
{
    const char* setting = std::getenv("ZELCAM_SIMULATOR");
    const std::string text = setting == nullptr ? "" : setting;
    if (text.empty() || text == "on" || (text == "off" && !offHides)) {
        return defaultInterfaces();
    }
    if (text == "off") {
        return {};
    }
    return interfacesFromFile(text, error);
}

} // namespace simulator
