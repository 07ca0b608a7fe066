// Simulated interfaces and cameras from a JSON file.
#include "base/ipv4.h"
#include "simulator/camera_config.h"
#include "simulator/pixel_format.h"
#include "simulator/scene.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <set>
#include <stdexcept>
#include <utility>

namespace simulator
{

namespace
{

using Json = nlohmann::json;

constexpr std::int64_t kLargestSide = 32768;
constexpr std::uint64_t kLargestFile = 64u << 20;
constexpr std::int64_t kMostCameras = 10000;

/// A mistake in the file; the text names the place.
struct Mistake : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One JSON object with the path to it, for messages such as
/// "interfaces[0].cameras[2].width: expected an integer from 1 to 32768".
class Section
{
public:
    Section(const Json& json, std::string path) : json_(json), path_(std::move(path))
    {
        if (!json.is_object()) {
            throw Mistake(path_ + ": expected an object");
        }
    }

    /// A key that nobody reads is a misspelled one.
    void allowOnly(std::initializer_list<const char*> keys) const
    {
        for (const auto& item : json_.items()) {
            if (std::find(keys.begin(), keys.end(), item.key()) == keys.end()) {
                fail(item.key(), "unknown key");
            }
        }
    }
    [[noreturn]] void fail(const std::string& key, const std::string& what) const
    {
        throw Mistake(path_ + '.' + key + ": " + what);
    }
    bool has(const char* key) const { return json_.contains(key); }
    std::string text(const char* key, const std::string& fallback) const
    {
        if (!has(key)) {
            return fallback;
        }
        if (!json_[key].is_string()) {
            fail(key, "expected a text");
        }
        return json_[key].get<std::string>();
    }
    std::int64_t integer(const char* key, std::int64_t fallback, std::int64_t min,
                         std::int64_t max) const
    {
        if (!has(key)) {
            return fallback;
        }
        const Json& value = json_[key];
        const bool fits =
            value.is_number_integer() &&
            (!value.is_number_unsigned() || value.get<std::uint64_t>() <= std::uint64_t(max)) &&
            value.get<std::int64_t>() >= min && value.get<std::int64_t>() <= max;
        if (!fits) {
            fail(key,
                 "expected an integer from " + std::to_string(min) + " to " + std::to_string(max));
        }
        return value.get<std::int64_t>();
    }
    double real(const char* key, double fallback, double min, double max) const
    {
        if (!has(key)) {
            return fallback;
        }
        if (!json_[key].is_number() || json_[key].get<double>() < min ||
            json_[key].get<double>() > max) {
            fail(key,
                 "expected a number from " + std::to_string(min) + " to " + std::to_string(max));
        }
        return json_[key].get<double>();
    }
    bool boolean(const char* key, bool fallback) const
    {
        if (has(key) && !json_[key].is_boolean()) {
            fail(key, "expected true or false");
        }
        return has(key) ? json_[key].get<bool>() : fallback;
    }
    /// The elements of an array; none when the key is absent.
    std::vector<std::pair<const Json*, std::string>> list(const char* key) const
    {
        std::vector<std::pair<const Json*, std::string>> elements;
        if (!has(key)) {
            return elements;
        }
        if (!json_[key].is_array()) {
            fail(key, "expected a list");
        }
        for (const Json& element : json_[key]) {
            elements.emplace_back(&element,
                                  path_ + '.' + key + '[' + std::to_string(elements.size()) + ']');
        }
        return elements;
    }

private:
    const Json& json_;
    std::string path_;
};

/// "192.168.0.1" as a host integer.
std::uint32_t ipNumber(const Section& section, const char* key, std::uint32_t fallback)
{
    if (!section.has(key)) {
        return fallback;
    }
    const std::string text = section.text(key, "");
    std::uint32_t address = 0;
    if (!base::parseIpv4(text.c_str(), &address)) {
        section.fail(key, "expected an IPv4 address such as 192.168.0.1");
    }
    return address;
}

SensorKind sensorKind(const Section& section)
{
    constexpr std::array<std::pair<const char*, SensorKind>, 6> kKinds = {
        {{"Mono", SensorKind::Mono},
         {"BayerGR", SensorKind::BayerGR},
         {"BayerRG", SensorKind::BayerRG},
         {"BayerGB", SensorKind::BayerGB},
         {"BayerBG", SensorKind::BayerBG},
         {"Color", SensorKind::Color}}};
    const std::string text = section.text("sensor", "Mono");
    for (const auto& [name, kind] : kKinds) {
        if (text == name) {
            return kind;
        }
    }
    section.fail("sensor", "expected Mono, BayerGR, BayerRG, BayerGB, BayerBG or Color");
}

std::vector<std::string> pixelFormats(const Section& section, SensorKind sensor)
{
    std::vector<std::string> names;
    for (const auto& [element, path] : section.list("pixelFormats")) {
        if (!element->is_string() || findPixelFormat(element->get<std::string>()) == nullptr) {
            throw Mistake(path + ": expected the name of a pixel format");
        }
        names.push_back(element->get<std::string>());
    }
    if (section.has("pixelFormats") && names.empty()) {
        section.fail("pixelFormats", "expected at least one pixel format");
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (std::count(names.begin(), names.end(), names[i]) > 1) {
            section.fail("pixelFormats", names[i] + " stands there twice");
        }
    }
    return names.empty() ? defaultPixelFormats(sensor) : names;
}

void checkText(const Section& section, const char* key, const std::string& text)
{
    constexpr std::size_t kLongest = 63;
    if (text.size() > kLongest) {
        section.fail(key, "longer than 63 bytes");
    }
}

/// What the cameras of one file have in common.
struct Reading {
    std::filesystem::path folder; ///< Of the file; image sources are relative to it.
    std::uint32_t cameras = 0;    ///< Read so far; gives each its own identity.
};

CameraConfig readCamera(const Section& section, const InterfaceConfig& parent, Reading& reading)
{
    CameraConfig camera;
    const std::uint32_t number = ++reading.cameras;
    camera.sensor = sensorKind(section);
    camera.vendor = section.text("vendor", "Zelcam Simulation");
    camera.model = section.text("model", "ZJ-Camera");
    camera.serialNumber = section.text("serialNumber", std::to_string(90000000 + number));
    camera.userDefinedName = section.text("userDefinedName", "");
    camera.version = section.text("version", "1.0.0");
    checkText(section, "vendor", camera.vendor);
    checkText(section, "model", camera.model);
    checkText(section, "serialNumber", camera.serialNumber);
    checkText(section, "userDefinedName", camera.userDefinedName);
    checkText(section, "version", camera.version);
    camera.sensorWidth =
        static_cast<std::uint32_t>(section.integer("width", 1920, 1, kLargestSide));
    camera.sensorHeight =
        static_cast<std::uint32_t>(section.integer("height", 1080, 1, kLargestSide));
    camera.pixelFormats = pixelFormats(section, camera.sensor);
    camera.maxFrameRate = section.real("maxFrameRate", 100.0, 0.1, 100000.0);
    camera.linkBytesPerSecond = static_cast<std::uint64_t>(
        section.integer("linkBytesPerSecond", 0, 0, std::numeric_limits<std::int64_t>::max()));
    if (camera.linkBytesPerSecond != 0 && camera.linkBytesPerSecond < 1000000) {
        section.fail("linkBytesPerSecond", "expected 0 or at least 1000000");
    }
    camera.wire = wireFormatOf(parent.tlType);
    camera.hasNetwork = section.boolean("network", parent.tlType == "GEV");
    camera.ip.address = ipNumber(section, "ip", 0xC0A86500 + number % 250 + 1);
    camera.ip.mask = ipNumber(section, "mask", 0xFFFFFF00);
    camera.ip.gateway = ipNumber(section, "gateway", 0);
    std::array<char, 24> mac{};
    std::snprintf(mac.data(), mac.size(), "02:5a:43:01:%02x:%02x", number >> 8 & 255, number & 255);
    camera.macAddress = section.text("mac", mac.data());
    camera.seed = static_cast<std::uint64_t>(
        section.integer("seed", number, 0, std::numeric_limits<std::int64_t>::max()));
    if (section.has("imageSource")) {
        camera.imageSource = (reading.folder / section.text("imageSource", "")).string();
    }
    return camera;
}

/// The n-th copy of a camera: another serial number, address and noise.
CameraConfig copyOf(CameraConfig camera, std::uint32_t n)
{
    camera.serialNumber += '-' + std::to_string(n + 1);
    camera.seed += n;
    camera.ip.address += n;
    // The last but one byte keeps copies of different cameras apart; more than fit into the last
    // one count on in the third.
    unsigned third = 0;
    if (camera.macAddress.size() == 17 &&
        std::sscanf(camera.macAddress.c_str() + 6, "%2x", &third) == 1) {
        std::array<char, 24> head{};
        std::array<char, 24> tail{};
        std::snprintf(head.data(), head.size(), "%02x:", (third + n / 256) & 255);
        std::snprintf(tail.data(), tail.size(), ":%02x", n & 255);
        camera.macAddress = camera.macAddress.substr(0, 6) + head.data() +
                            camera.macAddress.substr(12) + tail.data();
    }
    return camera;
}

void readCameras(const Section& section, InterfaceConfig& parent, Reading& reading)
{
    for (const auto& [element, path] : section.list("cameras")) {
        const Section one(*element, path);
        one.allowOnly({"vendor", "model", "serialNumber", "userDefinedName", "version", "sensor",
                       "width", "height", "pixelFormats", "maxFrameRate", "linkBytesPerSecond",
                       "network", "ip", "mask", "gateway", "mac", "seed", "imageSource", "count"});
        const CameraConfig camera = readCamera(one, parent, reading);
        if (!camera.imageSource.empty()) {
            std::string error;
            if (loadScenes(camera.imageSource, &error).empty()) {
                one.fail("imageSource", error);
            }
        }
        const std::int64_t count = one.integer("count", 1, 1, kMostCameras);
        for (std::int64_t i = 0; i < count; ++i) {
            parent.cameras.push_back(count == 1 ? camera
                                                : copyOf(camera, static_cast<std::uint32_t>(i)));
        }
    }
    std::set<std::pair<std::string, std::string>> known;
    for (const CameraConfig& camera : parent.cameras) {
        if (!known.emplace(camera.model, camera.serialNumber).second) {
            section.fail("cameras", "serial number " + camera.serialNumber + " stands there twice");
        }
    }
}

std::string tlType(const Section& section)
{
    std::string text = section.text("type", "GEV");
    for (const char* known : {"GEV", "U3V", "CL", "CXP", "Custom"}) {
        if (text == known) {
            return text;
        }
    }
    if (text == "HD-SDI") {
        return "Custom";
    }
    section.fail("type", "expected GEV, U3V, CL, CXP or HD-SDI");
}

std::vector<InterfaceConfig> readInterfaces(const Json& json, const std::filesystem::path& folder)
{
    const Section file(json, "file");
    file.allowOnly({"interfaces"});
    std::vector<InterfaceConfig> interfaces;
    Reading reading{folder};
    for (const auto& [element, path] : file.list("interfaces")) {
        const Section section(*element, path);
        section.allowOnly({"id", "displayName", "type", "cameras"});
        InterfaceConfig one;
        one.id = section.text("id", "ZelSim" + std::to_string(interfaces.size()));
        one.tlType = tlType(section);
        one.displayName = section.text("displayName", "Simulated " + one.tlType + " interface");
        for (const InterfaceConfig& other : interfaces) {
            if (other.id == one.id) {
                section.fail("id", one.id + " stands there twice");
            }
        }
        readCameras(section, one, reading);
        interfaces.push_back(std::move(one));
    }
    return interfaces;
}

} // namespace

std::vector<InterfaceConfig> interfacesFromFile(const std::string& fileName, std::string* error)
{
    // A pipe would be waited for, and a device never ends.
    std::error_code failure;
    if (std::filesystem::exists(fileName, failure) &&
        (!std::filesystem::is_regular_file(fileName, failure) ||
         std::filesystem::file_size(fileName, failure) > kLargestFile)) {
        *error = fileName + ": not a file of at most 64 MiB";
        return {};
    }
    std::ifstream stream(fileName);
    if (!stream) {
        *error = fileName + ": cannot be opened";
        return {};
    }
    try {
        return readInterfaces(Json::parse(stream), std::filesystem::path(fileName).parent_path());
    } catch (const std::exception& mistake) {
        *error = fileName + ": " + mistake.what();
    }
    return {};
}

} // namespace simulator
