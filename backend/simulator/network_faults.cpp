#include "simulator/network_faults.h"

namespace simulator
{

namespace
{

constexpr std::int64_t kSilentControl = 1;
constexpr std::int64_t kSilentStream = 2;

Feature& probability(FeatureTable& table, const char* name, const char* toolTip)
{
    return table.real(name, toolTip).unit("%").guru().range(0.0, 100.0);
}

} // namespace

NetworkFaultSection::NetworkFaultSection(CameraContext& context)
{
    declarePackets(context.table);
    declareLies(context.table);
    declareSending(context.table);
}

void NetworkFaultSection::declarePackets(FeatureTable& table)
{
    lose_ = &probability(table, "SimulatorPacketLoss", "Stream packets that vanish.");
    twice_ = &probability(table, "SimulatorPacketTwice", "Stream packets that come twice.");
    reorder_ = &probability(table, "SimulatorPacketReorder",
                            "Stream packets that come after the one behind them.");
    delay_ = &probability(table, "SimulatorPacketDelay", "Stream packets that come late.");
    delayTime_ = &table.integer("SimulatorPacketDelayTime", "How late delayed packets come.")
                      .unit("us")
                      .guru()
                      .range(std::int64_t{0}, std::int64_t{1000000})
                      .value(std::int64_t{1000});
    cut_ = &probability(table, "SimulatorPacketCut", "Stream packets whose end is missing.");
    corrupt_ = &probability(table, "SimulatorPacketCorrupt",
                            "Stream packets with a wrong bit that no checksum shows.");
    seed_ = &table.integer("SimulatorPacketSeed", "Start of the dice for these faults.")
                 .describe("Start of the dice for the faults of packets: each acquisition with "
                           "the same seed meets the same faults.")
                 .guru()
                 .range(std::int64_t{0}, std::int64_t{0x7FFFFFFF})
                 .value(std::int64_t{1});
}

void NetworkFaultSection::declareLies(FeatureTable& table)
{
    leader_ = &table.enumeration("SimulatorLeaderLie", "What frames wrongly tell at their begin.")
                   .guru()
                   .entry("Off", 0, "The truth.")
                   .entry("HugeSize", 1, "Gigantic width and height.")
                   .entry("ZeroSize", 2, "No width and height.")
                   .entry("OtherFormat", 3, "A pixel format that does not exist.")
                   .entry("OtherType", 4, "A payload type that does not exist.")
                   .entry("Short", 5, "Too few bytes.");
    trailer_ = &table.enumeration("SimulatorTrailerLie", "What frames wrongly tell at their end.")
                    .guru()
                    .entry("Off", 0, "The truth.")
                    .entry("HugeHeight", 1, "More lines than there are.")
                    .entry("OtherType", 2, "A payload type that does not exist.")
                    .entry("FarId", 3, "The highest packet number there is.")
                    .entry("Short", 4, "Too few bytes.");
    answer_ = &table.enumeration("SimulatorAnswerLie", "What is wrong with answers to commands.")
                   .describe("What is wrong with the next answer to a command; Off again then.")
                   .guru()
                   .changesByItself()
                   .entry("Off", 0, "Nothing.")
                   .entry("OtherId", 1, "Answers another request.")
                   .entry("OtherCommand", 2, "Answers another command.")
                   .entry("HugeLength", 3, "Announces more bytes than there are.")
                   .entry("Short", 4, "Has no contents.")
                   .entry("Error", 5, "A status that does not exist.");
    answerDelay_ = &table.integer("SimulatorAnswerDelay", "Time that a write takes.")
                        .describe("Time that a write of a host takes; with GevGVCPPendingAck the "
                                  "host is told.")
                        .unit("ms")
                        .guru()
                        .range(std::int64_t{0}, std::int64_t{60000});
    silence_ = &table.enumeration("SimulatorSilence", "What the camera does not send.")
                    .describe("What the camera does not send any more; the end of the session "
                              "ends it.")
                    .guru()
                    .changesByItself()
                    .entry("Off", 0, "Everything is sent.")
                    .entry("Control", kSilentControl, "No command is answered.")
                    .entry("Stream", kSilentStream, "No frame is sent.")
                    .entry("All", kSilentControl | kSilentStream, "Neither.");
}

void NetworkFaultSection::declareSending(FeatureTable& table)
{
    repeated_ = &table.integer("SimulatorRepeatedFrames", "Frames that are sent again and again.")
                     .describe("So many frames are rendered at the begin of an acquisition and "
                               "then sent again and again, as fast as the link allows. 0: every "
                               "frame is rendered. Without effect while chunks are delivered.")
                     .guru()
                     .range(std::int64_t{0}, std::int64_t{16});
    burst_ = &table.integer("SimulatorPacketBurst", "Packets that are sent back to back.")
                  .describe("Packets that are sent back to back; 0: as few as the clock allows.")
                  .guru()
                  .range(std::int64_t{0}, std::int64_t{1000});
    segmented_ = &table.boolean("SimulatorPacketSegmentation", "The kernel cuts bursts to packets.")
                      .describe("The kernel cuts bursts to packets: cheaper, but receivers with "
                                "packet sockets on the same host see a burst in one piece.")
                      .guru();
}

NetworkFaults NetworkFaultSection::faults() const
{
    const auto share = [](const Feature* feature) { return feature->real() / 100.0; };
    const auto count = [](const Feature* feature) {
        return static_cast<std::uint64_t>(feature->integer());
    };
    NetworkFaults faults;
    faults.lose = share(lose_);
    faults.twice = share(twice_);
    faults.reorder = share(reorder_);
    faults.delay = share(delay_);
    faults.cut = share(cut_);
    faults.corrupt = share(corrupt_);
    faults.delayUs = count(delayTime_);
    faults.seed = count(seed_);
    faults.leader = static_cast<LeaderLie>(leader_->integer());
    faults.trailer = static_cast<TrailerLie>(trailer_->integer());
    faults.answerDelayMs = count(answerDelay_);
    faults.silentControl = (silence_->integer() & kSilentControl) != 0;
    faults.silentStream = (silence_->integer() & kSilentStream) != 0;
    return faults;
}

AnswerLie NetworkFaultSection::takeAnswerLie()
{
    const auto lie = static_cast<AnswerLie>(answer_->integer());
    answer_->set(std::int64_t{0});
    return lie;
}

void NetworkFaultSection::endSilence() { silence_->set(std::int64_t{0}); }

SendingMode NetworkFaultSection::sending() const
{
    SendingMode mode;
    mode.repeated = static_cast<std::uint32_t>(repeated_->integer());
    mode.burst = static_cast<std::uint32_t>(burst_->integer());
    mode.segmented = segmented_->integer() != 0;
    return mode;
}

} // namespace simulator
