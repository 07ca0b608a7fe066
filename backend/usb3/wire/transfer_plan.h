// How the payload of a frame is cut into USB transfers.
#pragma once

#include "zel_err.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace usb3::wire
{

/// What a camera asks for in its streaming registers.
struct StreamNeeds {
    std::uint32_t info = 0; ///< Its upper byte: transfers are multiples of 2^n bytes.
    std::uint64_t payload = 0;
    std::uint32_t leader = 0;
    std::uint32_t trailer = 0;
};

/// One frame: a leader, `count` transfers of `size`, the final ones that are not 0, a trailer. All
/// of them are multiples of the camera's alignment.
struct TransferPlan {
    std::uint64_t payload = 0;
    std::uint32_t leader = 0;
    std::uint32_t trailer = 0;
    std::uint32_t size = 0;
    std::uint32_t count = 0;
    std::uint32_t final1 = 0;
    std::uint32_t final2 = 0;

    std::uint32_t transfers() const
    {
        return count + (final1 > 0 ? 1U : 0U) + (final2 > 0 ? 1U : 0U);
    }
    /// Length of transfer `index` of the payload.
    std::uint32_t lengthOf(std::uint32_t index) const
    {
        return index < count ? size : (index == count && final1 > 0 ? final1 : final2);
    }
    /// Length that no transfer of a frame exceeds, leader and trailer among them.
    std::uint32_t longest() const { return std::max({size, final1, final2, leader, trailer}); }
};

/// `largest` is the transfer size to be used, at least 1 KB. Only the last transfer is longer than
/// what is left of the payload, by less than the alignment. A camera without payload is not
/// available (-1014); sizes that no camera has, alignments above 1 MB among them, are invalid
/// (-1019).
ZelCamErr planTransfers(const StreamNeeds& needs, std::uint32_t largest, TransferPlan* plan);

} // namespace usb3::wire
