// One frame that is being put together from its packets.
#pragma once

#include "core/transport.h"
#include "gige/resend_plan.h"
#include "gige/wire/leader.h"

#include <array>
#include <cstdint>
#include <vector>

namespace gige
{

/// Memory of core's that a frame goes into; none: nobody waits for the frame.
struct Place {
    core::BufferToken token = 0;
    std::uint8_t* memory = nullptr;
    std::size_t size = 0;
};

/// What became of a packet.
enum class PacketFate { Taken, Duplicate, Malformed };

/// Puts each packet at its place in the announced memory. How large a frame is follows from the
/// memory, the leader and the trailer within it, never from a packet's id alone; nothing is written
/// outside the memory whatever the packets say. One thread.
class Block
{
public:
    /// Begins anew. `packetData`: bytes in each payload packet but the last. `place` without
    /// memory: packets are accepted and dropped.
    void open(std::uint64_t number, std::uint64_t rawId, bool extended, const Place& place,
              std::size_t packetData, Clock::time_point now);

    std::uint64_t number() const { return number_; }
    std::uint64_t rawId() const { return rawId_; }
    bool extended() const { return extended_; }
    const Place& place() const { return place_; }
    /// Takes the memory away: the frame goes nowhere.
    Place takePlace();

    /// A packet of this block; `data` is what follows the header, and may lie where it belongs
    /// already.
    PacketFate take(const wire::StreamHeader& header, wire::Bytes data, const ResendRules& rules,
                    Clock::time_point now);
    /// The device cannot send a packet again.
    void refuse(const wire::StreamHeader& header);
    /// A newer block has begun, or nothing comes any more: what is missing now is missing.
    void end(const ResendRules& rules, Clock::time_point now);

    bool hasLeader() const { return hasLeader_; }
    const wire::Leader& leader() const { return leader_; }
    /// A payload that is no picture.
    bool isUnusable() const { return unusable_; }
    /// Everything is there.
    bool isWhole() const;
    /// Everything that can still come is there.
    bool isDone() const { return isWhole() || (ended_ && plan_.empty()); }
    bool isEnded() const { return ended_; }
    Clock::time_point opened() const { return opened_; }
    Clock::time_point lastPacket() const { return lastPacket_; }
    /// Whether its end was asked for without a sign that it was sent.
    bool tailAsked() const { return tailAsked_; }
    void setTailAsked() { tailAsked_ = true; }
    ResendPlan& plan() { return plan_; }
    const ResendPlan& plan() const { return plan_; }
    /// Index behind the highest one that came.
    std::uint32_t nextIndex() const { return next_; }
    std::uint32_t missingCount() const;
    /// Calls emit(first, last) for the missing ones of a range, leader and trailer included.
    template <class Emit> void missing(std::uint32_t first, std::uint32_t last, Emit&& emit) const;
    /// Packets that may be asked for before the frame is given up; each of them as often as the
    /// rules allow.
    std::uint32_t resendBudget() const { return (lastIndex() + 1) / 4 + 32; }
    std::uint32_t asked() const { return asked_; }
    void countAsked(std::uint32_t packets, Clock::time_point now)
    {
        asked_ += packets;
        askedAt_ = askedAt_ != Clock::time_point{} ? askedAt_ : now;
    }
    /// Time since packets were first asked for; once for each frame, at the first of them that
    /// came, 0 otherwise: requests that were sent twice tell nothing of the time that an answer
    /// takes.
    Clock::duration takeRoundTrip(Clock::time_point now)
    {
        const bool measured = askedAt_ != Clock::time_point{} && !answered_;
        answered_ = answered_ || measured;
        return measured ? now - askedAt_ : Clock::duration::zero();
    }

    std::size_t packetData() const { return packetData_; }
    /// Where the packets after the highest one belong: memory for the data of packet `*first` and
    /// those behind it; nothing while that cannot be foretold.
    std::uint8_t* ahead(std::uint32_t* first, std::size_t* size) const;
    /// Payload packets that are still expected; 0: unknown or none.
    std::uint32_t remaining() const;

    /// Fills what is missing with zeros and tells what the frame is. `tickFrequency` 0: unknown.
    core::FrameInfo finish(std::uint64_t tickFrequency);

private:
    /// One part of a multi-part payload: which packets carry it, and where it goes.
    struct Part {
        std::uint32_t first;
        std::uint32_t last;
        std::size_t offset;
        std::size_t size;
    };
    static constexpr std::size_t kMostParts = 16;

    PacketFate takeLeader(const wire::StreamHeader& header, wire::Bytes body);
    PacketFate takeTrailer(const wire::StreamHeader& header, wire::Bytes body);
    PacketFate takeAllIn(const wire::StreamHeader& header, wire::Bytes body);
    PacketFate takePayload(std::uint32_t index, wire::Bytes data, const ResendRules& rules,
                           Clock::time_point now);
    void adopt(std::uint32_t index, std::size_t size);
    void dimension();
    void measure();
    bool layParts();
    bool locate(std::uint32_t index, std::size_t* offset, std::size_t* size) const;
    void reached(std::uint32_t index, const ResendRules& rules, Clock::time_point now);
    bool seen(std::uint32_t index) const { return (bits_[index / 64] >> index % 64 & 1U) != 0; }
    void mark(std::uint32_t index) { bits_[index / 64] |= std::uint64_t{1} << index % 64; }
    std::uint32_t lastIndex() const { return last_ != 0 || next_ == 0 ? last_ : next_ - 1; }
    std::size_t expectedSize() const;

    std::uint64_t number_ = 0;
    std::uint64_t rawId_ = 0;
    bool extended_ = false;
    Place place_;
    std::size_t packetData_ = 0;

    bool hasLeader_ = false;
    bool hasTrailer_ = false;
    bool unusable_ = false;
    bool tooLarge_ = false; ///< For its memory: it cannot become whole.
    bool ended_ = false;
    bool allIn_ = false;
    bool tailAsked_ = false;
    wire::Leader leader_; ///< Its views are empty: they borrowed from the packet.
    wire::Trailer trailer_;
    std::size_t told_ = 0; ///< Bytes of the payload as the leader tells; 0: it does not.
    std::array<Part, kMostParts> parts_{};
    std::size_t partCount_ = 0;
    std::size_t imagePart_ = 0;
    wire::ImageGeometry partImage_;

    std::vector<std::uint64_t> bits_; ///< Index 0: the leader, then the payload packets.
    std::uint32_t limit_ = 0;         ///< Highest index that the memory has room for.
    std::uint32_t last_ = 0;          ///< Index of the last payload packet; 0: not known.
    std::uint32_t next_ = 0;          ///< Behind the highest index that came; 0: nothing came.
    std::uint32_t count_ = 0;         ///< Payload packets that are there.
    std::size_t bytes_ = 0;           ///< Of payload that are there.
    std::size_t end_ = 0;             ///< Behind the last byte that came.
    std::uint32_t asked_ = 0;
    Clock::time_point askedAt_{}; ///< First request; none: not yet.
    bool answered_ = false;       ///< The first of them came.
    Clock::time_point opened_{};
    Clock::time_point lastPacket_{};
    ResendPlan plan_;
};

template <class Emit>
void Block::missing(std::uint32_t first, std::uint32_t last, Emit&& emit) const
{
    if (tooLarge_ || unusable_ || place_.memory == nullptr) {
        return;
    }
    const std::uint32_t known = last_ != 0 ? last_ : limit_;
    const bool open = last == ResendPlan::kToEnd && last_ == 0;
    const std::uint32_t end = std::min(open ? lastIndex() : last, known);
    std::uint32_t begin = first;
    while (begin <= end) {
        if (seen(begin)) {
            ++begin;
            continue;
        }
        std::uint32_t stop = begin;
        while (stop < end && !seen(stop + 1)) {
            ++stop;
        }
        emit(begin, stop);
        begin = stop + 1;
    }
    if (open) {
        emit(std::max(first, next_), ResendPlan::kToEnd);
    }
}

} // namespace gige
