// A camera's stream: any packets in any order at any time; frames stay in their memory.
#include "gige/frame_assembler.h"
#include "input.h"

#include <deque>

namespace
{

constexpr std::size_t kFrame = 4000;

/// Four buffers, each of its very size.
class Road final : public gige::FrameRoad
{
public:
    Road() : memory_(4, std::vector<std::uint8_t>(kFrame)), queue_{0, 1, 2, 3} {}

    gige::Place takePlace() override
    {
        if (queue_.empty()) {
            return {};
        }
        const core::BufferToken token = queue_.front();
        queue_.pop_front();
        return {token, memory_[token].data(), kFrame};
    }
    void givePlace(const gige::Place& place) override { queue_.push_front(place.token); }
    void deliver(core::BufferToken token, core::FrameInfo info) override
    {
        fuzz::require(info.imageOffset <= kFrame &&
                      info.deliveredSize <= kFrame - info.imageOffset);
        for (const core::ChunkPlace& chunk : info.chunks) {
            fuzz::require(chunk.offset <= kFrame && chunk.size <= kFrame - chunk.offset);
        }
        queue_.push_back(token);
    }
    void requestResend(std::uint64_t, bool, std::uint32_t first, std::uint32_t last) override
    {
        fuzz::require(first <= last);
    }
    std::size_t free() const { return queue_.size(); }

private:
    std::vector<std::vector<std::uint8_t>> memory_;
    std::deque<core::BufferToken> queue_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    Road road;
    gige::StreamNumbers numbers;
    gige::FrameAssembler assembler(road, numbers);
    gige::FrameAssembler::Settings settings;
    settings.packetSize = 60U + input.byte() * 8U;
    settings.tickFrequency = input.byte() * std::uint64_t{1000};
    assembler.start(settings);
    gige::Clock::time_point now{};
    while (input.left() > 0) {
        const std::uint8_t step = input.byte();
        now += std::chrono::microseconds(step % 16 == 0 ? 400000 : step * 10);
        const std::vector<std::uint8_t> packet = input.piece(input.word() % 2100U);
        assembler.take(gige::wire::Bytes(packet.data(), packet.size()), now);
        if (step % 4 == 0) {
            assembler.runTimers(now);
        }
        const gige::FrameAssembler::Ahead ahead = assembler.ahead();
        fuzz::require(ahead.memory == nullptr || ahead.size <= kFrame);
    }
    assembler.abandon();
    fuzz::require(road.free() == 4);
    return 0;
}
