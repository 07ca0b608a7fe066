// The built-in cameras, JSON descriptions and replayed pictures.
#include "test_camera.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

namespace simulator::test
{

namespace
{

/// A folder that is gone after the test.
class Folder
{
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() /
                ("camera_config_test_" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(path_);
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return (path_ / name).string();
    }
    std::string path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

} // namespace

TEST(Config, BuiltInCamerasAreDistinctAndWork)
{
    std::set<std::string> identities;
    std::vector<std::string> types;
    for (const InterfaceConfig& each : defaultInterfaces()) {
        types.push_back(each.tlType);
        for (const CameraConfig& config : each.cameras) {
            EXPECT_TRUE(identities.insert(config.serialNumber).second);
            EXPECT_TRUE(identities.insert(config.model).second);
            TestCamera camera(config);
            ASSERT_EQ(camera.run("AcquisitionStart"), 0);
            FrameLayout layout;
            EXPECT_FALSE(camera.frame(&layout).empty());
            EXPECT_EQ(layout.width, config.sensorWidth);
            EXPECT_EQ(layout.height, config.sensorHeight);
        }
    }
    EXPECT_EQ(types, (std::vector<std::string>{"GEV", "U3V", "CL", "CXP", "Custom"}));
}

TEST(Config, ReadsEveryField)
{
    const Folder folder;
    const std::string file = folder.write("cameras.json", R"({"interfaces": [
        {"id": "A", "displayName": "First", "type": "CXP", "cameras": [
            {"vendor": "V", "model": "M", "serialNumber": "S", "userDefinedName": "U",
             "version": "2.1", "sensor": "BayerBG", "width": 33, "height": 17,
             "pixelFormats": ["BayerBG12p", "Mono8"], "maxFrameRate": 12.5,
             "linkBytesPerSecond": 5000000, "network": true, "ip": "10.0.0.1",
             "mask": "255.0.0.0", "gateway": "10.0.0.254", "mac": "02:00:00:00:00:09",
             "seed": 77}]},
        {"cameras": [{"count": 24}]}]})");
    std::string error;
    const auto interfaces = interfacesFromFile(file, &error);
    ASSERT_EQ(interfaces.size(), 2u) << error;
    const CameraConfig& camera = interfaces[0].cameras.at(0);
    EXPECT_EQ(interfaces[0].displayName, "First");
    EXPECT_EQ(camera.vendor + camera.model + camera.serialNumber + camera.userDefinedName, "VMSU");
    EXPECT_EQ(camera.version, "2.1");
    EXPECT_EQ(camera.sensor, SensorKind::BayerBG);
    EXPECT_EQ(camera.pixelFormats, (std::vector<std::string>{"BayerBG12p", "Mono8"}));
    EXPECT_EQ(camera.maxFrameRate, 12.5);
    EXPECT_EQ(camera.linkBytesPerSecond, 5000000u);
    EXPECT_EQ(camera.ip.address, 0x0A000001u);
    EXPECT_EQ(camera.ip.gateway, 0x0A0000FEu);
    EXPECT_EQ(camera.seed, 77u);
    TestCamera odd(camera);
    ASSERT_EQ(odd.run("AcquisitionStart"), 0);
    EXPECT_EQ(odd.frame().size(), (33u * 17u * 12u + 7u) / 8u);

    ASSERT_EQ(interfaces[1].cameras.size(), 24u);
    std::set<std::string> macs;
    std::set<std::uint32_t> addresses;
    for (const CameraConfig& copy : interfaces[1].cameras) {
        EXPECT_TRUE(copy.hasNetwork);
        macs.insert(copy.macAddress + copy.serialNumber);
        addresses.insert(copy.ip.address);
    }
    EXPECT_EQ(macs.size(), 24u);
    EXPECT_EQ(addresses.size(), 24u);
}

TEST(Config, MistakesNameFileAndPlace)
{
    const Folder folder;
    const auto mistake = [&](const std::string& camera) {
        const std::string file =
            folder.write("bad.json", R"({"interfaces": [{"cameras": [{}, )" + camera + "]}]}");
        std::string error;
        EXPECT_TRUE(interfacesFromFile(file, &error).empty());
        EXPECT_EQ(error.compare(0, file.size(), file), 0) << error;
        return error.substr(std::min(file.size() + 2, error.size()));
    };
    const std::string place = "file.interfaces[0].cameras[1].";
    EXPECT_EQ(mistake(R"({"width": 0})"), place + "width: expected an integer from 1 to 32768");
    EXPECT_EQ(mistake(R"({"widht": 10})"), place + "widht: unknown key");
    EXPECT_EQ(mistake(R"({"model": 3})"), place + "model: expected a text");
    EXPECT_EQ(mistake(R"({"pixelFormats": ["Mono9"]})"),
              place + "pixelFormats[0]: expected the name of a pixel format");
    EXPECT_EQ(mistake(R"({"ip": "10.0.0.256"})"),
              place + "ip: expected an IPv4 address such as 192.168.0.1");
    EXPECT_EQ(mistake(R"({"sensor": "Bayer"})").compare(0, place.size(), place), 0);
    // What would be waited for, or never ends, or claims gigabytes.
    EXPECT_NE(mistake(R"({"imageSource": "/dev/zero"})").find("not a readable"), std::string::npos);
    ASSERT_EQ(mkfifo((folder.path() + "/pipe.pgm").c_str(), 0600), 0);
    EXPECT_NE(mistake(R"({"imageSource": "pipe.pgm"})").find("not a readable"), std::string::npos);
    folder.write("huge.pgm", "P5 32768 32768 255 ");
    EXPECT_NE(mistake(R"({"imageSource": "huge.pgm"})").find("not a readable"), std::string::npos);
    EXPECT_NE(mistake(R"({"imageSource": "missing.pgm"})").find("missing.pgm"), std::string::npos);
    EXPECT_NE(mistake("{").find("parse error"), std::string::npos);
    std::string error;
    EXPECT_TRUE(interfacesFromFile(folder.path() + "/none.json", &error).empty());
    EXPECT_NE(error.find("cannot be opened"), std::string::npos);
    EXPECT_TRUE(interfacesFromFile("/dev/zero", &error).empty());
    EXPECT_NE(error.find("not a file"), std::string::npos);
}

TEST(Config, EnvironmentChooses)
{
    std::string error;
    setenv("ZELCAM_SIMULATOR", "off", 1);
    EXPECT_TRUE(interfacesFromEnvironment(&error).empty());
    setenv("ZELCAM_SIMULATOR", "on", 1);
    EXPECT_EQ(interfacesFromEnvironment(&error).size(), 5u);
    EXPECT_TRUE(error.empty());
    setenv("ZELCAM_SIMULATOR", "/nowhere.json", 1);
    EXPECT_TRUE(interfacesFromEnvironment(&error).empty());
    EXPECT_FALSE(error.empty());
    unsetenv("ZELCAM_SIMULATOR");
    EXPECT_EQ(interfacesFromEnvironment(&error).size(), 5u);
}

TEST(Replay, ShowsThePicturesAsTheyAre)
{
    const Folder folder;
    std::string first = "P5\n# comment\n4 2\n255\n";
    std::string second = "P5 4 2 65535\n";
    for (int i = 0; i < 8; ++i) {
        first += static_cast<char>(i * 36);
        second += {static_cast<char>(255 - i), '\0'};
    }
    folder.write("a.pgm", first);
    folder.write("b.PGM", second);
    folder.write("notes.txt", "not a picture");
    CameraConfig config = smallCamera();
    config.sensorWidth = 4;
    config.sensorHeight = 2;
    config.imageSource = folder.path();
    TestCamera camera(config);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    for (int repeat = 0; repeat < 2; ++repeat) {
        const auto shown = camera.frame();
        EXPECT_EQ(std::string(shown.begin(), shown.end()), first.substr(first.size() - 8));
        const auto next = camera.frame();
        for (int i = 0; i < 8; ++i) {
            EXPECT_NEAR(next[static_cast<std::size_t>(i)], 255 - i, 1);
        }
    }
    folder.write("c.ppm", "P6\n4 2\n255\ntoo short");
    std::string error;
    const std::string file =
        folder.write("r.json", R"({"interfaces": [{"cameras": [{"imageSource": "c.ppm"}]}]})");
    EXPECT_TRUE(interfacesFromFile(file, &error).empty());
    EXPECT_NE(error.find("not a readable"), std::string::npos) << error;
}

} // namespace simulator::test
