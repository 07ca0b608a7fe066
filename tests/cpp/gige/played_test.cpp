// The client over a camera that is played: descriptions, packet sizes, payloads, groups, actions.
#include "gige/gige_device.h"
#include "gige/gige_interface.h"
#include "gige/packet_size.h"
#include "gige/socket_reader.h"
#include "gige/wire/bootstrap.h"
#include "module_features.h"
#include "played_camera.h"
#include "recorder.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>

#include <cstdlib>
#include <functional>
#include <random>

namespace
{

using namespace gige;
using namespace std::chrono_literals;
using namespace stream_maker;

constexpr std::uint32_t kCamera = 0x7F000B01;   // 127.0.11.1
constexpr std::uint32_t kStranger = 0x7F000B02; // 127.0.11.2
constexpr std::uint32_t kGroup = 0xEF0B0001;    // 239.11.0.1
constexpr std::size_t kGuard = 64;

NetworkAdapter loopback()
{
    NetworkAdapter adapter;
    adapter.name = "lo";
    adapter.index = adapterTowards(kCamera);
    adapter.address = 0x7F000001;
    adapter.mask = 0xFF000000;
    adapter.mtu = 65536;
    adapter.loopback = true;
    return adapter;
}

/// A device with a stream of a few buffers with guards around them.
struct Client {
    explicit Client(GigeDevice::Access access = GigeDevice::Access::Control)
    {
        code = GigeDevice::open(loopback(), kCamera, access, &device);
        if (code == 0) {
            code = device->openStream(0, &recorder, &stream);
        }
        for (std::size_t i = 0; code == 0 && i < memory.size(); ++i) {
            memory[i].assign(kFrame + 2 * kGuard, 0xEE);
            stream->announce(i, memory[i].data() + kGuard, kFrame);
            stream->queue(i);
        }
    }
    ZelCamErr start() { return stream->start(~std::uint64_t{0}); }
    ZelCamErr set(const char* name, std::uint64_t value)
    {
        return writeFeature(*stream->features().at(0), name, value);
    }
    std::uint64_t get(const char* name) { return readFeature(*stream->features().at(0), name); }

    /// The next frame; its buffer is queued again.
    bool next(core::FrameInfo* info, std::size_t* wrong, std::uint64_t block,
              std::chrono::milliseconds wait = 5000ms)
    {
        std::pair<core::BufferToken, core::FrameInfo> frame;
        if (!recorder.next(&frame, wait)) {
            return false;
        }
        *info = frame.second;
        const auto& bytes = memory[frame.first];
        *wrong = 0;
        for (std::size_t at = 0; at < kFrame; ++at) {
            *wrong += bytes[kGuard + at] != pixel(block != 0 ? block : info->frameId, at);
        }
        for (std::size_t i = 0; i < kGuard; ++i) {
            guarded = guarded && bytes[i] == 0xEE && bytes[kGuard + kFrame + i] == 0xEE;
        }
        return stream->queue(frame.first) == 0;
    }

    Recorder recorder;
    std::array<std::vector<std::uint8_t>, 6> memory;
    std::unique_ptr<core::TransportDevice> device;
    std::unique_ptr<core::TransportStream> stream;
    ZelCamErr code = 0;
    bool guarded = true;
};

class Played : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(camera.isReady()); }

    /// That a whole frame arrives.
    void expectFrame(Client& client, std::uint64_t block, const std::vector<Packet>& packets)
    {
        core::FrameInfo info;
        std::size_t wrong = 1;
        EXPECT_TRUE(camera.send(packets));
        ASSERT_TRUE(client.next(&info, &wrong, block)) << block;
        EXPECT_FALSE(info.incomplete) << block;
        EXPECT_EQ(wrong, 0U) << block;
        EXPECT_EQ(info.width, kWidth);
    }

    PlayedCamera camera{kCamera};
    Maker maker;
};

bool mayUseRing(const Client& client) { return client.stream != nullptr && ::geteuid() == 0; }

TEST_F(Played, ADescriptionMayBeNamedByTheManifestAndRegistersBeNoMemory)
{
    const std::string xml = "<RegisterDescription SchemaMajorVersion=\"1\" "
                            "SchemaMinorVersion=\"1\"/>";
    camera.setWord(wire::reg::kControlCapability, wire::capability::kManifest);
    camera.setWord(wire::reg::kManifest, 2U << 26U); // The first of two leads nowhere.
    camera.setWord(wire::reg::kManifest + 8, 0xB000);
    camera.setWord(wire::reg::kManifest + 16, 0xB400);
    camera.setText(0xB000, "http://127.0.11.1/a.xml");
    char url[64];
    std::snprintf(url, sizeof url, "Local:a.xml;C000;%zx", xml.size());
    camera.setText(0xB400, url);
    camera.setText(0xC000, xml);
    ControlChannel control;
    ASSERT_EQ(control.connect(kCamera), 0);
    CameraSource source(control, 1500);
    std::string document;
    ASSERT_EQ(source.description(&document), 0);
    EXPECT_EQ(document, xml);

    camera.refusesMemory = true;
    camera.setWord(0xD000, 0x01020304);
    std::uint32_t word = 0;
    ASSERT_EQ(source.read(0xD000, &word, 4), 0);
    EXPECT_EQ(base::loadBig<std::uint32_t>(&word), 0x01020304U);
    ASSERT_EQ(source.read(0xD001, &word, 2), 0) << "a part of it";
    EXPECT_EQ(base::loadBig<std::uint16_t>(&word), 0x0203U);
}

TEST_F(Played, ThePacketSizeIsTheLargestThatThePathCarries)
{
    const std::uint32_t size = wire::streamRegister(0, wire::stream::kPacketSize);
    ControlChannel control;
    ASSERT_EQ(control.connect(kCamera), 0);
    for (const std::uint32_t path : {5000U, 1500U, 9000U, 65535U}) {
        camera.path = path;
        ASSERT_EQ(negotiatePacketSize(control, 9000, true), 0);
        const std::uint32_t got = camera.word(size);
        EXPECT_LE(got & wire::kPacketSizeMask, path);
        EXPECT_GE((got & wire::kPacketSizeMask) + 64, std::min(path, 9000U));
        EXPECT_EQ(got & ~wire::kPacketSizeMask, wire::kDoNotFragment);
        EXPECT_EQ(camera.port(), 0) << "closed again";
    }
    camera.path = 0; // No test packets at all.
    camera.setWord(size, 1400);
    ASSERT_EQ(negotiatePacketSize(control, 9000, true), 0);
    EXPECT_EQ(camera.word(size), 1400U);
    // Whoever writes the register himself gets no more than the path carries either.
    CameraSource source(control, 4000);
    std::array<std::uint8_t, 4> bytes{};
    base::storeBig<std::uint32_t>(bytes.data(), 8000);
    ASSERT_EQ(source.write(size, bytes.data(), bytes.size()), 0);
    EXPECT_EQ(camera.word(size), 4000U);
}

TEST_F(Played, EveryKindOfPayloadByEveryMethod)
{
    Client client;
    ASSERT_EQ(client.code, 0);
    // Room for a frame in one packet; the others are smaller than was agreed.
    camera.setWord(wire::streamRegister(0, wire::stream::kPacketSize), 6000);
    std::uint64_t block = 0;
    for (int method = 0; method <= static_cast<int>(ReceiveMethod::Ring); ++method) {
        if (method == static_cast<int>(ReceiveMethod::Ring) && !mayUseRing(client)) {
            break;
        }
        ASSERT_EQ(client.set("StreamReceiveMethod", static_cast<std::uint64_t>(method)), 0);
        ASSERT_EQ(client.start(), 0) << method;
        for (const bool extended : {false, true}) {
            maker.extended = extended;
            for (int i = 0; i < 3; ++i) {
                ++block;
                expectFrame(client, block, maker.frame(block));
            }
            ++block;
            expectFrame(client, block, maker.multiPart(block));
            ++block;
            expectFrame(client, block, {maker.allIn(block)});
        }
        maker.extended = false;
        std::vector<Packet> packets = maker.frame(++block); // out of order, and some twice
        std::reverse(packets.begin() + 2, packets.end() - 2);
        packets.insert(packets.begin() + 4, packets[6]);
        expectFrame(client, block, packets);
        ASSERT_EQ(client.stream->stop(false), 0);
    }
    EXPECT_TRUE(client.guarded);
}

TEST_F(Played, WhatIsMissingIsAskedForAsOftenAsTheCameraNeedsTime)
{
    camera.path = kPacketSize;
    Client client;
    ASSERT_EQ(client.code, 0);
    ASSERT_EQ(client.start(), 0);
    std::size_t repeated = 0;
    constexpr std::uint64_t kBlocks = 40;
    for (std::uint64_t block = 1; block <= kBlocks; ++block) {
        repeated += camera.takeRequests().size();
        if (block == kBlocks / 2) {
            repeated = 0;
        }
        std::vector<Packet> packets = maker.frame(block);
        packets.erase(packets.begin() + 4);
        ASSERT_TRUE(camera.send(packets));
        const auto end = Clock::now() + 3s;
        std::vector<wire::ResendRequest> requests;
        while (requests.empty() && Clock::now() < end) {
            std::this_thread::sleep_for(100us);
            for (const wire::ResendRequest& request : camera.takeRequests()) {
                if (request.blockId == block) {
                    requests.push_back(request);
                } else {
                    ++repeated; // Late, and of a frame before.
                }
            }
        }
        ASSERT_FALSE(requests.empty()) << block;
        EXPECT_EQ(requests[0].blockId, block);
        EXPECT_EQ(requests[0].first, 4U);
        EXPECT_EQ(requests[0].last, 4U);
        std::this_thread::sleep_for(8ms); // It is slow.
        expectFrame(client, block, {maker.payload(block, 4)});
        repeated += requests.size() - 1;
    }
    // Once it is known how slow, hardly a packet is asked for twice.
    EXPECT_LE(repeated, kBlocks / 5);
    EXPECT_EQ(client.get("StreamMissingPacketCount"), 0U);
}

TEST_F(Played, OneControlsAndOthersListen)
{
    camera.path = kPacketSize;
    Client controller;
    ASSERT_EQ(controller.code, 0);
    EXPECT_EQ(Client().code, ZelErr::kGenTLAccessDenied);
    EXPECT_EQ(controller.set("StreamMulticastAddress", 0x0A000001), ZelErr::kGenTLInvalidValue);
    ASSERT_EQ(controller.start(), 0);
    const int before = camera.writes;
    {
        Client listener(GigeDevice::Access::Listen);
        ASSERT_EQ(listener.code, 0);
        EXPECT_EQ(listener.start(), ZelErr::kGenTLNotAvailable) << "nothing for others";
    }
    ASSERT_EQ(controller.stream->stop(false), 0);
    EXPECT_EQ(camera.writes, before) << "a listener writes nothing";
    ASSERT_EQ(controller.set("StreamMulticastAddress", kGroup), 0);
    ASSERT_EQ(controller.start(), 0);
    EXPECT_EQ(camera.destination(), kGroup);
    const int opened = camera.writes;
    std::uint64_t block = 0;
    for (const ReceiveMethod method : {ReceiveMethod::Automatic, ReceiveMethod::Ring}) {
        Client listener(GigeDevice::Access::Listen);
        ASSERT_EQ(listener.code, 0);
        if (method == ReceiveMethod::Ring && !mayUseRing(listener)) {
            break;
        }
        EXPECT_FALSE(listener.stream->controlsCamera());
        ASSERT_EQ(listener.set("StreamReceiveMethod", static_cast<std::uint64_t>(method)), 0);
        ASSERT_EQ(listener.start(), 0);
        const std::uint32_t word = 0;
        EXPECT_EQ(listener.device->camera()->write(0xA000, &word, 4), ZelErr::kGenTLAccessDenied);
        for (int i = 0; i < 5; ++i) {
            ++block;
            expectFrame(controller, block, maker.frame(block));
            core::FrameInfo info;
            std::size_t wrong = 1;
            ASSERT_TRUE(listener.next(&info, &wrong, block));
            EXPECT_FALSE(info.incomplete);
            EXPECT_EQ(wrong, 0U);
        }
    }
    const UdpSocket stranger(kStranger);
    in_addr adapter{htonl(kStranger)};
    ::setsockopt(stranger.descriptor(), IPPROTO_IP, IP_MULTICAST_IF, &adapter, sizeof adapter);
    for (int i = 0; i < 50; ++i) {
        const Packet lie = maker.payload(block, 1);
        stranger.sendTo({lie.data(), lie.size()}, kGroup, camera.port());
    }
    const auto end = Clock::now() + 5s;
    while (controller.get("StreamForeignPacketCount") < 50 && Clock::now() < end) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(controller.get("StreamForeignPacketCount"), 50U) << "none of the camera's is among";
    EXPECT_EQ(camera.writes, opened);
    EXPECT_NE(camera.port(), 0) << "a listener that goes takes nothing with it";
}

TEST_F(Played, ActionsReachOneOrAll)
{
    GigeInterface adapter(loopback());
    genapi::FeatureSource& features = *adapter.features();
    const auto fire = [&](std::uint64_t to) {
        EXPECT_EQ(writeFeature(features, "GevActionDestinationIPAddress", to), 0);
        EXPECT_EQ(writeFeature(features, "ActionCommand", 1), 0);
        std::vector<wire::Action> actions;
        for (int i = 0; i < 300 && actions.empty(); ++i) {
            std::this_thread::sleep_for(10ms);
            actions = camera.takeActions();
        }
        return actions;
    };
    ASSERT_EQ(writeFeature(features, "ActionDeviceKey", 0x11111111), 0);
    ASSERT_EQ(writeFeature(features, "ActionGroupKey", 0x22222222), 0);
    ASSERT_EQ(writeFeature(features, "ActionGroupMask", 5), 0);
    for (const std::uint64_t to : {std::uint64_t{kCamera}, std::uint64_t{0xFFFFFFFF}}) {
        const auto actions = fire(to);
        ASSERT_EQ(actions.size(), 1U) << to;
        EXPECT_EQ(actions[0].deviceKey, 0x11111111U);
        EXPECT_EQ(actions[0].groupKey, 0x22222222U);
        EXPECT_EQ(actions[0].groupMask, 5U);
        EXPECT_FALSE(actions[0].scheduled);
    }
    ASSERT_EQ(writeFeature(features, "ActionScheduledTimeEnable", 1), 0);
    ASSERT_EQ(writeFeature(features, "ActionScheduledTime", 0x123456789AULL), 0);
    const auto actions = fire(kCamera);
    ASSERT_EQ(actions.size(), 1U);
    EXPECT_TRUE(actions[0].scheduled);
    EXPECT_EQ(actions[0].time, 0x123456789AULL);
}

TEST_F(Played, WithoutDescriptorsOrMemoryThereAreCodes)
{
    Client client;
    ASSERT_EQ(client.code, 0);
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    const auto limited = [&](const auto& action) {
        rlimit none = usual;
        none.rlim_cur = 3;
        ::setrlimit(RLIMIT_NOFILE, &none);
        const ZelCamErr code = action();
        ::setrlimit(RLIMIT_NOFILE, &usual);
        return code;
    };
    EXPECT_EQ(limited([&] { return client.start(); }), ZelErr::kGenTLResourceExhausted);
    EXPECT_EQ(limited([&] {
                  std::unique_ptr<core::TransportDevice> device;
                  return GigeDevice::open(loopback(), kCamera, GigeDevice::Access::Listen, &device);
              }),
              ZelErr::kGenTLResourceExhausted);
    if (mayUseRing(client)) {
        const auto ring = static_cast<std::uint64_t>(ReceiveMethod::Ring);
        ASSERT_EQ(client.set("StreamReceiveMethod", ring), 0);
        EXPECT_EQ(limited([&] { return client.start(); }), ZelErr::kGenTLResourceExhausted);
        ASSERT_EQ(client.set("StreamReceiveMethod", 0), 0);
    }
    ASSERT_EQ(client.start(), 0) << "as if nothing had been";
    camera.setWord(wire::streamRegister(0, wire::stream::kPacketSize), kPacketSize);
    expectFrame(client, 1, maker.frame(1));
}

// ---- Packets that nobody meant, through real sockets

class Mutator
{
public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    Packet of(Packet packet)
    {
        const unsigned change = random_() % 8;
        for (unsigned i = 0; change < 5 && i <= random_() % 3; ++i) {
            packet[random_() % std::min<std::size_t>(packet.size(), 60)] =
                static_cast<std::uint8_t>(random_() % 3 == 0 ? random_() : random_() % 12);
        }
        if (change == 5) {
            packet.resize(random_() % (packet.size() + 1));
        } else if (change == 6) {
            packet.resize(packet.size() + random_() % 3000, 0x55);
        }
        return packet;
    }
    unsigned operator()() { return static_cast<unsigned>(random_()); }

private:
    std::mt19937 random_;
};

/// By each method of receiving.
int fuzzedPackets()
{
    const char* const wanted = std::getenv("ZELCAM_LONG_TESTS");
    return wanted != nullptr && *wanted != '\0' ? 400000 : 20000;
}

/// Calls `body` for each method that may be used here, with a started stream.
void withEveryMethod(PlayedCamera& camera, const std::function<void(Client&)>& body)
{
    for (const ReceiveMethod method :
         {ReceiveMethod::Joined, ReceiveMethod::Batch, ReceiveMethod::Ring}) {
        Client client;
        ASSERT_EQ(client.code, 0);
        if (method == ReceiveMethod::Ring && !mayUseRing(client)) {
            return;
        }
        camera.setWord(wire::streamRegister(0, wire::stream::kPacketSize), kPacketSize);
        ASSERT_EQ(client.set("StreamReceiveMethod", static_cast<std::uint64_t>(method)), 0);
        ASSERT_EQ(client.start(), 0);
        body(client);
        EXPECT_TRUE(client.guarded);
    }
}

TEST_F(Played, RubbishFromTheCameraHarmsNothing)
{
    camera.path = kPacketSize;
    Mutator mutator(31);
    std::uint64_t block = 0;
    withEveryMethod(camera, [&](Client& client) {
        core::FrameInfo info;
        std::size_t wrong = 0;
        for (int sent = 0; sent < fuzzedPackets();) {
            maker.extended = mutator() % 50 == 0 ? !maker.extended : maker.extended;
            for (const Packet& packet : maker.frame(++block % 70000 + 1)) {
                camera.send(mutator() % 3 == 0 ? mutator.of(packet) : packet);
                ++sent;
            }
            while (client.next(&info, &wrong, 0, 0ms)) {
            }
            if (block % 64 == 0) {
                camera.takeRequests();
            }
        }
        // After all of it frames are frames; what lies open may take its time to end.
        maker.extended = false;
        ASSERT_EQ(client.stream->stop(false), 0);
        while (client.next(&info, &wrong, 0, 0ms)) {
        }
        ASSERT_EQ(client.start(), 0);
        expectFrame(client, 1, maker.frame(1));
    });
}

TEST_F(Played, RubbishFromStrangersChangesNoByte)
{
    camera.path = kPacketSize;
    std::uint64_t block = 0;
    withEveryMethod(camera, [&](Client& client) {
        const std::uint16_t port = camera.port();
        const std::uint32_t host = camera.destination();
        std::atomic<std::uint64_t> now{block};
        std::atomic<bool> ending{false};
        std::atomic<int> sent{0};
        std::thread stranger([&] {
            // Of another address, and of the camera's address at another port.
            const UdpSocket sockets[2] = {UdpSocket(kStranger), UdpSocket(kCamera)};
            Mutator mutator(32);
            const Maker makers;
            while (!ending && sent < fuzzedPackets()) {
                for (const Packet& packet : makers.frame(now + 1)) {
                    const Packet lie = mutator.of(packet);
                    sockets[mutator() % 2].sendTo({lie.data(), lie.size()}, host, port);
                    ++sent;
                }
                std::this_thread::sleep_for(50us);
            }
        });
        while (sent < fuzzedPackets() && !HasFatalFailure()) {
            ++block;
            now = block;
            expectFrame(client, block, maker.frame(block));
        }
        ending = true;
        stranger.join();
        std::this_thread::sleep_for(200ms);
        EXPECT_GT(client.get("StreamForeignPacketCount"),
                  static_cast<std::uint64_t>(fuzzedPackets() / 2));
        EXPECT_EQ(client.get("StreamMalformedPacketCount"), 0U);
        EXPECT_EQ(client.get("StreamDuplicatePacketCount"), 0U);
    });
}

} // namespace
