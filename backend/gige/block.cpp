#include "gige/block.h"

#include "core/chunk_trailer.h"
#include "gige/wire/gvcp.h"

#include <limits>

namespace gige
{

namespace
{

using wire::Bytes;
using wire::Format;

// Packets beyond those that the memory holds: leader, trailer, a short last packet of each part.
constexpr std::uint32_t kSlack = 18;
// A packet with less data than this does not tell how large all are.
constexpr std::size_t kSmallestPacket = 64;
constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max() / 4;
constexpr std::uint64_t kNanoseconds = 1000000000;

/// Bytes of an image by its description; PFNC codes carry the bits per pixel. kHuge: more than any
/// memory.
std::size_t imageBytes(const wire::ImageGeometry& image)
{
    constexpr std::uint32_t kLongestSide = 1U << 24U;
    const std::uint64_t bits = (image.pixelFormat >> 16U) & 0xFFU;
    if (image.width > kLongestSide || image.height > kLongestSide) {
        return kHuge;
    }
    const std::uint64_t pixels = std::uint64_t{image.width} * image.height;
    return static_cast<std::size_t>((pixels * bits + 7) / 8 +
                                    std::uint64_t{image.xPadding} * image.height + image.yPadding);
}

bool isUsable(std::uint16_t type)
{
    return type == wire::payload::kImage || type == wire::payload::kChunk ||
           type == wire::payload::kExtendedChunk || type == wire::payload::kMultiPart;
}

std::uint64_t toNanoseconds(std::uint64_t ticks, std::uint64_t frequency)
{
    if (frequency == 0) {
        return ticks;
    }
    // In two parts, because the product of all would not fit.
    const std::uint64_t rest = ticks % frequency;
    const std::uint64_t fraction = rest <= std::numeric_limits<std::uint64_t>::max() / kNanoseconds
                                       ? rest * kNanoseconds / frequency
                                       : rest / (frequency / kNanoseconds);
    return ticks / frequency * kNanoseconds + fraction;
}

} // namespace

void Block::open(std::uint64_t number, std::uint64_t rawId, bool extended, const Place& place,
                 std::size_t packetData, Clock::time_point now)
{
    number_ = number;
    rawId_ = rawId;
    extended_ = extended;
    place_ = place;
    packetData_ = std::max(packetData, kSmallestPacket);
    hasLeader_ = hasTrailer_ = unusable_ = tooLarge_ = ended_ = allIn_ = tailAsked_ = false;
    leader_ = {};
    trailer_ = {};
    told_ = partCount_ = imagePart_ = bytes_ = end_ = 0;
    last_ = next_ = count_ = asked_ = 0;
    askedAt_ = {};
    answered_ = false;
    opened_ = lastPacket_ = now;
    plan_.clear();
    bits_.clear();
    dimension();
}

void Block::dimension()
{
    const std::size_t packets = (place_.size + packetData_ - 1) / packetData_ + kSlack;
    limit_ = static_cast<std::uint32_t>(std::min<std::size_t>(packets, 0x7FFFFFFF));
    bits_.resize(limit_ / 64 + 1, 0);
}

Place Block::takePlace()
{
    const Place place = place_;
    place_ = {};
    return place;
}

PacketFate Block::take(const wire::StreamHeader& header, Bytes data, const ResendRules& rules,
                       Clock::time_point now)
{
    lastPacket_ = now;
    if (place_.memory == nullptr) {
        hasTrailer_ = ended_ = ended_ || header.format == Format::Trailer;
        return PacketFate::Taken;
    }
    PacketFate fate = PacketFate::Malformed;
    switch (header.format) {
    case Format::Leader:
        fate = takeLeader(header, data);
        if (fate == PacketFate::Taken) {
            reached(0, rules, now);
        }
        break;
    case Format::Trailer:
        fate = takeTrailer(header, data);
        if (fate == PacketFate::Taken && !tooLarge_) {
            if (last_ >= next_) {
                plan_.add(next_, last_, rules, now);
            }
            next_ = last_ + 1;
            plan_.endAt(last_);
        }
        break;
    case Format::AllIn:
        fate = takeAllIn(header, data);
        break;
    case Format::Payload:
        fate = takePayload(header.packetId, data, rules, now);
        break;
    case Format::MultiPart:
        // Where its data belongs is told by the leader.
        if (partCount_ > 0) {
            fate = takePayload(header.packetId, data.from(wire::kPartPrefix), rules, now);
        } else if (header.packetId > 0 && header.packetId < limit_) {
            reached(header.packetId + 1, rules, now);
            fate = PacketFate::Taken;
        }
        break;
    default:
        break;
    }
    return fate;
}

void Block::reached(std::uint32_t index, const ResendRules& rules, Clock::time_point now)
{
    if (index > next_) {
        plan_.add(next_, index - 1, rules, now);
    }
    next_ = std::max(next_, index + 1);
}

PacketFate Block::takeLeader(const wire::StreamHeader& header, Bytes body)
{
    if (hasLeader_) {
        return PacketFate::Duplicate;
    }
    wire::Leader leader;
    if (!wire::readLeader(header, body, &leader)) {
        return PacketFate::Malformed;
    }
    leader_ = leader;
    hasLeader_ = true;
    mark(0);
    unusable_ =
        !isUsable(leader.type()) || (leader.type() == wire::payload::kMultiPart && !layParts());
    leader_.parts = {};
    leader_.fileName = {};
    measure();
    return PacketFate::Taken;
}

/// How many packets there are, as far as the leader tells.
void Block::measure()
{
    if (partCount_ > 0) {
        last_ = parts_[partCount_ - 1].last;
        return;
    }
    if (!leader_.hasImage) {
        return;
    }
    const std::size_t image = imageBytes(leader_.image);
    tooLarge_ = image > place_.size;
    if (!leader_.hasChunks() && !tooLarge_ && image > 0) {
        told_ = image;
    }
    if (told_ > 0 && !hasTrailer_) {
        const std::size_t packets = (told_ + packetData_ - 1) / packetData_;
        // More have come than it tells: then the trailer has the last word.
        last_ = packets + 1 >= next_ ? static_cast<std::uint32_t>(packets) : 0;
    }
}

bool Block::layParts()
{
    const std::size_t data = packetData_ > wire::kPartPrefix ? packetData_ - wire::kPartPrefix : 0;
    if (leader_.partCount == 0 || leader_.partCount > kMostParts || data == 0) {
        return false;
    }
    bool image = false;
    std::size_t offset = 0;
    std::uint32_t next = 1;
    for (std::size_t i = 0; i < leader_.partCount; ++i) {
        const wire::PartEntry entry = wire::partEntry(leader_, i);
        const std::size_t length = static_cast<std::size_t>(entry.length);
        if (length > place_.size - offset) {
            tooLarge_ = true;
            return false;
        }
        const auto packets = static_cast<std::uint32_t>((length + data - 1) / data);
        parts_[i] = {next, next + packets - 1, offset, length};
        if (!image && entry.dataType == wire::kPartImage) {
            image = imageBytes(entry.image) <= length;
            imagePart_ = i;
            partImage_ = entry.image;
        }
        next += packets;
        offset += length;
    }
    if (next > limit_ || next < 2) {
        return false;
    }
    partCount_ = leader_.partCount;
    return image;
}

PacketFate Block::takeTrailer(const wire::StreamHeader& header, Bytes body)
{
    if (hasTrailer_) {
        return PacketFate::Duplicate;
    }
    const std::uint32_t index = header.packetId;
    // A frame that does not fit has more packets than there is room for.
    const bool fits = index >= next_ && index <= limit_;
    if (!wire::readTrailer(body, &trailer_) || (!fits && !tooLarge_) || index == 0) {
        return PacketFate::Malformed;
    }
    hasTrailer_ = true;
    ended_ = true;
    if (fits) {
        last_ = index - 1;
    }
    return PacketFate::Taken;
}

PacketFate Block::takeAllIn(const wire::StreamHeader& header, Bytes body)
{
    wire::Leader leader;
    Bytes data;
    if (hasLeader_ || count_ > 0) {
        return PacketFate::Duplicate;
    }
    if (!wire::readAllIn(header, body, &leader, &trailer_, &data)) {
        return PacketFate::Malformed;
    }
    leader_ = leader;
    leader_.parts = {};
    leader_.fileName = {};
    hasLeader_ = hasTrailer_ = ended_ = allIn_ = true;
    unusable_ = !isUsable(leader.type());
    measure();
    bytes_ = end_ = std::min(data.size, place_.size);
    std::memcpy(place_.memory, data.data, bytes_);
    tooLarge_ = tooLarge_ || data.size > place_.size;
    return PacketFate::Taken;
}

bool Block::locate(std::uint32_t index, std::size_t* offset, std::size_t* size) const
{
    if (partCount_ > 0) {
        const std::size_t data = packetData_ - wire::kPartPrefix;
        for (std::size_t i = 0; i < partCount_; ++i) {
            const Part& part = parts_[i];
            if (index >= part.first && index <= part.last) {
                const std::size_t within = std::size_t{index - part.first} * data;
                *offset = part.offset + within;
                *size = std::min(data, part.size - std::min(part.size, within));
                return true;
            }
        }
        return false;
    }
    *offset = std::size_t{index - 1} * packetData_;
    *size = std::min(packetData_, place_.size - std::min(place_.size, *offset));
    return true;
}

/// The first payload packet tells how large they are, should the device not keep to what it was
/// told.
void Block::adopt(std::uint32_t index, std::size_t size)
{
    const bool larger = size > packetData_;
    const bool smaller =
        size < packetData_ && size >= kSmallestPacket && index == 1 && told_ > size;
    if (partCount_ == 0 && (larger || smaller)) {
        packetData_ = size;
        dimension();
        measure();
    }
}

PacketFate Block::takePayload(std::uint32_t index, Bytes data, const ResendRules& rules,
                              Clock::time_point now)
{
    if (count_ == 0 && !hasTrailer_) {
        adopt(index, data.size);
    }
    const std::uint32_t highestPossible = hasTrailer_ ? last_ : limit_;
    if (tooLarge_) {
        return PacketFate::Taken; // Its beginning is kept as it came.
    }
    if (index == 0 || index > highestPossible || data.empty()) {
        return PacketFate::Malformed;
    }
    if (seen(index)) {
        return PacketFate::Duplicate;
    }
    std::size_t offset = 0;
    std::size_t size = 0;
    if (!locate(index, &offset, &size)) {
        return PacketFate::Malformed;
    }
    size = std::min(size, data.size);
    if (offset + size > place_.size) {
        size = 0;
    }
    if (size > 0 && data.data != place_.memory + offset) {
        // What was received ahead may lie where it belongs in part.
        std::memmove(place_.memory + offset, data.data, size);
    }
    mark(index);
    ++count_;
    bytes_ += size;
    end_ = std::max(end_, size > 0 ? offset + size : 0);
    if (last_ != 0 && index > last_) {
        last_ = 0; // The leader told of fewer; the trailer will tell.
    }
    reached(index, rules, now);
    return PacketFate::Taken;
}

void Block::refuse(const wire::StreamHeader& header)
{
    namespace status = wire::status;
    if (header.status == status::kPacketNotYetAvailable ||
        header.status == status::kPacketTemporarilyUnavailable ||
        (header.packetId >= next_ && !ended_)) {
        return; // Asked for too early.
    }
    plan_.refuse(header.packetId, header.status == status::kPacketAndPreviousRemoved);
}

void Block::end(const ResendRules& rules, Clock::time_point now)
{
    if (ended_) {
        return;
    }
    ended_ = true;
    if (isWhole() || tooLarge_ || unusable_ || place_.memory == nullptr) {
        return;
    }
    if (last_ == 0) {
        plan_.add(next_, ResendPlan::kToEnd, rules, now);
    } else if (next_ <= last_) {
        plan_.add(next_, last_, rules, now);
    }
}

bool Block::isWhole() const
{
    if (unusable_ || place_.memory == nullptr) {
        return hasTrailer_;
    }
    if (allIn_) {
        return true;
    }
    return hasLeader_ && !tooLarge_ && last_ != 0 && count_ == last_;
}

std::uint32_t Block::missingCount() const
{
    std::uint32_t count = 0;
    missing(0, lastIndex(),
            [&count](std::uint32_t first, std::uint32_t last) { count += last - first + 1; });
    return count;
}

std::uint8_t* Block::ahead(std::uint32_t* first, std::size_t* size) const
{
    const std::uint32_t next = std::max(next_, 1U);
    const std::size_t offset = std::size_t{next - 1} * packetData_;
    const std::size_t end = last_ != 0 && told_ != 0 ? told_ : place_.size;
    if (place_.memory == nullptr || unusable_ || partCount_ > 0 || hasTrailer_ || offset >= end ||
        (last_ != 0 && next > last_)) {
        return nullptr;
    }
    *first = next;
    *size = end - offset;
    return place_.memory + offset;
}

std::uint32_t Block::remaining() const
{
    return last_ >= next_ && last_ != 0 && place_.memory != nullptr ? last_ - next_ + 1 : 0;
}

std::size_t Block::expectedSize() const
{
    if (partCount_ > 0) {
        return parts_[partCount_ - 1].offset + parts_[partCount_ - 1].size;
    }
    if (told_ > 0) {
        return told_;
    }
    if (isWhole()) {
        return end_;
    }
    return place_.size;
}

core::FrameInfo Block::finish(std::uint64_t tickFrequency)
{
    core::FrameInfo info;
    info.frameId = number_;
    info.timestamp = toNanoseconds(leader_.timestamp, tickFrequency);
    const std::size_t expected = expectedSize();
    const bool whole = isWhole();
    if (!whole) {
        missing(1, lastIndex(), [this](std::uint32_t first, std::uint32_t last) {
            for (std::uint32_t index = first; index <= last; ++index) {
                std::size_t offset = 0;
                std::size_t size = 0;
                if (locate(index, &offset, &size) && offset < place_.size) {
                    std::memset(place_.memory + offset, 0, std::min(size, place_.size - offset));
                }
            }
        });
        if (end_ < place_.size) {
            std::memset(place_.memory + end_, 0, place_.size - end_);
        }
    }
    info.incomplete = !whole;
    info.deliveredSize = whole ? std::min(expected, end_) : expected;
    const wire::ImageGeometry& image = partCount_ > 0 ? partImage_ : leader_.image;
    if (leader_.hasImage || partCount_ > 0) {
        const std::size_t wanted = imageBytes(image);
        info.width = image.width;
        info.height = image.height;
        // The lines that were really sent, where fewer packets were; some devices leave it at 0.
        const bool shorter = last_ * packetData_ < told_;
        if (trailer_.hasHeight && shorter && trailer_.height != 0 &&
            trailer_.height < image.height) {
            info.height = trailer_.height;
        }
        info.xOffset = image.xOffset;
        info.yOffset = image.yOffset;
        info.xPadding = image.xPadding;
        info.yPadding = image.yPadding;
        info.pixelFormat = image.pixelFormat;
        if (partCount_ > 0) {
            info.imageOffset = parts_[imagePart_].offset;
            info.deliveredSize = parts_[imagePart_].size;
        }
        const bool allLines = info.height == image.height;
        info.incomplete = info.incomplete || (allLines && info.deliveredSize < wanted);
    }
    if (leader_.hasChunks()) {
        info.chunks = whole ? core::chunkPlaces(place_.memory, end_, true) : info.chunks;
        if (leader_.hasImage) {
            info.deliveredSize =
                std::min<std::uint64_t>(info.deliveredSize, imageBytes(leader_.image));
        } else if (!info.chunks.empty() && info.chunks.front().offset == 0) {
            info.deliveredSize = info.chunks.front().size;
        }
    }
    return info;
}

} // namespace gige
