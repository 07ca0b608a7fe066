// Faults of a network on demand, and how a served camera sends.
#pragma once

#include "simulator/camera_context.h"

#include <cstdint>

namespace simulator
{

/// How a camera lies in what it sends.
enum class LeaderLie : std::int64_t { Off, HugeSize, ZeroSize, OtherFormat, OtherType, Short };
enum class TrailerLie : std::int64_t { Off, HugeHeight, OtherType, FarId, Short };
enum class AnswerLie : std::int64_t { Off, OtherId, OtherCommand, HugeLength, Short, Error };

/// What a served camera does to its packets. Probabilities are 0 to 1 per packet.
struct NetworkFaults {
    double lose = 0.0;
    double twice = 0.0;
    double reorder = 0.0; ///< Sent after the next packet.
    double delay = 0.0;
    double cut = 0.0;
    double corrupt = 0.0;
    std::uint64_t delayUs = 0;
    std::uint64_t seed = 0;
    LeaderLie leader = LeaderLie::Off;
    TrailerLie trailer = TrailerLie::Off;
    std::uint64_t answerDelayMs = 0; ///< Time that a write takes.
    bool silentControl = false;
    bool silentStream = false;

    bool touchesPackets() const
    {
        return lose > 0.0 || twice > 0.0 || reorder > 0.0 || delay > 0.0 || cut > 0.0 ||
               corrupt > 0.0;
    }
};

/// How a served camera sends its frames.
struct SendingMode {
    std::uint32_t repeated = 0; ///< So many frames are rendered, then sent again and again.
    std::uint32_t burst = 0;    ///< Packets back to back; 0: as few as the clock allows.
    bool segmented = true;      ///< Many packets in one call that the kernel cuts.
};

/// Declares the features into the present category.
class NetworkFaultSection
{
public:
    explicit NetworkFaultSection(CameraContext& context);

    NetworkFaults faults() const;
    /// The lie of the next answer, which is the truth again then.
    AnswerLie takeAnswerLie();
    void endSilence();
    SendingMode sending() const;

private:
    void declarePackets(FeatureTable& table);
    void declareLies(FeatureTable& table);
    void declareSending(FeatureTable& table);

    Feature* lose_ = nullptr;
    Feature* twice_ = nullptr;
    Feature* reorder_ = nullptr;
    Feature* delay_ = nullptr;
    Feature* delayTime_ = nullptr;
    Feature* cut_ = nullptr;
    Feature* corrupt_ = nullptr;
    Feature* seed_ = nullptr;
    Feature* leader_ = nullptr;
    Feature* trailer_ = nullptr;
    Feature* answer_ = nullptr;
    Feature* answerDelay_ = nullptr;
    Feature* silence_ = nullptr;
    Feature* repeated_ = nullptr;
    Feature* burst_ = nullptr;
    Feature* segmented_ = nullptr;
};

} // namespace simulator
