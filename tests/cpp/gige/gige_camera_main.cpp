// A GigE Vision camera on loopback for the tests:
//     gige_camera ADDRESS SERIAL [LOST_PER_THOUSAND [OPTION ...]]
// Options: "events": a message channel, and event features in its description;
// "bytes": pixels by the formula in fillBytes() instead of a picture.
// Prints "ready" and runs until its standard input is closed, so that it never outlives its user.
// Every line on its standard input is answered by the number of frames that it has made.
#include <arv.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr guint32 kCapability = 0x0934;
constexpr guint32 kEventCapability = 0x18; // EVENT, EVENTDATA

constexpr const char* kEventFeatures = R"(
  <Category Name="EventControl" NameSpace="Standard">
    <pFeature>EventTestTimestamp</pFeature><pFeature>EventTestNumber</pFeature>
  </Category>
  <Port Name="TestEventPort" NameSpace="Custom"><EventID>9C01</EventID></Port>
  <IntReg Name="EventTestTimestamp" NameSpace="Custom">
    <Address>0x8</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>TestEventPort</pPort>
    <Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>
  </IntReg>
  <IntReg Name="EventTestNumber" NameSpace="Custom">
    <Address>0x10</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>TestEventPort</pPort>
    <Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>
  </IntReg>
)";

std::atomic<unsigned long> framesMade{0};

// Each byte depends on its place and on the frame, so that a piece of another frame shows.
void fillBytes(ArvBuffer* buffer, void* camera, guint32, guint32, ArvPixelFormat)
{
    const std::size_t size = arv_fake_camera_get_payload(static_cast<ArvFakeCamera*>(camera));
    auto* bytes =
        const_cast<guint8*>(static_cast<const guint8*>(arv_buffer_get_data(buffer, nullptr)));
    const auto frame = static_cast<std::size_t>(arv_buffer_get_frame_id(buffer));
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<guint8>(i + (i >> 8U) * 3 + frame * 37);
    }
    ++framesMade;
}

// The camera's own description with the features of events, in a file that is removed again.
ArvGvFakeCamera* cameraWithEvents(const char* address, const char* serial)
{
    ArvFakeCamera* plain = arv_fake_camera_new("plain");
    std::size_t size = 0;
    const char* xml = arv_fake_camera_get_genicam_xml(plain, &size);
    std::string text(xml, size);
    g_object_unref(plain);
    const std::string port = "<Port Name=\"Device\"";
    text.insert(text.find(port), kEventFeatures);
    const std::string root = "<pFeature>Debug</pFeature>";
    text.insert(text.find(root), "<pFeature>EventControl</pFeature>");
    char name[] = "/tmp/gige_camera_XXXXXX";
    const int fd = ::mkstemp(name);
    const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(fd);
    ArvGvFakeCamera* camera =
        written ? arv_gv_fake_camera_new_full(address, serial, name) : nullptr;
    ::unlink(name);
    ArvFakeCamera* registers = arv_gv_fake_camera_get_fake_camera(camera);
    guint32 capability = 0;
    arv_fake_camera_read_register(registers, kCapability, &capability);
    arv_fake_camera_write_register(registers, kCapability, capability | kEventCapability);
    return camera;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        return 2;
    }
    bool events = false;
    bool pattern = false;
    for (int i = 4; i < argc; ++i) {
        events = events || std::string(argv[i]) == "events";
        pattern = pattern || std::string(argv[i]) == "bytes";
    }
    ArvGvFakeCamera* camera =
        events ? cameraWithEvents(argv[1], argv[2]) : arv_gv_fake_camera_new(argv[1], argv[2]);
    if (camera == nullptr || !arv_gv_fake_camera_is_running(camera)) {
        std::fprintf(stderr, "no camera at %s\n", argv[1]);
        return 1;
    }
    if (pattern) {
        ArvFakeCamera* pixels = arv_gv_fake_camera_get_fake_camera(camera);
        arv_fake_camera_set_fill_pattern(pixels, fillBytes, pixels);
    }
    if (argc > 3) {
        g_object_set(camera, "gvsp-lost-ratio", std::atof(argv[3]) / 1000.0, nullptr);
    }
    std::puts("ready");
    std::fflush(stdout);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
        if (byte == '\n') {
            std::printf("%lu\n", framesMade.load());
            std::fflush(stdout);
        }
    }
    g_object_unref(camera);
    return 0;
}
