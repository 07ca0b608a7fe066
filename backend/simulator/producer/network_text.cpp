// Hardware addresses as numbers.
#include "simulator/producer/network_text.h"

#include <cstdio>

namespace simulator::producer
{

std::int64_t macAddress(const std::string& text)
{
    unsigned parts[6];
    if (std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x", &parts[0], &parts[1], &parts[2],
                    &parts[3], &parts[4], &parts[5]) != 6) {
        return 0;
    }
    std::int64_t number = 0;
    for (const unsigned part : parts) {
        number = number * 256 + part;
    }
    return number;
}

} // namespace simulator::producer
