// Description of the simulated interfaces and cameras.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulator
{

/// IPv4 settings as host integers; persistent settings are what the camera uses after a reset.
struct IpConfig {
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
};

/// What the sensor sees.
enum class SensorKind { Mono, BayerGR, BayerRG, BayerGB, BayerBG, Color };

/// How chunks and events lie in memory; the standard of the transport layer decides.
enum class WireFormat {
    Plain, ///< Chunks without anything between them; events of three 64-bit big-endian numbers.
    GigEVision,
    Usb3Vision,
};

/// Of a GenTL transport layer type (GEV, U3V; all others: Plain).
WireFormat wireFormatOf(const std::string& tlType);

/// One simulated camera.
struct CameraConfig {
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string userDefinedName;
    std::string version;
    SensorKind sensor = SensorKind::Mono;
    std::uint32_t sensorWidth = 0;
    std::uint32_t sensorHeight = 0;
    std::vector<std::string> pixelFormats; ///< PFNC names in the order of the description.
    double maxFrameRate = 100.0;           ///< Frames per second at full size, Mono8.
    std::uint64_t linkBytesPerSecond = 0;  ///< 0: no limit.
    bool hasNetwork = false;               ///< GigE: IP settings and features.
    WireFormat wire = WireFormat::Plain;
    bool isServed = false; ///< Frames go over a real network, which has faults.
    IpConfig ip;
    std::string macAddress;  ///< "02:5a:43:00:00:01"
    std::uint64_t seed = 1;  ///< Noise and scene are repeatable.
    std::string imageSource; ///< Folder or file of pictures to replay; empty: generated scene.
};

/// One simulated interface with its cameras. `tlType` is a GenTL transport layer type (GEV, U3V,
/// CL, CXP, or Custom for HD-SDI).
struct InterfaceConfig {
    std::string id;
    std::string displayName;
    std::string tlType;
    std::vector<CameraConfig> cameras;
};

/// "02:5a:43:00:00:01" as a number; wrong text gives the digits before the mistake.
std::uint64_t macNumber(const std::string& text);

/// A text as a C identifier: other characters become '_'.
std::string identifierOf(std::string text);

/// All formats that a camera with this sensor can have, the plainest first.
std::vector<std::string> defaultPixelFormats(SensorKind sensor);

/// The built-in interfaces: GigE with a mono 1936x1216 and a Bayer 2448x2048 camera, USB3 with a
/// Bayer one, Camera Link with a mono one, CoaXPress with a mono 5120x5120 one, HD-SDI with a
/// 1920x1080 colour one.
std::vector<InterfaceConfig> defaultInterfaces();

/// What ZELCAM_SIMULATOR asks for: unset or "on": the built-in interfaces; "off": none, or the
/// built-in ones unless `offHides`; a file name: the JSON description in it. A file that cannot be
/// read or has a mistake gives no interfaces and a text in `*error` that names file, place and
/// mistake.
std::vector<InterfaceConfig> interfacesFromEnvironment(std::string* error, bool offHides = true);

/// Reads a JSON description (see docs/simulator.md).
std::vector<InterfaceConfig> interfacesFromFile(const std::string& fileName, std::string* error);

} // namespace simulator
