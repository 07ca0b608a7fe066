#include "simulator/network_section.h"

#include "base/ipv4.h"
#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"

#include <algorithm>
#include <string>

namespace simulator
{

namespace
{

namespace wire = ::gige::wire;
namespace reg = ::gige::wire::reg;
using Access = BootstrapRegisters::Access;

/// The smallest usual link that carries this much.
std::uint32_t linkMegabits(std::uint64_t bytesPerSecond)
{
    const std::uint64_t needed = bytesPerSecond * 8 / 1000000;
    for (const std::uint32_t usual : {100U, 1000U, 2500U, 5000U, 10000U}) {
        if (bytesPerSecond != 0 && needed <= usual) {
            return usual;
        }
    }
    return 25000;
}

} // namespace

NetworkSection::NetworkSection(CameraContext& context)
    : context_(context), features_(context, registers_), ip_(context.config.ip)
{
    declareAddresses();
    control_.emplace(features_);
    channels_.emplace(features_);
    addIdentity();
    addAddresses();
    addManifest();
    registers_.onWritten([this](std::uint32_t address, std::uint32_t value) {
        context_.post([address, value](CameraObserver& observer) {
            observer.bootstrapWritten(address, value);
        });
    });
}

void NetworkSection::declareAddresses()
{
    FeatureTable& table = context_.table;
    table.integer("GevMACAddress", "Hardware address of the network interface.")
        .expert()
        .readOnly()
        .representation("MACAddress")
        .value(static_cast<std::int64_t>(macNumber(context_.config.macAddress)));
    table
        .boolean("GevCurrentIPConfigurationLLA", "Uses a link-local address when nothing else "
                                                 "gave one.")
        .guru()
        .readOnly()
        .value(std::int64_t{1});
    usesDhcp_ = &table.boolean("GevCurrentIPConfigurationDHCP", "Asks the network for an address.")
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
    features_.address("GevCurrentIPAddress", "Present address.")
        .readOnly()
        .onRead(current(&IpConfig::address));
    features_.address("GevCurrentSubnetMask", "Present subnet mask.")
        .readOnly()
        .onRead(current(&IpConfig::mask));
    features_.address("GevCurrentDefaultGateway", "Present gateway.")
        .readOnly()
        .onRead(current(&IpConfig::gateway));
    persistentAddress_ = &features_.address("GevPersistentIPAddress", "Address after a restart.")
                              .value(std::int64_t{ip_.address});
    persistentMask_ = &features_.address("GevPersistentSubnetMask", "Subnet mask after a restart.")
                           .value(std::int64_t{ip_.mask});
    persistentGateway_ =
        &features_.address("GevPersistentDefaultGateway", "Gateway after a restart.")
             .value(std::int64_t{ip_.gateway});
    for (Feature* feature :
         {usesDhcp_, usesPersistentIp_, persistentAddress_, persistentMask_, persistentGateway_}) {
        feature->onChange([this](std::size_t) {
            context_.post([](CameraObserver& observer) {
                observer.bootstrapWritten(reg::kPersistentAddress, 0);
            });
        });
    }
}

void NetworkSection::addIdentity()
{
    const CameraConfig& config = context_.config;
    const std::uint64_t mac = macNumber(config.macAddress);
    registers_.number(reg::kVersion, Access::ReadOnly, 0x00020000);
    registers_.number(reg::kDeviceMode, Access::ReadOnly, 0x80000001); // big endian, UTF-8
    registers_.number(reg::kMacHigh, Access::ReadOnly, static_cast<std::uint32_t>(mac >> 32));
    registers_.number(reg::kMacLow, Access::ReadOnly, static_cast<std::uint32_t>(mac));
    const auto text = [this](std::uint32_t address, std::uint32_t size, const std::string& value) {
        registers_.text(address, size, [value] { return value; });
    };
    text(reg::kVendor, 32, config.vendor);
    text(reg::kModel, 32, config.model);
    text(reg::kDeviceVersion, 32, config.version);
    text(reg::kManufacturerInfo, 48, "Simulated: pictures are calculated.");
    text(reg::kSerialNumber, 16, config.serialNumber);
    registers_.text(
        reg::kUserName, 16, [this] { return context_.table.find("DeviceUserID")->text(); },
        [this](const std::string& name) {
            context_.table.find("DeviceUserID")->set(name);
            context_.post([](CameraObserver& observer) { observer.identityChanged(); });
            return gentl::err::kSuccess;
        });
    registers_.text(reg::kFirstUrl, reg::kUrlSize, [this] { return firstUrl_; });
    registers_.text(reg::kSecondUrl, reg::kUrlSize, [this] { return secondUrl_; });
}

void NetworkSection::addAddresses()
{
    registers_.number(reg::kSupportedIpConfiguration, Access::ReadOnly,
                      wire::kIpPersistent | wire::kIpDhcp | wire::kIpLinkLocal);
    registers_.number(
        reg::kCurrentIpConfiguration,
        [this] {
            return wire::kIpLinkLocal | (usesDhcp_->integer() != 0 ? wire::kIpDhcp : 0) |
                   (usesPersistentIp_->integer() != 0 ? wire::kIpPersistent : 0);
        },
        [this](std::uint32_t value) {
            usesDhcp_->set(std::int64_t{(value & wire::kIpDhcp) != 0});
            usesPersistentIp_->set(std::int64_t{(value & wire::kIpPersistent) != 0});
            return gentl::err::kSuccess;
        });
    registers_.number(reg::kCurrentAddress, [this] { return ip_.address; });
    registers_.number(reg::kCurrentMask, [this] { return ip_.mask; });
    registers_.number(reg::kCurrentGateway, [this] { return ip_.gateway; });
    registers_.number(reg::kInterfaceCount, Access::ReadOnly, 1);
    features_.addKept(reg::kPersistentAddress, persistentAddress_);
    features_.addKept(reg::kPersistentMask, persistentMask_);
    features_.addKept(reg::kPersistentGateway, persistentGateway_);
    registers_.number(reg::kLinkSpeed, Access::ReadOnly,
                      linkMegabits(context_.config.linkBytesPerSecond));
    registers_.number(reg::kActiveLinkCount, Access::ReadOnly, 1);
    registers_.number(reg::kLinkCapability, Access::ReadOnly, 1);
    registers_.number(reg::kLinkConfiguration, Access::ReadOnly, 1);
}

void NetworkSection::addManifest()
{
    // Version 1.0.0 of a description after schema 1.1, six bits a number and four for the schema's.
    constexpr std::uint32_t kDescription = 1U << 26U | 1U << 10U | 1U << 6U;
    std::uint32_t at = reg::kManifest;
    registers_.number(at, Access::ReadOnly, 2);
    for (const std::uint32_t word : {kDescription, reg::kFirstUrl, kDescription, reg::kSecondUrl}) {
        registers_.number(at += 4, Access::ReadOnly, word);
    }
    while (at + 4 < reg::kManifest + reg::kUrlSize) {
        registers_.number(at += 4, Access::ReadOnly);
    }
}

void NetworkSection::setUrls(const std::string& zipped, const std::string& plain)
{
    firstUrl_ = zipped.empty() ? plain : zipped;
    secondUrl_ = plain;
}

void NetworkSection::forceIp(const IpConfig& ip)
{
    ip_ = ip;
    context_.post([](CameraObserver& observer) { observer.identityChanged(); });
}

void NetworkSection::restart()
{
    control_->restart();
    channels_->restart();
    if (usesPersistentIp_->integer() != 0) {
        const IpConfig kept = {RegisterFeatures::number(persistentAddress_),
                               RegisterFeatures::number(persistentMask_),
                               RegisterFeatures::number(persistentGateway_)};
        // Settings that no host can have are not taken: the camera would be out of reach.
        if (base::isHostSetting(kept.address, kept.mask, kept.gateway)) {
            forceIp(kept);
        }
    }
}

} // namespace simulator
