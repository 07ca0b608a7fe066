// Random bytes wherever a bus can put them: zel_usb3_fuzz ROUNDS [SEED]. Ends with 0 when nothing
// broke; meant for a build with sanitizers.
#include "base/endian.h"
#include "core/transport.h"
#include "usb3/camera_registers.h"
#include "usb3/control_channel.h"
#include "usb3/frame_builder.h"
#include "usb3/usb3_interface.h"
#include "usb3/wire/event_packet.h"
#include "usb3/wire/frame_packet.h"
#include "usb3/wire/interface_descriptor.h"

#include <libusb.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

extern "C" void zel_usb3_raw(int camera, const unsigned char* bytes, std::size_t size);
extern "C" void zel_usb3_set(int camera, const char* name, long value);

namespace
{

using namespace usb3;
using Bytes = std::vector<std::uint8_t>;
using Dice = std::mt19937_64;

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

/// Exactly as long as it says, so that a sanitizer sees a byte too many.
Bytes mutated(Bytes bytes, Dice& dice)
{
    for (auto n = dice() % 4; n > 0 && !bytes.empty(); --n) {
        bytes[dice() % bytes.size()] = static_cast<std::uint8_t>(dice() % 3 == 0 ? 0xFF : dice());
    }
    if (dice() % 3 == 0) {
        bytes.resize(dice() % (bytes.size() + 20));
    }
    bytes.shrink_to_fit();
    return bytes;
}

Bytes packet(std::uint32_t magic, std::size_t size)
{
    Bytes bytes(size);
    base::storeLittle(bytes.data(), magic);
    return bytes;
}

Bytes leaderOf(std::uint64_t id, std::uint32_t width, std::uint32_t height, std::uint16_t payload)
{
    Bytes bytes = packet(0x4C563355, 52);
    base::storeLittle(&bytes[8], id);
    base::storeLittle(&bytes[18], payload);
    base::storeLittle(&bytes[28], std::uint32_t{0x01080001});
    base::storeLittle(&bytes[32], width);
    base::storeLittle(&bytes[36], height);
    return bytes;
}

Bytes trailerOf(std::uint64_t id, std::uint64_t size)
{
    Bytes bytes = packet(0x54563355, 36);
    base::storeLittle(&bytes[8], id);
    base::storeLittle(&bytes[20], size);
    return bytes;
}

void frames(Dice& dice)
{
    wire::Leader leader;
    wire::Trailer trailer;
    const std::uint16_t payloads[] = {1, 0x4001, 0x4000, 0x1001};
    const Bytes first = mutated(
        leaderOf(dice() % 3, static_cast<std::uint32_t>(dice() % 40), 10, payloads[dice() % 4]),
        dice);
    const Bytes last = mutated(trailerOf(dice() % 3, dice() % 500), dice);
    Bytes memory(dice() % 400);
    for (std::uint8_t& byte : memory) {
        byte = static_cast<std::uint8_t>(dice() % 8 == 0 ? dice() : 0);
    }
    FrameBuilder builder;
    if (wire::readLeader(first.data(), first.size(), &leader)) {
        builder.setLeader(leader);
    }
    for (auto n = dice() % 4; n > 0; --n) {
        const auto wanted = static_cast<std::size_t>(dice() % 300);
        builder.add(wanted, dice() % 4 == 0 ? static_cast<std::size_t>(dice() % 300) : wanted);
    }
    const bool ends = wire::readTrailer(last.data(), last.size(), &trailer);
    const core::FrameInfo info =
        builder.finish(ends ? &trailer : nullptr, memory.data(), memory.size());
    check(info.imageOffset + info.deliveredSize <= memory.size(), "delivered outside the memory");
    for (const core::ChunkPlace& chunk : info.chunks) {
        check(chunk.offset + chunk.size <= memory.size(), "a chunk outside the memory");
    }
}

void descriptors(Dice& dice)
{
    Bytes bytes(dice() % 40);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(dice() % 4 == 0 ? dice() : dice() % 25);
    }
    if (bytes.size() > 24 && dice() % 2 == 0) {
        bytes[4] = 20;
        bytes[5] = 0x24;
        bytes[6] = 1;
        bytes[0] = 4;
    }
    wire::CameraStrings strings;
    static_cast<void>(wire::readCameraStrings(bytes.data(), bytes.size(), &strings));

    Bytes event = packet(0x45563355, 12 + dice() % 60);
    base::storeLittle(&event[6], std::uint16_t{0x0C00});
    base::storeLittle(&event[8], static_cast<std::uint16_t>(event.size() - 12));
    event = mutated(event, dice);
    wire::readEvents(event.data(), event.size(),
                     [&](std::uint16_t, const std::uint8_t* data, std::size_t size) {
                         check(data >= event.data() && data + size <= event.data() + event.size(),
                               "an event outside its packet");
                     });
}

/// A camera whose answers are mostly damaged; it never makes its host wait.
class Liar final : public ControlPipe
{
public:
    explicit Liar(Dice& dice) : dice_(dice) {}
    UsbResult send(const std::uint8_t* bytes, std::size_t, unsigned) override
    {
        const auto kind = base::loadLittle<std::uint16_t>(bytes + 6);
        const std::size_t count = kind == 0x0800 ? base::loadLittle<std::uint16_t>(bytes + 22) : 0;
        Bytes answer(bytes, bytes + 12);
        base::storeLittle(&answer[4], std::uint16_t{0});
        base::storeLittle(&answer[6], static_cast<std::uint16_t>(kind + 1));
        base::storeLittle(&answer[8], static_cast<std::uint16_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            answer.push_back(static_cast<std::uint8_t>(dice_() % 5 == 0 ? dice_() : 0));
        }
        answer_ = dice_() % 8 == 0 ? mutated(answer, dice_) : answer;
        return dice_() % 200 == 0 ? UsbResult::Stalled : UsbResult::Ok;
    }
    UsbResult receive(std::uint8_t* bytes, std::size_t capacity, unsigned,
                      std::size_t* got) override
    {
        if (answer_.size() > capacity) {
            return UsbResult::Overflow;
        }
        std::copy(answer_.begin(), answer_.end(), bytes);
        *got = answer_.size();
        return dice_() % 200 == 0 ? UsbResult::Failed : UsbResult::Ok;
    }
    void clearHalts() override {}

private:
    Dice& dice_;
    Bytes answer_;
};

void answers(Dice& dice)
{
    Liar liar(dice);
    ControlChannel channel(liar, [] {});
    channel.setLimits({static_cast<std::uint32_t>(dice()), static_cast<std::uint32_t>(dice()), 0});
    CameraRegisters registers(channel);
    static_cast<void>(registers.readBootstrap());
    wire::StreamNeeds needs;
    wire::TransferPlan plan;
    if (registers.readNeeds(&needs) == ZelErr::kOk &&
        wire::planTransfers(needs, 1 << 20, &plan) == ZelErr::kOk) {
        static_cast<void>(registers.program(plan));
    }
    static_cast<void>(registers.userDefinedName());
}

/// Counts what it gets; every frame lies in its memory.
class Sink final : public core::StreamSink
{
public:
    void bufferDone(core::BufferToken token, core::FrameInfo info) override
    {
        check(info.imageOffset + info.deliveredSize <= kSize, "delivered outside the buffer");
        complete += info.incomplete || info.empty ? 0 : 1;
        const base::Lock lock(mutex);
        back.push_back(token);
    }
    void streamBroken(ZelCamErr) override {}

    static constexpr std::size_t kSize = 1440 * 1080;
    std::atomic<std::uint64_t> complete{0};
    base::Mutex mutex;
    std::vector<core::BufferToken> back;
};

/// Frames through the receiver, most of them damaged; whole ones behind them arrive.
void stream(Dice& dice, std::uint64_t rounds)
{
    Usb3Interface interface;
    std::vector<core::DeviceDescription> devices;
    check(interface.updateDevices(0, &devices) == ZelErr::kOk && !devices.empty(), "enumeration");
    std::unique_ptr<core::TransportDevice> device;
    check(interface.openDevice(devices[0].id, &device) == ZelErr::kOk, "opening");
    Sink sink;
    std::unique_ptr<core::TransportStream> stream;
    check(device->openStream(0, &sink, &stream) == ZelErr::kOk, "stream");
    std::vector<Bytes> memory(6, Bytes(Sink::kSize));
    for (std::size_t i = 0; i < memory.size(); ++i) {
        check(stream->announce(i + 1, memory[i].data(), memory[i].size()) == ZelErr::kOk &&
                  stream->queue(i + 1) == ZelErr::kOk,
              "queue");
    }
    check(stream->start(~std::uint64_t{0}) == ZelErr::kOk, "start");
    const auto requeue = [&] {
        std::vector<core::BufferToken> tokens;
        {
            const base::Lock lock(sink.mutex);
            tokens.swap(sink.back);
        }
        for (const core::BufferToken token : tokens) {
            check(stream->queue(token) == ZelErr::kOk, "queue again");
        }
    };
    const auto send = [](const Bytes& bytes) { zel_usb3_raw(0, bytes.data(), bytes.size()); };
    std::uint64_t id = 0;
    for (std::uint64_t round = 0; round < rounds; ++round) {
        const std::uint32_t height = 1 + static_cast<std::uint32_t>(dice() % 8);
        const Bytes payload(std::size_t{100} * height, 7);
        const auto damaged = [&dice](const Bytes& bytes) {
            return dice() % 4 == 0 ? mutated(bytes, dice) : bytes;
        };
        ++id;
        if (dice() % 10 != 0) {
            send(damaged(leaderOf(id, 100, height, dice() % 4 == 0 ? 0x4001 : 1)));
        }
        if (dice() % 10 != 0) {
            send(damaged(payload));
        }
        if (dice() % 10 != 0) {
            send(damaged(trailerOf(id, payload.size())));
        }
        if (dice() % 1000 == 0) {
            send(Bytes((2U << 20U) + 5, 1));
        }
        requeue();
        if (dice() % 5000 == 0) {
            check(stream->discardAll() == ZelErr::kOk && stream->stop(false) == ZelErr::kOk,
                  "stop");
            {
                const base::Lock lock(sink.mutex);
                sink.back.clear();
            }
            check(stream->start(~std::uint64_t{0}) == ZelErr::kOk, "start again");
            for (std::size_t i = 0; i < memory.size(); ++i) {
                static_cast<void>(stream->queue(i + 1));
            }
        }
    }
    const std::uint64_t before = sink.complete;
    for (int i = 0; i < 2000 && sink.complete < before + 5; ++i) {
        send(leaderOf(++id, 100, 2, 1));
        send(Bytes(200, 7));
        send(trailerOf(id, 200));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        requeue();
    }
    check(sink.complete >= before + 5, "whole frames arrive after all that");
    check(stream->stop(false) == ZelErr::kOk, "stop");
    std::printf("%llu frames whole\n", static_cast<unsigned long long>(sink.complete));
    stream.reset();
}

} // namespace

int main(int argc, char** argv)
{
    const std::uint64_t rounds = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000000;
    Dice dice(argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1);
    for (std::uint64_t i = 0; i < rounds; ++i) {
        frames(dice);
        descriptors(dice);
        if (i % 20 == 0) {
            answers(dice); // about twenty commands
        }
    }
    stream(dice, rounds / 10);
    return 0;
}
