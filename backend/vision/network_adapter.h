// Network adapters with an IPv4 address: where GigE Vision devices may be.
#pragma once

#include "vision/gvcp_packet.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vision
{

/// One adapter that is up. Addresses are host integers.
struct NetworkAdapter {
    std::string name;
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t broadcast = 0; ///< Directed broadcast; 0 where there is none (loopback).
    gvcp::MacAddress mac{};
    std::uint32_t mtu = 0;
    bool loopback = false;
};

/// The adapters that ZELCAM_VISION lets us use: unset: all that are up and have an IPv4 address,
/// physical ones first; "off": none; else the names in it, separated by commas.
std::vector<NetworkAdapter> networkAdapters();

/// Whether ZELCAM_VISION lets us use USB ("off": no; a list: when "usb" is in it).
bool usbAllowed();

/// "192.168.0.1"
std::string ipText(std::uint32_t address);

} // namespace vision
