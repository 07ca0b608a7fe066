// SHA-1 of a text, which consumers use to recognise a description that they know.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace simulator::producer
{

using Sha1Digest = std::array<std::uint8_t, 20>;

Sha1Digest sha1(std::string_view text);

} // namespace simulator::producer
