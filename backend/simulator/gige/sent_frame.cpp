#include "simulator/gige/sent_frame.h"

#include "gige/wire/gvcp.h"
#include "gige/wire/leader.h"

#include <algorithm>

namespace simulator::gige
{

namespace
{

constexpr std::uint64_t kShortIds = 65535;
constexpr std::uint32_t kFarId = 0xFFFFF0;
constexpr std::size_t kCutBody = 6;

void setHeader(const wire::StreamHeader& header, PacketView* view)
{
    wire::Writer writer(view->header.data(), view->header.size());
    wire::writeStreamHeader(header, &writer);
    view->headerSize = writer.size();
}

std::uint16_t payloadTypeOf(const FrameLayout& layout)
{
    return layout.chunkLayoutId == 0
               ? wire::payload::kImage
               : static_cast<std::uint16_t>(wire::payload::kImage | wire::payload::kChunksAppended);
}

} // namespace

std::uint64_t blockIdOf(std::uint64_t frameId, bool extended)
{
    return extended ? frameId + 1 : frameId % kShortIds + 1;
}

PacketView emptyPacket(std::uint16_t status, std::uint64_t blockId, std::uint32_t packetId,
                       bool extended)
{
    wire::StreamHeader header;
    header.status = status;
    header.extended = extended;
    header.blockId = blockId;
    header.packetId = packetId;
    PacketView view;
    setHeader(header, &view);
    return view;
}

SentFrame::SentFrame(std::shared_ptr<const FrameMemory> memory, const FrameLayout& layout,
                     const FramePlan& plan, PacketForm form, const NetworkFaults& lies)
    : memory_(std::move(memory)), size_(std::min<std::size_t>(layout.size, memory_->size())),
      blockId_(blockIdOf(plan.frameId, form.extended)), form_(form),
      data_(static_cast<std::uint32_t>(wire::packetData(form.packetSize, form.extended)))
{
    payloadPackets_ = data_ == 0 ? 0 : static_cast<std::uint32_t>((size_ + data_ - 1) / data_);
    lastPayload_ = payloadPackets_;
    std::uint32_t lines = layout.height;
    if (plan.incomplete && plan.lines < layout.height && data_ != 0) {
        lines = static_cast<std::uint32_t>(plan.lines);
        lastPayload_ = static_cast<std::uint32_t>(layout.imageSize / layout.height * lines / data_);
    }
    makeLeader(layout, lies.leader);
    makeTrailer(layout, lines, lies.trailer);
}

void SentFrame::makeLeader(const FrameLayout& layout, LeaderLie lie)
{
    wire::Leader leader;
    leader.payloadType = payloadTypeOf(layout);
    leader.timestamp = layout.timestampNs;
    leader.image = {
        layout.pixelFormat, layout.width, layout.height, layout.offsetX, layout.offsetY, 0, 0};
    switch (lie) {
    case LeaderLie::HugeSize:
        leader.image.width = leader.image.height = 0xFFFFFFFF;
        break;
    case LeaderLie::ZeroSize:
        leader.image.width = leader.image.height = 0;
        break;
    case LeaderLie::OtherFormat:
        leader.image.pixelFormat = 0x0BADF00D;
        break;
    default:
        break;
    }
    wire::Writer writer(leader_.data(), leader_.size());
    wire::writeLeader(leader, nullptr, &writer);
    leaderSize_ = lie == LeaderLie::Short ? kCutBody : writer.size();
    if (lie == LeaderLie::OtherType) {
        leader_[2] = 0x3F;
    }
}

void SentFrame::makeTrailer(const FrameLayout& layout, std::uint32_t lines, TrailerLie lie)
{
    wire::Trailer trailer;
    trailer.payloadType = payloadTypeOf(layout);
    trailer.height = lie == TrailerLie::HugeHeight ? 0xFFFFFFFF : lines;
    trailer.chunkLength = static_cast<std::uint32_t>(layout.chunkBytes);
    trailer.chunkLayoutId = static_cast<std::uint32_t>(layout.chunkLayoutId);
    wire::Writer writer(trailer_.data(), trailer_.size());
    wire::writeTrailer(trailer, &writer);
    trailerSize_ = lie == TrailerLie::Short ? kCutBody / 2 : writer.size();
    if (lie == TrailerLie::OtherType) {
        trailer_[2] = 0x3F;
    }
    trailerIsFar_ = lie == TrailerLie::FarId;
}

bool SentFrame::has(std::uint32_t packetId) const
{
    return packetId <= lastPayload_ || packetId == trailerId();
}

void SentFrame::packet(std::uint32_t packetId, bool resent, PacketView* view) const
{
    wire::StreamHeader header;
    header.extended = form_.extended;
    header.blockId = blockId_;
    header.packetId = packetId;
    if (resent) {
        header.status = wire::status::kPacketResend;
        header.flags = wire::kPacketResent;
    }
    if (packetId == 0) {
        header.format = wire::Format::Leader;
        view->body = {leader_.data(), leaderSize_};
    } else if (packetId == trailerId()) {
        header.format = wire::Format::Trailer;
        header.packetId = trailerIsFar_ ? kFarId : packetId;
        view->body = {trailer_.data(), trailerSize_};
    } else {
        const std::size_t offset = std::size_t{packetId - 1} * data_;
        view->body = wire::Bytes(memory_->data(), size_).from(offset).first(data_);
    }
    setHeader(header, view);
}

} // namespace simulator::gige
