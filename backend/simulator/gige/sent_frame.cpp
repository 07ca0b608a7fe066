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

/// A data type of parts, and what stands in a packet that ends one.
constexpr std::uint16_t kPartChunks = 10;
constexpr std::uint8_t kEndOfPart = 0x40;

std::uint16_t payloadTypeOf(const FrameLayout& layout, const PacketForm& form)
{
    if (form.multiPart) {
        return wire::payload::kMultiPart;
    }
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
      blockId_(blockIdOf(plan.frameId, form.extended)), form_(form)
{
    const std::size_t prefix = form.multiPart ? wire::kPartPrefix : 0;
    data_ = static_cast<std::uint32_t>(
        std::max<std::size_t>(wire::packetData(form.packetSize, form.extended), prefix + 1) -
        prefix);
    layParts(layout);
    lastPayload_ = lastOf(partCount_ - 1);
    std::uint32_t lines = layout.height;
    if (plan.incomplete && plan.lines < layout.height) {
        lines = static_cast<std::uint32_t>(plan.lines);
        lastPayload_ = static_cast<std::uint32_t>(layout.imageSize / layout.height * lines / data_);
    }
    makeLeader(layout, lies.leader);
    makeTrailer(layout, lines, lies.trailer);
    if (form.allIn && !form.multiPart && !plan.incomplete && !trailerIsFar_) {
        packAllIn();
    }
}

/// The image, and the chunks behind its tag.
void SentFrame::layParts(const FrameLayout& layout)
{
    parts_[0].size = size_;
    if (!form_.multiPart) {
        return;
    }
    parts_[0].size = std::min<std::size_t>(layout.imageSize, size_);
    if (layout.chunkOffset != 0 && layout.chunkOffset < size_) {
        parts_[1] = {layout.chunkOffset, size_ - layout.chunkOffset, lastOf(0) + 1};
        partCount_ = 2;
    }
}

void SentFrame::packAllIn()
{
    const std::size_t all = leaderSize_ + trailerSize_ + size_;
    if (all > wire::packetData(form_.packetSize, form_.extended)) {
        return;
    }
    allIn_.reserve(all);
    allIn_.insert(allIn_.end(), leader_.begin(), leader_.begin() + leaderSize_);
    allIn_.insert(allIn_.end(), trailer_.begin(), trailer_.begin() + trailerSize_);
    allIn_.insert(allIn_.end(), memory_->begin(),
                  memory_->begin() + static_cast<std::ptrdiff_t>(size_));
}

void SentFrame::makeLeader(const FrameLayout& layout, LeaderLie lie)
{
    wire::Leader leader;
    leader.payloadType = payloadTypeOf(layout, form_);
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
    std::array<wire::PartEntry, kMostParts> entries;
    entries[0].image = leader.image;
    entries[1].dataType = kPartChunks;
    for (std::size_t i = 0; i < partCount_; ++i) {
        entries.at(i).length = parts_.at(i).size;
    }
    leader.partCount = static_cast<std::uint8_t>(partCount_);
    wire::Writer writer(leader_.data(), leader_.size());
    wire::writeLeader(leader, entries.data(), &writer);
    leaderSize_ = lie == LeaderLie::Short ? kCutBody : writer.size();
    if (lie == LeaderLie::OtherType) {
        leader_[2] = 0x3F;
    }
}

void SentFrame::makeTrailer(const FrameLayout& layout, std::uint32_t lines, TrailerLie lie)
{
    wire::Trailer trailer;
    trailer.payloadType = payloadTypeOf(layout, form_);
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
    return packetId == trailerId() || (!isAllIn() && packetId <= lastPayload_);
}

void SentFrame::payloadPacket(wire::StreamHeader header, PacketView* view) const
{
    const std::size_t index = header.packetId >= parts_[1].first && partCount_ > 1 ? 1 : 0;
    const Part& part = parts_.at(index);
    const std::size_t within = std::size_t{header.packetId - part.first} * data_;
    header.format = form_.multiPart ? wire::Format::MultiPart : wire::Format::Payload;
    wire::Writer writer(view->header.data(), view->header.size());
    wire::writeStreamHeader(header, &writer);
    if (form_.multiPart) {
        wire::PartPrefix prefix;
        prefix.part = static_cast<std::uint8_t>(index);
        prefix.zone = header.packetId == lastOf(index) ? kEndOfPart : 0;
        prefix.offset = (index == 0 ? 0 : parts_[0].size) + within; // from the payload's begin
        wire::writePartPrefix(prefix, &writer);
    }
    view->headerSize = writer.size();
    view->body = wire::Bytes(memory_->data() + part.offset, part.size).from(within).first(data_);
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
    if (isAllIn()) {
        header.format = wire::Format::AllIn;
        view->body = {allIn_.data(), allIn_.size()};
    } else if (packetId == 0) {
        header.format = wire::Format::Leader;
        header.count = static_cast<std::uint8_t>(form_.multiPart ? partCount_ : 0);
        view->body = {leader_.data(), leaderSize_};
    } else if (packetId == trailerId()) {
        header.format = wire::Format::Trailer;
        header.packetId = trailerIsFar_ ? kFarId : packetId;
        view->body = {trailer_.data(), trailerSize_};
    } else {
        return payloadPacket(header, view);
    }
    setHeader(header, view);
}

} // namespace simulator::gige
