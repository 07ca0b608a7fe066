// A USB3 camera: descriptors, leaders, trailers, events, and answers on the control channel.
#include "core/transport.h"
#include "input.h"
#include "usb3/camera_registers.h"
#include "usb3/control_channel.h"
#include "usb3/frame_builder.h"
#include "usb3/wire/event_packet.h"
#include "usb3/wire/frame_packet.h"
#include "usb3/wire/interface_descriptor.h"

namespace
{

using namespace usb3;
using Bytes = std::vector<std::uint8_t>;

void frame(fuzz::Input& input)
{
    const Bytes first = input.piece(input.byte());
    const Bytes last = input.piece(input.byte());
    const Bytes memory = input.piece(input.word() % 512U);
    wire::Leader leader;
    wire::Trailer trailer;
    FrameBuilder builder;
    if (wire::readLeader(first.data(), first.size(), &leader)) {
        builder.setLeader(leader);
    }
    for (int n = input.byte() % 4; n > 0; --n) {
        const std::size_t wanted = input.word() % 600U;
        builder.add(wanted, input.byte() % 2 == 0 ? wanted : input.word() % 600U);
    }
    const bool ends = wire::readTrailer(last.data(), last.size(), &trailer);
    Bytes copy = memory;
    const core::FrameInfo info =
        builder.finish(ends ? &trailer : nullptr, copy.data(), copy.size());
    fuzz::require(info.imageOffset + info.deliveredSize <= copy.size());
    for (const core::ChunkPlace& chunk : info.chunks) {
        fuzz::require(chunk.offset + chunk.size <= copy.size());
    }
}

void descriptor(fuzz::Input& input)
{
    const Bytes bytes = input.piece(input.left());
    wire::CameraStrings strings;
    static_cast<void>(wire::readCameraStrings(bytes.data(), bytes.size(), &strings));
    wire::readEvents(
        bytes.data(), bytes.size(), [&](std::uint16_t, const std::uint8_t* data, std::size_t size) {
            fuzz::require(data >= bytes.data() && data + size <= bytes.data() + bytes.size());
        });
}

/// Answers with what the fuzzer has; once it has nothing more, every command fails.
class Camera final : public ControlPipe
{
public:
    explicit Camera(fuzz::Input& input) : input_(input) {}
    UsbResult send(const std::uint8_t* bytes, std::size_t size, unsigned) override
    {
        answer_.assign(bytes, bytes + std::min<std::size_t>(size, 12));
        const std::uint8_t step = input_.byte();
        if (step < 128) { // a proper head: an acknowledge of this command, with any content
            answer_[4] = answer_[5] = 0;
            answer_[6] = static_cast<std::uint8_t>(answer_[6] + 1);
            const Bytes content = input_.piece(input_.word() % 600U);
            answer_[8] = static_cast<std::uint8_t>(content.size());
            answer_[9] = static_cast<std::uint8_t>(content.size() >> 8U);
            answer_.insert(answer_.end(), content.begin(), content.end());
        } else {
            answer_ = input_.piece(step);
        }
        return input_.left() == 0 ? UsbResult::Failed : UsbResult::Ok;
    }
    UsbResult receive(std::uint8_t* bytes, std::size_t capacity, unsigned,
                      std::size_t* got) override
    {
        if (answer_.size() > capacity) {
            return UsbResult::Overflow;
        }
        std::copy(answer_.begin(), answer_.end(), bytes);
        *got = answer_.size();
        return input_.left() == 0 ? UsbResult::Failed : UsbResult::Ok;
    }
    void clearHalts() override {}

private:
    fuzz::Input& input_;
    Bytes answer_;
};

void control(fuzz::Input& input)
{
    Camera camera(input);
    ControlChannel channel(camera, [] {});
    channel.setLimits({input.word() + 12U, input.word() + 12U, 0});
    CameraRegisters registers(channel);
    static_cast<void>(registers.readBootstrap());
    wire::StreamNeeds needs;
    wire::TransferPlan plan;
    if (registers.readNeeds(&needs) == ZelErr::kOk &&
        wire::planTransfers(needs, 1U << 20U, &plan) == ZelErr::kOk) {
        static_cast<void>(registers.program(plan));
    }
    static_cast<void>(registers.userDefinedName());
    std::string document;
    static_cast<void>(registers.description(&document));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    switch (input.byte() % 3) {
    case 0:
        frame(input);
        break;
    case 1:
        control(input);
        break;
    default:
        descriptor(input);
        break;
    }
    return 0;
}
