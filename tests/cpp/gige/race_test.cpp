// Stops, discards and ends in the middle of what a GigE Vision camera sends.
#include "camera_process.h"
#include "gige/gige_provider.h"
#include "gige/wire/bootstrap.h"
#include "gige/wire/events.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;

constexpr const char* kAddress = "127.0.0.1";
constexpr std::uint64_t kWidth = 0x100;
constexpr std::uint64_t kHeight = 0x104;
constexpr std::uint64_t kAcquisition = 0x124;
constexpr std::uint64_t kFramePeriod = 0x138;

/// Checks every delivery against what is in the transport at that moment.
class Ledger final : public core::StreamSink, public core::DeviceSink
{
public:
    void bufferDone(core::BufferToken token, core::FrameInfo) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        wrong_ += started_ && queued_.erase(token) == 1 ? 0 : 1;
        done_.push_back(token);
    }
    void streamBroken(ZelCamErr) override {}
    void event(std::uint64_t, const void*, std::size_t) override { ++events_; }
    void featuresInvalidated() override {}
    void deviceLost(ZelCamErr) override {}

    void queued(core::BufferToken token)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        queued_.insert(token);
    }
    /// Nothing is in the transport any more.
    void nothingQueued()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        queued_.clear();
        done_.clear();
    }
    void setStarted(bool started)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        started_ = started;
    }
    std::vector<core::BufferToken> takeDone()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(done_, {});
    }
    int wrong()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return wrong_;
    }
    int events() const { return events_; }

private:
    std::mutex mutex_;
    bool started_ = false;
    std::set<core::BufferToken> queued_;
    std::vector<core::BufferToken> done_;
    int wrong_ = 0; ///< Deliveries after a stop, or of what was not queued.
    std::atomic<int> events_{0};
};

class Race : public ::testing::Test
{
protected:
    void SetUp() override { ::setenv("ZELCAM_VISION", "lo", 1); }

    void open(const char* serial, const char* option)
    {
        camera_ = std::make_unique<CameraProcess>(kAddress, serial, 0, option);
        ASSERT_TRUE(camera_->isRunning());
        core::TransportInterface* interface = provider_.updateInterfaces().at(0);
        std::vector<core::DeviceDescription> devices;
        for (int i = 0; i < 20 && devices.empty(); ++i) { // a busy machine answers late
            ASSERT_EQ(interface->updateDevices(150, &devices), 0);
        }
        ASSERT_EQ(devices.size(), 1U);
        ASSERT_EQ(interface->openDevice(devices[0].id, &device_), 0);
    }
    void write(std::uint64_t address, std::uint32_t value)
    {
        const std::uint32_t big = htonl(value);
        ASSERT_EQ(device_->camera()->write(address, &big, sizeof(big)), 0);
    }
    std::uint32_t read(std::uint64_t address)
    {
        std::uint32_t big = 0;
        EXPECT_EQ(device_->camera()->read(address, &big, sizeof(big)), 0);
        return ntohl(big);
    }

    gige::GigeProvider provider_;
    std::unique_ptr<CameraProcess> camera_;
    Ledger ledger_;
    std::unique_ptr<core::TransportDevice> device_;
};

/// Sets a whole number of a module that describes itself, by the place of its register.
void setFeature(genapi::FeatureSource& module, const std::string& name, std::uint8_t value)
{
    std::string text;
    ASSERT_EQ(module.description(&text), 0);
    const std::size_t node = text.find("Name=\"" + name + "Reg\"");
    ASSERT_NE(node, std::string::npos);
    const auto number = [&](const std::string& tag) {
        const std::size_t at = text.find("<" + tag + ">", node) + tag.size() + 2;
        return std::stoull(text.substr(at, 20), nullptr, 0);
    };
    std::vector<std::uint8_t> bytes(number("Length"), 0);
    bytes.back() = value;
    ASSERT_EQ(module.write(number("Address"), bytes.data(), bytes.size()), 0);
}

/// Whether packets are taken one by one.
class StreamRace : public Race, public ::testing::WithParamInterface<bool>
{
};

TEST_P(StreamRace, NoFrameComesLateAndNoBufferIsLost)
{
    constexpr std::size_t kBuffers = 6;
    constexpr std::size_t kFrame = 128 * 128;
    const int rounds = 60;
    open("RACE1", "");
    write(kWidth, 128);
    write(kHeight, 128);
    write(kFramePeriod, 1000);
    std::unique_ptr<core::TransportStream> stream;
    ASSERT_EQ(device_->openStream(0, &ledger_, &stream), 0);
    setFeature(*stream->features().at(0), "StreamReceiveMethod", GetParam() ? 3 : 0);
    std::vector<std::vector<std::uint8_t>> memory(kBuffers, std::vector<std::uint8_t>(kFrame));
    const auto queue = [&](core::BufferToken token) {
        ledger_.queued(token); // before the transport can deliver it
        ASSERT_EQ(stream->queue(token), 0);
    };
    const auto requeueDone = [&] {
        for (const core::BufferToken token : ledger_.takeDone()) {
            queue(token);
        }
    };
    for (std::size_t i = 0; i < kBuffers; ++i) {
        ASSERT_EQ(stream->announce(i + 1, memory[i].data(), kFrame), 0);
        queue(i + 1);
    }
    const auto discard = [&] {
        ASSERT_EQ(stream->discardAll(), 0);
        ledger_.nothingQueued();
        std::this_thread::sleep_for(2ms); // time for what must not come
        for (std::size_t i = 0; i < kBuffers; ++i) {
            queue(i + 1);
        }
    };
    std::size_t delivered = 0;
    for (int round = 0; round < rounds; ++round) {
        ledger_.setStarted(true);
        ASSERT_EQ(stream->start(~std::uint64_t{0}), 0);
        write(kAcquisition, 1);
        for (int i = 0; i <= round % 7; ++i) {
            std::this_thread::sleep_for(2ms);
            delivered += ledger_.takeDone().empty() ? 0 : 1;
            discard();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(700 * (round % 5)));
        if (round % 3 == 0) {
            write(kAcquisition, 0); // else the camera goes on sending to the stopped receiver
        }
        ASSERT_EQ(stream->stop(false), 0);
        ledger_.setStarted(false);
        requeueDone();
        if (round % 4 == 1) {
            discard();
        }
        ASSERT_EQ(ledger_.wrong(), 0) << "round " << round;
    }
    EXPECT_GT(delivered, 0U);
    // Every buffer still goes round.
    ledger_.setStarted(true);
    ASSERT_EQ(stream->start(~std::uint64_t{0}), 0);
    write(kAcquisition, 1);
    std::set<core::BufferToken> came;
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (came.size() < kBuffers && std::chrono::steady_clock::now() < end) {
        for (const core::BufferToken token : ledger_.takeDone()) {
            came.insert(token);
            queue(token);
        }
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(came.size(), kBuffers);
    EXPECT_EQ(ledger_.wrong(), 0);
    stream.reset(); // while frames come
    ledger_.setStarted(false);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(ledger_.wrong(), 0);
}

INSTANTIATE_TEST_SUITE_P(Sockets, StreamRace, ::testing::Bool());

TEST_F(Race, NoEventComesAfterTheEnd)
{
    open("RACE2", "events");
    for (int round = 0; round < 5; ++round) {
        const int before = ledger_.events();
        device_->startEvents(&ledger_);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(read(gige::wire::reg::kMessageDestination));
        to.sin_port = htons(static_cast<std::uint16_t>(read(gige::wire::reg::kMessagePort)));
        EXPECT_EQ(to.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
        ASSERT_NE(to.sin_port, 0);
        std::atomic<bool> ending{false};
        std::thread sender([&] {
            const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            for (std::uint16_t id = 1; !ending; id = id == 0xFFFF ? 1 : id + 1) {
                gige::wire::Event event;
                event.id = 1;
                const gige::wire::Datagram packet = gige::wire::makeEvent(id, event, false, false);
                ::sendto(fd, packet.data.data(), packet.size, 0,
                         reinterpret_cast<const sockaddr*>(&to), sizeof(to));
            }
            ::close(fd);
        });
        const auto end = std::chrono::steady_clock::now() + 3s;
        while (ledger_.events() < before + 50 && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(1ms);
        }
        device_->stopEvents();
        const int came = ledger_.events();
        EXPECT_GE(came, before + 50);
        EXPECT_EQ(read(gige::wire::reg::kMessagePort), 0U) << "the camera is told";
        std::this_thread::sleep_for(10ms);
        EXPECT_EQ(ledger_.events(), came);
        ending = true;
        sender.join();
    }
}

} // namespace
