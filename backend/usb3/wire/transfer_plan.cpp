#include "usb3/wire/transfer_plan.h"

#include <algorithm>

namespace usb3::wire
{

namespace
{

constexpr std::uint32_t kMaxAlignmentBits = 20;
constexpr std::uint32_t kPacket = 1024;            // of SuperSpeed
constexpr std::uint64_t kMaxPayload = 1ULL << 32U; // of one frame
constexpr std::uint32_t kMaxPacketSize = 1U << 20U;
// Just after they were plugged in some cameras do not tell these sizes yet.
constexpr std::uint32_t kUsualPacketSize = 1024;

constexpr std::uint64_t roundUp(std::uint64_t value, std::uint64_t step)
{
    return (value + step - 1) / step * step;
}

} // namespace

ZelCamErr planTransfers(const StreamNeeds& needs, std::uint32_t largest, TransferPlan* plan)
{
    *plan = {};
    if (needs.payload == 0) {
        return ZelErr::kGenTLNotAvailable;
    }
    const std::uint32_t bits = needs.info >> 24U;
    if (bits > kMaxAlignmentBits || needs.payload > kMaxPayload || needs.leader > kMaxPacketSize ||
        needs.trailer > kMaxPacketSize) {
        return ZelErr::kGenTLInvalidValue;
    }
    const std::uint64_t step = std::uint64_t{1} << bits;
    const std::uint64_t most = roundUp(largest, std::max<std::uint64_t>(step, kPacket));
    plan->payload = needs.payload;
    plan->leader = static_cast<std::uint32_t>(
        roundUp(needs.leader > 0 ? needs.leader : kUsualPacketSize, step));
    plan->trailer = static_cast<std::uint32_t>(
        roundUp(needs.trailer > 0 ? needs.trailer : kUsualPacketSize, step));
    // Whole steps straight into the frame's memory; what is left, less than a step, comes in one
    // more transfer that may be longer than the memory.
    const std::uint64_t whole = needs.payload / step * step;
    const std::uint64_t size = std::max(step, std::min(whole, most));
    plan->size = static_cast<std::uint32_t>(size);
    if (whole == 0) {
        plan->count = 1;
        return ZelErr::kOk;
    }
    plan->count = static_cast<std::uint32_t>(whole / size);
    plan->final1 = static_cast<std::uint32_t>(whole % size);
    if (whole != needs.payload) {
        (plan->final1 == 0 ? plan->final1 : plan->final2) = static_cast<std::uint32_t>(step);
    }
    return ZelErr::kOk;
}

} // namespace usb3::wire
