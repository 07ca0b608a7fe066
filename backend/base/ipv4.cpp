// IPv4 addresses as dotted text and as host integers.
#include "base/ipv4.h"

namespace base
{

bool parseIpv4(const char* text, std::uint32_t* address)
{
    if (text == nullptr) {
        return false;
    }
    std::uint32_t result = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && *text++ != '.') {
            return false;
        }
        unsigned value = 0;
        int digits = 0;
        for (; *text >= '0' && *text <= '9' && digits < 3; ++digits) {
            value = value * 10 + static_cast<unsigned>(*text++ - '0');
        }
        if (digits == 0 || value > 255 || (digits > 1 && text[-digits] == '0')) {
            return false;
        }
        result = (result << 8U) | value;
    }
    if (*text != '\0') {
        return false;
    }
    *address = result;
    return true;
}

std::string formatIpv4(std::uint32_t address)
{
    std::string text;
    for (unsigned shift = 24;; shift -= 8) {
        text += std::to_string((address >> shift) & 0xFFU);
        if (shift == 0) {
            return text;
        }
        text += '.';
    }
}

bool isHostSetting(std::uint32_t address, std::uint32_t mask, std::uint32_t gateway)
{
    const std::uint32_t hostBits = ~mask;
    if (mask == 0 || hostBits < 3 || (hostBits & (hostBits + 1)) != 0) {
        return false;
    }
    const auto isHost = [&](std::uint32_t one) {
        const std::uint32_t host = one & hostBits;
        return host != 0 && host != hostBits;
    };
    const std::uint32_t first = address >> 24U;
    if (first == 0 || first >= 224 || !isHost(address)) {
        return false;
    }
    return gateway == 0 || ((gateway & mask) == (address & mask) && isHost(gateway));
}

} // namespace base
