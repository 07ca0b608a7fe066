// Payload, locks and network settings of a simulated camera.
#include "simulator/transport_section.h"

#include "base/ipv4.h"

#include <cstdlib>
#include <string>

namespace simulator
{

namespace
{

/// "02:5a:43:00:00:01" as a number; wrong text gives the digits before the mistake.
std::int64_t macNumber(const std::string& text)
{
    std::string digits;
    for (const char c : text) {
        if (c != ':' && c != '-') {
            digits += c;
        }
    }
    return static_cast<std::int64_t>(std::strtoull(digits.c_str(), nullptr, 16) & 0xFFFFFFFFFFFF);
}

} // namespace

TransportSection::TransportSection(CameraContext& context,
                                   std::function<std::uint64_t()> payloadSize)
    : context_(context), ip_(context.config.ip)
{
    FeatureTable& table = context.table;
    table.category("TransportLayerControl", "Transfer of frames and network settings.");
    table.integer("PayloadSize", "Bytes of one frame.")
        .describe("Bytes of one frame with the present settings, chunks included.")
        .unit("B")
        .expert()
        .readOnly()
        .onRead([payloadSize = std::move(payloadSize)](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(payloadSize()));
        });
    locked_ =
        &table.integer("TLParamsLocked", "Locks what must not change while streaming.")
             .describe(
                 "Set by the host: 1 locks the features that must not change while streaming.")
             .invisible()
             .changesByItself() // The end of a session takes it back.
             .range(std::int64_t{0}, std::int64_t{1});
    locked_->onChange([this](std::size_t) { context_.transportLocked = locked_->integer() != 0; });
    if (context.config.hasNetwork) {
        declareNetwork();
        declareStreamChannel();
    }
}

Feature& TransportSection::address(const char* name, const char* toolTip)
{
    return context_.table.integer(name, toolTip)
        .bytes(4)
        .representation("IPV4Address")
        .expert()
        .range(std::int64_t{0}, std::int64_t{0xFFFFFFFF});
}

void TransportSection::declareNetwork()
{
    FeatureTable& table = context_.table;
    table.integer("GevMACAddress", "Hardware address of the network interface.")
        .expert()
        .readOnly()
        .representation("MACAddress")
        .value(macNumber(context_.config.macAddress));
    table
        .boolean("GevCurrentIPConfigurationLLA", "Uses a link-local address when nothing else "
                                                 "gave one.")
        .guru()
        .readOnly()
        .value(std::int64_t{1});
    table.boolean("GevCurrentIPConfigurationDHCP", "Asks the network for an address.")
        .guru()
        .value(std::int64_t{1});
    usesPersistentIp_ = &table
                             .boolean("GevCurrentIPConfigurationPersistentIP",
                                      "Uses the persistent address after a restart.")
                             .guru()
                             .value(std::int64_t{1});
    const auto current = [this](std::uint32_t IpConfig::*field) {
        return [this, field](std::size_t) { return FeatureValue(std::int64_t{ip_.*field}); };
    };
    address("GevCurrentIPAddress", "Present address.")
        .readOnly()
        .onRead(current(&IpConfig::address));
    address("GevCurrentSubnetMask", "Present subnet mask.")
        .readOnly()
        .onRead(current(&IpConfig::mask));
    address("GevCurrentDefaultGateway", "Present gateway.")
        .readOnly()
        .onRead(current(&IpConfig::gateway));
    persistentAddress_ = &address("GevPersistentIPAddress", "Address after a restart.")
                              .value(std::int64_t{ip_.address});
    persistentMask_ = &address("GevPersistentSubnetMask", "Subnet mask after a restart.")
                           .value(std::int64_t{ip_.mask});
    persistentGateway_ = &address("GevPersistentDefaultGateway", "Gateway after a restart.")
                              .value(std::int64_t{ip_.gateway});
}

void TransportSection::declareStreamChannel()
{
    FeatureTable& table = context_.table;
    table.integer("GevStreamChannelCount", "Number of stream channels.")
        .expert()
        .readOnly()
        .value(std::int64_t{1});
    table.integer("GevHeartbeatTimeout", "Silence after which the camera ends the session.")
        .unit("ms")
        .guru()
        .range(std::int64_t{500}, std::int64_t{600000})
        .value(std::int64_t{3000});
    table.integer("GevSCPSPacketSize", "Size of a stream packet.")
        .describe("Size of a stream packet with its headers.")
        .unit("B")
        .expert()
        .streamable()
        .range(std::int64_t{576}, std::int64_t{9000}, std::int64_t{4})
        .value(std::int64_t{1500})
        .lockedIf(context_.whileStreaming());
    table.integer("GevSCPD", "Pause between stream packets.")
        .unit("ns")
        .expert()
        .streamable()
        .range(std::int64_t{0}, std::int64_t{1000000});
}

void TransportSection::forceIp(const IpConfig& ip)
{
    ip_ = ip;
    context_.post([](CameraObserver& observer) { observer.identityChanged(); });
}

void TransportSection::setLocked(bool locked)
{
    locked_->set(std::int64_t{locked});
    context_.transportLocked = locked;
}

void TransportSection::restart()
{
    setLocked(false);
    if (usesPersistentIp_ != nullptr && usesPersistentIp_->integer() != 0) {
        const auto number = [](const Feature* feature) {
            return static_cast<std::uint32_t>(feature->integer());
        };
        const IpConfig kept = {number(persistentAddress_), number(persistentMask_),
                               number(persistentGateway_)};
        // Settings that no host can have are not taken: the camera would be out of reach.
        if (base::isHostSetting(kept.address, kept.mask, kept.gateway)) {
            forceIp(kept);
        }
    }
}

} // namespace simulator
