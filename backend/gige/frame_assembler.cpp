#include "gige/frame_assembler.h"

#include "base/log.h"
#include "gige/wire/gvcp.h"

#include <algorithm>
#include <new>

namespace gige
{

namespace
{

using wire::Bytes;
using wire::Format;

constexpr std::uint64_t kTurn = 65535; ///< Ids of 16 bits run from 1 to this and begin again.
// A block whose first packet is further in than this began before we listened.
constexpr std::uint32_t kJoinSlack = 32;
// A block this far ahead must show its leader before it is believed.
constexpr std::uint64_t kPlausibleJump = 1000;
// A leader this far back is no late packet: the device counts from the beginning again.
constexpr std::uint64_t kLateness = 64;
// A frame at its end that nothing follows is asked for after the time of so many packets, within
// these bounds.
constexpr int kTailPackets = 128;
constexpr std::chrono::milliseconds kShortestTailSilence{2};
constexpr std::chrono::milliseconds kLongestTailSilence{20};
// Unless so much is missing that the sender rather pauses.
constexpr std::uint32_t kLongestTail = 64;

} // namespace

void FrameAssembler::start(const Settings& settings)
{
    settings_ = settings;
    open_.reserve(kMostOpen + 1); // What is begun has room, whatever becomes of the memory.
    spare_.reserve(kMostOpen + 1);
    packetData_[0] = wire::packetData(settings.packetSize, false);
    packetData_[1] = wire::packetData(settings.packetSize, true);
    forget();
    joined_ = false;
    usualPackets_ = 0;
    roundTrip_ = roundTripSpread_ = {};
}

void FrameAssembler::forget()
{
    begun_ = false;
    newest_ = closed_ = newestTimestamp_ = 0;
}

std::uint64_t FrameAssembler::numberOf(const wire::StreamHeader& header) const
{
    if (header.extended || !begun_) {
        return header.blockId;
    }
    const std::uint64_t position = (newest_ - 1) % kTurn + 1;
    const std::uint64_t step = (header.blockId + kTurn - position) % kTurn;
    if (step <= kTurn / 2) {
        return newest_ + step;
    }
    const std::uint64_t back = kTurn - step;
    return back < newest_ ? newest_ - back : 0;
}

bool FrameAssembler::isRestart(const wire::StreamHeader& header, Bytes data,
                               std::uint64_t number) const
{
    wire::Leader leader;
    if (header.format != Format::Leader || !wire::readLeader(header, data, &leader)) {
        return false;
    }
    return closed_ - number > kLateness ||
           (newestTimestamp_ != 0 && leader.timestamp > newestTimestamp_);
}

Block* FrameAssembler::find(const wire::StreamHeader& header, Bytes data, Clock::time_point now)
{
    std::uint64_t number = numberOf(header);
    for (const auto& block : open_) {
        if (block->number() == number) {
            return block->extended() == header.extended ? block.get() : nullptr;
        }
    }
    if (begun_ && number <= closed_) {
        if (!isRestart(header, data, number)) {
            return nullptr;
        }
        while (!open_.empty()) {
            close(0);
        }
        forget();
        number = header.blockId;
    }
    const bool leads = header.format == Format::Leader || header.format == Format::AllIn;
    // A leader after its packets is that of a new acquisition, whose ids begin again.
    if (joined_ && !begun_ && !leads && header.blockId == joinedId_) {
        return nullptr;
    }
    if (!begun_ && !leads && header.packetId > kJoinSlack) {
        joined_ = true;
        joinedId_ = header.blockId;
        return nullptr;
    }
    if (begun_ && !leads && number > newest_ + kPlausibleJump) {
        ++numbers_.malformed;
        return nullptr;
    }
    return open(number, header, now);
}

Block* FrameAssembler::open(std::uint64_t number, const wire::StreamHeader& header,
                            Clock::time_point now)
{
    if (!begun_) {
        begun_ = true;
        newest_ = number;
        closed_ = number - 1;
    } else if (number > newest_) {
        numbers_.lost += number - newest_ - 1;
        newest_ = number;
        endOlder(number, now);
    } else if (numbers_.lost > 0) {
        --numbers_.lost; // It only came late.
    }
    if (open_.size() >= kMostOpen) {
        close(0);
        if (number <= closed_) {
            return nullptr;
        }
    }
    std::unique_ptr<Block> block;
    if (spare_.empty()) {
        block = std::make_unique<Block>();
    } else {
        block = std::move(spare_.back());
        spare_.pop_back();
    }
    const Place place = road_.takePlace();
    if (place.memory == nullptr) {
        ++numbers_.underruns;
    }
    try {
        block->open(number, header.blockId, header.extended, place,
                    packetData_[header.extended ? 1 : 0], now);
    } catch (const std::bad_alloc&) {
        if (place.memory != nullptr) {
            road_.givePlace(place);
        }
        throw;
    }
    const auto at = std::find_if(open_.begin(), open_.end(),
                                 [number](const auto& other) { return other->number() > number; });
    Block* const opened = block.get();
    const bool late = at != open_.end();
    open_.insert(at, std::move(block));
    if (late) {
        opened->end(settings_.resend, now);
    }
    return opened;
}

void FrameAssembler::endOlder(std::uint64_t number, Clock::time_point now)
{
    for (const auto& block : open_) {
        if (block->number() < number) {
            block->end(settings_.resend, now);
        }
    }
}

void FrameAssembler::take(Bytes packet, Clock::time_point now)
{
    ++numbers_.packets;
    wire::StreamHeader header;
    if (!wire::parseStreamHeader(packet, &header)) {
        ++numbers_.malformed;
        return;
    }
    takeContained(header, packet.from(header.size()), now);
}

void FrameAssembler::take(Bytes headerBytes, Bytes data, Clock::time_point now)
{
    ++numbers_.packets;
    wire::StreamHeader header;
    if (!wire::parseStreamHeader(headerBytes, &header)) {
        ++numbers_.malformed;
        return;
    }
    takeContained(header, data, now);
}

void FrameAssembler::takeContained(const wire::StreamHeader& header, Bytes data,
                                   Clock::time_point now)
{
    try {
        takeWhole(header, data, now);
    } catch (const std::bad_alloc&) {
        ++numbers_.dropped; // As if it had not come: it can be asked for.
    }
}

void FrameAssembler::takeWhole(const wire::StreamHeader& header, Bytes data, Clock::time_point now)
{
    if (header.blockId == 0) {
        return; // A test packet.
    }
    if (header.isError()) {
        const std::uint64_t number = numberOf(header);
        for (const auto& block : open_) {
            if (block->number() == number) {
                block->refuse(header);
            }
        }
        return;
    }
    Block* const block = find(header, data, now);
    if (block == nullptr) {
        // A frame with all its pixels has not waited for its trailer.
        numbers_.duplicate += header.format != Format::Trailer ? 1 : 0;
        return;
    }
    const bool hadLeader = block->hasLeader();
    switch (block->take(header, data, settings_.resend, now)) {
    case PacketFate::Taken:
        break;
    case PacketFate::Duplicate:
        ++numbers_.duplicate;
        return;
    case PacketFate::Malformed:
        ++numbers_.malformed;
        return;
    }
    const bool again =
        header.status == wire::status::kPacketResend || (header.flags & wire::kPacketResent) != 0;
    numbers_.resent += again ? 1 : 0;
    // Not every camera marks what it sends again; what comes behind the newest packet was missing.
    if (again || (block->asked() > 0 && header.packetId + 1 < block->nextIndex())) {
        learnRoundTrip(block->takeRoundTrip(now));
    }
    if (!hadLeader && block->hasLeader()) {
        newestTimestamp_ = std::max(newestTimestamp_, block->leader().timestamp);
        if (block->isUnusable() && block->place().memory != nullptr) {
            base::log(base::LogChannel::Gige, "payload type 0x%04x is no picture",
                      block->leader().payloadType);
            ++numbers_.unusable;
            road_.givePlace(block->takePlace());
        }
    }
    if (open_.front()->isDone()) {
        closeDone();
    }
}

/// An answer is not overdue before the time that answers take here.
void FrameAssembler::learnRoundTrip(Clock::duration trip)
{
    if (trip == Clock::duration::zero()) {
        return;
    }
    const auto now = std::chrono::duration_cast<std::chrono::microseconds>(trip);
    if (roundTrip_.count() == 0) {
        roundTrip_ = now;
        roundTripSpread_ = now / 2;
    } else {
        roundTripSpread_ += (std::chrono::abs(now - roundTrip_) - roundTripSpread_) / 4;
        roundTrip_ += (now - roundTrip_) / 8;
    }
    settings_.resend.again = std::clamp(roundTrip_ + 2 * roundTripSpread_,
                                        ResendRules::kShortestAgain, ResendRules::kLongestAgain);
}

void FrameAssembler::closeDone()
{
    while (!open_.empty() && open_.front()->isDone()) {
        close(0);
    }
}

void FrameAssembler::close(std::size_t index)
{
    std::unique_ptr<Block> block = std::move(open_[index]);
    open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(index));
    closed_ = std::max(closed_, block->number());
    if (block->place().memory != nullptr) {
        const bool whole = block->isWhole();
        if (whole) {
            packetData_[block->extended() ? 1 : 0] = block->packetData();
            usualPackets_ = block->nextIndex();
        } else {
            numbers_.missing += block->missingCount();
        }
        hand(*block);
    }
    spare_.push_back(std::move(block));
}

void FrameAssembler::hand(Block& block)
{
    core::FrameInfo info;
    try {
        info = block.finish(settings_.tickFrequency);
    } catch (const std::bad_alloc&) {
        ++numbers_.lost;
        road_.givePlace(block.takePlace());
        return;
    }
    ++numbers_.delivered;
    numbers_.incomplete += info.incomplete ? 1 : 0;
    road_.deliver(block.takePlace().token, std::move(info));
}

/// A leader alone may be there long before its frame.
bool FrameAssembler::mayWait(const Block& block) const
{
    return block.hasLeader() && block.nextIndex() == 1 && !block.isEnded() &&
           block.place().memory != nullptr;
}

bool FrameAssembler::mayAskForTail(const Block& block) const
{
    return settings_.resend.enabled && !mayWait(block) && !block.isEnded() &&
           block.remaining() > 0 && block.remaining() <= kLongestTail && !block.tailAsked();
}

Clock::duration FrameAssembler::tailSilence(const Block& block) const
{
    const Clock::duration packets =
        (block.lastPacket() - block.opened()) / std::max(block.nextIndex(), 1U) * kTailPackets;
    return std::clamp<Clock::duration>(packets, kShortestTailSilence, kLongestTailSilence);
}

std::uint32_t FrameAssembler::remaining() const
{
    if (open_.empty() || open_.back()->place().memory == nullptr) {
        return 0;
    }
    const Block& block = *open_.back();
    const std::uint32_t known = block.remaining();
    // Frames whose leader does not tell their length are as long as the one before.
    return known != 0 || block.isEnded()
               ? known
               : usualPackets_ - std::min(usualPackets_, block.nextIndex());
}

void FrameAssembler::runTimers(Clock::time_point now)
{
    for (const auto& block : open_) {
        const auto silence = now - block->lastPacket();
        if (silence > settings_.retention && !mayWait(*block)) {
            block->plan().clear();
            block->end(settings_.resend, now);
            block->plan().clear();
            continue;
        }
        if (mayAskForTail(*block) && silence > tailSilence(*block)) {
            // A sender that only pauses refuses, and that does no harm. Asked for again and again
            // they would use up what the frame may ask for.
            block->setTailAsked();
            block->plan().addGuess(block->nextIndex(), block->nextIndex() + block->remaining() - 1,
                                   settings_.resend, now);
        }
        block->plan().run(
            now, settings_.resend,
            [&](std::uint32_t first, std::uint32_t last, auto&& emit) {
                block->missing(first, last, emit);
            },
            [&](std::uint32_t first, std::uint32_t last, bool again) {
                const std::uint32_t count = last == ResendPlan::kToEnd ? 1 : last - first + 1;
                const std::uint32_t budget = block->resendBudget();
                if (!again && count > budget - std::min(block->asked(), budget)) {
                    return false;
                }
                block->countAsked(again ? 0 : count, now);
                ++numbers_.requests;
                numbers_.asked += count;
                road_.requestResend(block->rawId(), block->extended(), first, last);
                return true;
            });
    }
    closeDone();
}

Clock::time_point FrameAssembler::due() const
{
    Clock::time_point due = Clock::time_point::max();
    for (const auto& block : open_) {
        if (block->isDone()) {
            continue; // It waits for an older one.
        }
        due = std::min(due, block->plan().due());
        if (!mayWait(*block)) {
            due = std::min(due, block->lastPacket() + settings_.retention);
        }
        if (mayAskForTail(*block)) {
            due = std::min(due, block->lastPacket() + tailSilence(*block));
        }
    }
    return due;
}

void FrameAssembler::abandon()
{
    // The newest one first, so that the oldest one's memory is taken first again.
    while (!open_.empty()) {
        std::unique_ptr<Block> block = std::move(open_.back());
        open_.pop_back();
        if (block->place().memory != nullptr) {
            road_.givePlace(block->takePlace());
        }
        spare_.push_back(std::move(block));
    }
}

FrameAssembler::Ahead FrameAssembler::ahead() const
{
    Ahead ahead;
    if (open_.empty()) {
        return ahead;
    }
    const Block& block = *open_.back();
    std::uint32_t first = 0;
    ahead.memory = block.ahead(&first, &ahead.size);
    ahead.firstPacket = first;
    ahead.rawId = block.rawId();
    ahead.extended = block.extended();
    ahead.packetData = block.packetData();
    ahead.header = block.extended() ? wire::kExtendedStreamHeader : wire::kStreamHeader;
    return ahead;
}

} // namespace gige
