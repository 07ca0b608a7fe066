#include "genapi/port_device.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace genapi
{

namespace
{

// Codes of this domain are result codes of the SDK: they survive ArvGc unchanged.
GQuark portErrorQuark()
{
    static const GQuark quark = g_quark_from_static_string("zel-port-error");
    return quark;
}

bool setError(ZelCamErr code, GError** error)
{
    if (code == ZelErr::kOk)
        return true;
    g_set_error_literal(error, portErrorQuark(), code, "register access failed");
    return false;
}

} // namespace

PortRouter::PortRouter(FeatureSource& source, const std::vector<Overlay>& overlays, bool swapsWords)
    : source_(source), swapsWords_(swapsWords)
{
    for (const Overlay& overlay : overlays)
        slots_.push_back({overlay, false, {}});
}

ZelCamErr PortRouter::read(std::uint64_t address, void* data, std::size_t size)
{
    if (address < kOverlayBase || slots_.empty()) {
        const ZelCamErr result = source_.read(address, data, size);
        if (swapsWords_ && size == 4)
            std::reverse(static_cast<char*>(data), static_cast<char*>(data) + size);
        return result;
    }
    const std::uint64_t slot = (address - kOverlayBase) >> kOverlayShift;
    const std::uint64_t offset = address & ((std::uint64_t{1} << kOverlayShift) - 1);
    if (slot >= slots_.size())
        return ZelErr::kGenTLInvalidAddress;
    const Slot& overlay = slots_[slot];
    if (!overlay.hasData)
        return ZelErr::kGenTLNotAvailable;
    if (offset > overlay.bytes.size() || overlay.bytes.size() - offset < size)
        return ZelErr::kGenTLInvalidAddress;
    std::memcpy(data, overlay.bytes.data() + offset, size);
    return ZelErr::kOk;
}

ZelCamErr PortRouter::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (address >= kOverlayBase && !slots_.empty())
        return ZelErr::kParamAccess;
    if (swapsWords_ && size == 4) {
        char swapped[4];
        std::reverse_copy(static_cast<const char*>(data), static_cast<const char*>(data) + size,
                          swapped);
        return source_.write(address, swapped, size);
    }
    return source_.write(address, data, size);
}

void PortRouter::setData(bool isEvent, std::uint64_t id, const void* data, std::size_t size)
{
    for (Slot& slot : slots_) {
        if (slot.overlay.isEvent == isEvent && slot.overlay.id == id) {
            slot.bytes.assign(static_cast<const char*>(data), size);
            slot.hasData = true;
        }
    }
}

void PortRouter::dropChunks()
{
    for (Slot& slot : slots_) {
        if (!slot.overlay.isEvent)
            slot.hasData = false;
    }
}

bool PortRouter::hasData(std::int32_t slot) const
{
    return slots_[static_cast<std::size_t>(slot)].hasData;
}

} // namespace genapi

// The GObject class. Named after GLib's conventions, which its macros rely on.
extern "C" {

struct ZelPortDevice {
    ArvDevice parent;
    genapi::PortRouter* router;
};

struct ZelPortDeviceClass {
    ArvDeviceClass parent;
};

static GType zel_port_device_get_type();
}

G_DEFINE_TYPE(ZelPortDevice, zel_port_device, ARV_TYPE_DEVICE)

namespace
{

genapi::PortRouter& routerOf(ArvDevice* device)
{
    return *reinterpret_cast<ZelPortDevice*>(device)->router;
}

gboolean readMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    const ZelCamErr result = routerOf(device).read(address, buffer, size);
    // ArvGc may look at the bytes before it looks at the error.
    if (result != ZelErr::kOk)
        std::memset(buffer, 0, size);
    return genapi::setError(result, error) ? TRUE : FALSE;
}

gboolean writeMemory(ArvDevice* device, guint64 address, guint32 size, const void* buffer,
                     GError** error)
{
    return genapi::setError(routerOf(device).write(address, buffer, size), error) ? TRUE : FALSE;
}

gboolean readRegister(ArvDevice* device, guint64 address, guint32* value, GError** error)
{
    return readMemory(device, address, sizeof *value, value, error);
}

gboolean writeRegister(ArvDevice* device, guint64 address, guint32 value, GError** error)
{
    return writeMemory(device, address, sizeof value, &value, error);
}

const char* noXml(ArvDevice*, size_t* size)
{
    *size = 0;
    return nullptr;
}

ArvGc* noMap(ArvDevice*) { return nullptr; }

} // namespace

static void zel_port_device_init(ZelPortDevice* device) { device->router = nullptr; }

static void zel_port_device_class_init(ZelPortDeviceClass* type)
{
    ArvDeviceClass& device = type->parent;
    device.get_genicam_xml = noXml;
    device.get_genicam = noMap;
    device.read_memory = readMemory;
    // The slot takes a const buffer from Aravis 0.8.36 on.
    device.write_memory = reinterpret_cast<decltype(device.write_memory)>(&writeMemory);
    device.read_register = readRegister;
    device.write_register = writeRegister;
}

namespace genapi
{

std::unique_ptr<ArvDevice, ObjectDeleter> makePortDevice(PortRouter& router)
{
    auto* const device =
        static_cast<ZelPortDevice*>(g_object_new(zel_port_device_get_type(), nullptr));
    device->router = &router;
    return std::unique_ptr<ArvDevice, ObjectDeleter>(&device->parent);
}

namespace
{

ZelCamErr codeOfDeviceError(int code)
{
    switch (code) {
    case ARV_DEVICE_ERROR_FEATURE_NOT_FOUND:
        return ZelErr::kParamUnknown;
    case ARV_DEVICE_ERROR_WRONG_FEATURE:
        return ZelErr::kParamType;
    case ARV_DEVICE_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
        return ZelErr::kParamInvalidArgument;
    case ARV_DEVICE_ERROR_NOT_CONTROLLER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
        return ZelErr::kParamAccess;
    case ARV_DEVICE_ERROR_TIMEOUT:
    case ARV_DEVICE_ERROR_TRANSFER_ERROR:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR:
    case ARV_DEVICE_ERROR_NOT_CONNECTED:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BAD_ALIGNMENT:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
        return ZelErr::kParamRuntime;
    default:
        return ZelErr::kParamGeneric;
    }
}

ZelCamErr codeOfMapError(int code)
{
    switch (code) {
    case ARV_GC_ERROR_OUT_OF_RANGE:
    case ARV_GC_ERROR_INVALID_LENGTH:
        return ZelErr::kParamOutOfRange;
    case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
    case ARV_GC_ERROR_INVALID_SYNTAX:
        return ZelErr::kParamInvalidArgument;
    case ARV_GC_ERROR_READ_ONLY:
        return ZelErr::kParamAccess;
    case ARV_GC_ERROR_NODE_NOT_FOUND:
    case ARV_GC_ERROR_PVALUE_NOT_DEFINED:
    case ARV_GC_ERROR_INVALID_PVALUE:
    case ARV_GC_ERROR_EMPTY_ENUMERATION:
    case ARV_GC_ERROR_PROPERTY_NOT_DEFINED:
        return ZelErr::kParamTree;
    case ARV_GC_ERROR_NO_EVENT_IMPLEMENTATION:
        return ZelErr::kGenTLNotAvailable;
    default:
        return ZelErr::kParamGeneric;
    }
}

} // namespace

ZelCamErr codeOf(const GError& error)
{
    if (error.domain == portErrorQuark())
        return error.code;
    if (error.domain == ARV_DEVICE_ERROR)
        return codeOfDeviceError(error.code);
    if (error.domain == ARV_GC_ERROR)
        return codeOfMapError(error.code);
    return ZelErr::kParamGeneric;
}

void silenceAravis()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const auto drop = [](const char*, GLogLevelFlags, const char*, void*) {};
        const auto levels = static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK & ~G_LOG_FLAG_FATAL);
        // Aravis names no domain; what has another one belongs to somebody else.
        g_log_set_handler(nullptr, levels, drop, nullptr);
        g_log_set_handler("Aravis", levels, drop, nullptr);
    });
}

} // namespace genapi
