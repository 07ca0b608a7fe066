// Makes frames out of the packets of a stream.
#pragma once

#include "gige/block.h"
#include "gige/stream_numbers.h"

#include <memory>
#include <vector>

namespace gige
{

/// Where frames come from and go to; called by the assembler on its thread.
class FrameRoad
{
public:
    virtual ~FrameRoad() = default;
    /// Memory for the next frame; none: nobody waits for one.
    virtual Place takePlace() = 0;
    /// Memory that came back unfilled; it is the next one to be taken.
    virtual void givePlace(const Place& place) = 0;
    virtual void deliver(core::BufferToken token, core::FrameInfo info) = 0;
    /// Packets of a block are to be sent again; ResendPlan::kToEnd as the last one: to its end.
    virtual void requestResend(std::uint64_t rawId, bool extended, std::uint32_t first,
                               std::uint32_t last) = 0;
};

/// Up to four frames are put together at the same time and delivered in their order, each when it
/// is whole or when nothing more of it can be had. Nothing in a packet is believed further than
/// Block says. One thread at a time.
class FrameAssembler
{
public:
    struct Settings {
        std::size_t packetSize = 1500; ///< As the camera's register tells, headers included.
        std::uint64_t tickFrequency = 0;
        ResendRules resend;
        std::chrono::microseconds retention{300000}; ///< Silence that ends an incomplete frame.
    };

    FrameAssembler(FrameRoad& road, StreamNumbers& numbers) : road_(road), numbers_(numbers) {}

    /// Before the first packet of an acquisition.
    void start(const Settings& settings);
    /// A packet: its header's bytes, and what follows them, which may lie where ahead() said.
    void take(wire::Bytes header, wire::Bytes data, Clock::time_point now);
    void take(wire::Bytes packet, Clock::time_point now);
    /// Does what is due; call only when no packet waits, because what waits is not missing.
    void runTimers(Clock::time_point now);
    /// When runTimers() has something to do; max(): nothing.
    Clock::time_point due() const;
    /// Ends all frames under way: their memory goes back, they are not delivered.
    void abandon();

    /// What the next packets will probably be, so that they can be received where they belong.
    struct Ahead {
        std::uint8_t* memory = nullptr; ///< Null: nothing can be foretold.
        std::size_t size = 0;
        std::size_t packetData = 0;
        std::size_t header = 0; ///< Bytes of a packet's header.
        std::uint64_t rawId = 0;
        std::uint32_t firstPacket = 0;
        bool extended = false;
    };
    Ahead ahead() const;
    /// Payload packets that the newest frame still waits for; 0: unknown or none.
    std::uint32_t remaining() const;

private:
    Block* find(const wire::StreamHeader& header, wire::Bytes data, Clock::time_point now);
    Block* open(std::uint64_t number, const wire::StreamHeader& header, Clock::time_point now);
    std::uint64_t numberOf(const wire::StreamHeader& header) const;
    bool isRestart(const wire::StreamHeader& header, wire::Bytes data, std::uint64_t number) const;
    void endOlder(std::uint64_t number, Clock::time_point now);
    bool mayWait(const Block& block) const;
    bool mayAskForTail(const Block& block) const;
    Clock::duration tailSilence(const Block& block) const;
    void learnRoundTrip(Clock::duration trip);
    void closeDone();
    /// What cannot be held for want of memory counts as dropped.
    void takeContained(const wire::StreamHeader& header, wire::Bytes data, Clock::time_point now);
    void takeWhole(const wire::StreamHeader& header, wire::Bytes data, Clock::time_point now);
    void hand(Block& block);
    void close(std::size_t index);
    void forget();

    static constexpr std::size_t kMostOpen = 4;

    FrameRoad& road_;
    StreamNumbers& numbers_;
    Settings settings_;
    std::vector<std::unique_ptr<Block>> open_; ///< By number.
    std::vector<std::unique_ptr<Block>> spare_;
    std::size_t packetData_[2] = {};              ///< Of standard and of extended packets.
    std::chrono::microseconds roundTrip_{};       ///< From a request to its packet; 0: not known.
    std::chrono::microseconds roundTripSpread_{}; ///< How much that swings.
    bool begun_ = false;                          ///< A block was seen.
    bool joined_ = false;                         ///< joinedId_ began before us and is left out.
    std::uint64_t joinedId_ = 0;
    std::uint32_t usualPackets_ = 0; ///< Of the last whole frame.
    std::uint64_t newest_ = 0;
    std::uint64_t closed_ = 0;          ///< Number of the last block that was closed.
    std::uint64_t newestTimestamp_ = 0; ///< Of the leaders so far.
};

} // namespace gige
