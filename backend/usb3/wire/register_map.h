// Addresses of a USB3 Vision camera's bootstrap registers; all of them are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace usb3::wire
{

/// Technology-agnostic bootstrap registers, from address 0.
namespace abrm
{
constexpr std::uint64_t kUserDefinedName = 0x184; ///< kTextSize bytes, writable.
constexpr std::uint64_t kMaxResponseTime = 0x1CC; ///< 4 bytes, milliseconds.
constexpr std::uint64_t kManifestTable = 0x1D0;   ///< 8 bytes, address.
constexpr std::uint64_t kSbrm = 0x1D8;            ///< 8 bytes, address.
constexpr std::size_t kTextSize = 64;
} // namespace abrm

/// Technology-specific bootstrap registers, offsets from the address in the ABRM.
namespace sbrm
{
constexpr std::uint64_t kCapability = 0x04;  ///< 8 bytes.
constexpr std::uint64_t kMaxCommand = 0x14;  ///< 4 bytes: command transfer, header included.
constexpr std::uint64_t kMaxAnswer = 0x18;   ///< 4 bytes: acknowledge transfer, header included.
constexpr std::uint64_t kStreamCount = 0x1C; ///< 4 bytes.
constexpr std::uint64_t kSirm = 0x20;        ///< 8 bytes, address.
constexpr std::uint64_t kEirm = 0x2C;        ///< 8 bytes, address.
constexpr std::uint64_t kHasSirm = 1;        ///< Bits of the capability.
constexpr std::uint64_t kHasEirm = 2;
} // namespace sbrm

/// Streaming interface registers, offsets from the address in the SBRM; 4 bytes where not said.
namespace sirm
{
constexpr std::uint64_t kInfo = 0x00; ///< Bits 31..24: transfers are multiples of 2^n bytes.
constexpr std::uint64_t kControl = 0x04;
constexpr std::uint64_t kRequiredPayload = 0x08; ///< 8 bytes.
constexpr std::uint64_t kRequiredLeader = 0x10;
constexpr std::uint64_t kRequiredTrailer = 0x14;
constexpr std::uint64_t kMaxLeader = 0x18;
constexpr std::uint64_t kTransferSize = 0x1C;
constexpr std::uint64_t kTransferCount = 0x20;
constexpr std::uint64_t kFinal1 = 0x24;
constexpr std::uint64_t kFinal2 = 0x28;
constexpr std::uint64_t kMaxTrailer = 0x2C;
constexpr std::uint32_t kEnable = 1; ///< Bit of the control register.
} // namespace sirm

/// Event interface registers, offsets from the address in the SBRM; 4 bytes each.
namespace eirm
{
constexpr std::uint64_t kControl = 0x00;
constexpr std::uint64_t kMaxTransfer = 0x04;
constexpr std::uint32_t kEnable = 1; ///< Bit of the control register.
} // namespace eirm

} // namespace usb3::wire
