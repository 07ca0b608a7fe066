#include "gige/wire/discovery.h"

#include "base/text.h"
#include "gige/wire/bootstrap.h"

#include <cstdio>

namespace gige::wire
{

bool readDiscovery(Bytes payload, DiscoveryRecord* record)
{
    if (payload.size < kDiscoverySize) {
        return false;
    }
    const auto text = [payload](std::uint32_t offset, std::size_t capacity) {
        return base::toUtf8(payload.text(offset, capacity));
    };
    record->versionMajor = payload.u16(reg::kVersion);
    record->versionMinor = payload.u16(reg::kVersion + 2);
    record->deviceMode = payload.u32(reg::kDeviceMode);
    std::memcpy(record->mac.data(), payload.data + reg::kMacHigh + 2, record->mac.size());
    record->supportedIpConfiguration = payload.u32(reg::kSupportedIpConfiguration);
    record->currentIpConfiguration = payload.u32(reg::kCurrentIpConfiguration);
    record->address = payload.u32(reg::kCurrentAddress);
    record->mask = payload.u32(reg::kCurrentMask);
    record->gateway = payload.u32(reg::kCurrentGateway);
    record->vendor = text(reg::kVendor, 32);
    record->model = text(reg::kModel, 32);
    record->version = text(reg::kDeviceVersion, 32);
    record->manufacturerInfo = text(reg::kManufacturerInfo, 48);
    record->serialNumber = text(reg::kSerialNumber, 16);
    record->userDefinedName = text(reg::kUserName, 16);
    return true;
}

std::size_t writeDiscovery(const DiscoveryRecord& record, Writer* writer)
{
    const std::size_t before = writer->size();
    writer->u16(record.versionMajor).u16(record.versionMinor).u32(record.deviceMode);
    writer->zeros(2).bytes({record.mac.data(), record.mac.size()});
    writer->u32(record.supportedIpConfiguration).u32(record.currentIpConfiguration);
    writer->zeros(12).u32(record.address).zeros(12).u32(record.mask);
    writer->zeros(12).u32(record.gateway);
    writer->text(record.vendor, 32).text(record.model, 32).text(record.version, 32);
    writer->text(record.manufacturerInfo, 48).text(record.serialNumber, 16);
    writer->text(record.userDefinedName, 16);
    return writer->ok() ? writer->size() - before : 0;
}

std::string macText(const MacAddress& mac)
{
    char out[18];
    std::snprintf(out, sizeof(out), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                  mac[4], mac[5]);
    return out;
}

} // namespace gige::wire
