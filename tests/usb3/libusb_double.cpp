// libusb-1.0 as a library without a bus: its devices are simulated cameras. Loaded in front of the
// real one by the path of the loader.
//
// ZEL_USB3_CAMERAS: how many (1). ZEL_USB3_SET: "name=value,..." for all of them; see
// BusCamera::set(). ZEL_USB3_LOCKS: a folder in which processes see each other's claims.
#include "bus_camera.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <sstream>

using usb3test::BusCamera;
using usb3test::Bytes;

struct libusb_device {
    libusb_context* context;
    BusCamera* camera;
    int number; ///< Of the time when it was plugged in.
};

struct libusb_context {
    struct Done {
        libusb_transfer* transfer;
        libusb_transfer_status status;
        std::size_t size;
    };
    struct Hotplug {
        libusb_hotplug_callback_fn call;
        void* data;
        int events;
    };
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Done> done;
    std::map<int, Hotplug> hotplugs;
    std::map<std::pair<BusCamera*, int>, libusb_device> devices;
    std::deque<std::pair<libusb_device*, libusb_hotplug_event>> news;
    bool interrupted = false;
    int nextHotplug = 0;
    std::mutex handling; ///< One thread at a time handles events.
};

struct libusb_device_handle {
    libusb_device* device;
    std::set<int> claimed;
};

namespace
{

/// What stands in front of each transfer.
struct Hidden {
    std::atomic<bool> busy{false};
    std::size_t counted = 0;
};

struct World {
    std::mutex mutex;
    std::vector<BusCamera*> cameras;
    std::set<libusb_context*> contexts;
    std::atomic<std::size_t> inFlight{0};
    std::atomic<std::size_t> limit{16U << 20U};
    std::map<unsigned char*, std::pair<std::size_t, libusb_device_handle*>> deviceMemory;
    std::atomic<std::size_t> deviceMemoryBytes{0};
    std::atomic<long> directTransfers{0}; ///< Into device memory.
    std::atomic<long> lastByte{0};        ///< When the last trailer was there; monotonic, in ns.
};

World* world = nullptr; // never destroyed

Hidden* hiddenOf(libusb_transfer* transfer) { return reinterpret_cast<Hidden*>(transfer) - 1; }

void complete(libusb_transfer* transfer, libusb_transfer_status status, std::size_t size)
{
    libusb_context* const context = transfer->dev_handle->device->context;
    if (size >= 4 && std::memcmp(transfer->buffer, "U3VT", 4) == 0) {
        world->lastByte = static_cast<long>(
            std::chrono::nanoseconds(usb3test::Clock::now().time_since_epoch()).count());
    }
    const std::lock_guard lock(context->mutex);
    context->done.push_back({transfer, status, size});
    context->changed.notify_all();
}

/// Whether a transfer goes into device memory of its handle; aborts where it goes over the end.
bool isDirect(const libusb_transfer& transfer)
{
    const std::lock_guard lock(world->mutex);
    auto next = world->deviceMemory.upper_bound(transfer.buffer);
    if (next == world->deviceMemory.begin()) {
        return false;
    }
    const auto& [start, region] = *--next;
    const auto offset = static_cast<std::size_t>(transfer.buffer - start);
    if (offset >= region.first || region.second != transfer.dev_handle) {
        return false;
    }
    if (static_cast<std::size_t>(transfer.length) > region.first - offset) {
        std::abort();
    }
    return true;
}

/// The context's lock is held.
libusb_device* deviceOf(libusb_context* context, BusCamera* camera, int number)
{
    return &context->devices
                .emplace(std::make_pair(camera, number), libusb_device{context, camera, number})
                .first->second;
}

void plugged(BusCamera* camera, bool arrived)
{
    const int number = arrived ? camera->number() : static_cast<int>(camera->get("last-number"));
    const std::lock_guard lock(world->mutex);
    for (libusb_context* const context : world->contexts) {
        const std::lock_guard inner(context->mutex);
        context->news.emplace_back(deviceOf(context, camera, number),
                                   arrived ? LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED
                                           : LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT);
        context->changed.notify_all();
    }
}

simulator::CameraConfig configOf(int index)
{
    simulator::CameraConfig config;
    for (const simulator::InterfaceConfig& interface : simulator::defaultInterfaces()) {
        if (interface.tlType == "U3V") {
            config = interface.cameras.front();
        }
    }
    config.serialNumber = "U" + std::to_string(index + 1);
    config.sensor = simulator::SensorKind::BayerRG;
    if (index > 0) {
        config.model += "-" + std::to_string(index + 1);
        config.sensor = simulator::SensorKind::Mono;
    }
    config.pixelFormats = simulator::defaultPixelFormats(config.sensor);
    config.userDefinedName.clear();
    config.wire = simulator::WireFormat::Usb3Vision;
    return config;
}

void makeWorld()
{
    static std::once_flag once;
    std::call_once(once, [] {
        world = new World;
        const char* const count = std::getenv("ZEL_USB3_CAMERAS");
        const char* const settings = std::getenv("ZEL_USB3_SET");
        for (int i = 0; i < (count != nullptr ? std::atoi(count) : 1); ++i) {
            auto* const camera = new BusCamera(configOf(i), i, complete, plugged);
            std::istringstream list(settings != nullptr ? settings : "");
            for (std::string item; std::getline(list, item, ',');) {
                const std::size_t equals = item.find('=');
                camera->set(item.substr(0, equals), std::atol(item.c_str() + equals + 1));
            }
            world->cameras.push_back(camera);
        }
    });
}

// ---- Descriptors

enum Text : std::uint8_t { kVendor = 1, kModel, kSerial, kGuid, kVersion };

const libusb_endpoint_descriptor kControlEndpoints[] = {
    {7, 5, usb3test::kControlOut, 2, 1024, 0, 0, 0, nullptr, 0},
    {7, 5, usb3test::kControlIn, 2, 1024, 0, 0, 0, nullptr, 0}};
const libusb_endpoint_descriptor kEventEndpoint = {7,       5, usb3test::kEventIn, 2, 1024, 0, 0, 0,
                                                   nullptr, 0};
const libusb_endpoint_descriptor kStreamEndpoint = {
    7, 5, usb3test::kStreamIn, 2, 1024, 0, 0, 0, nullptr, 0};
// Another descriptor stands before the camera's own.
const unsigned char kExtra[] = {4, 0x41, 0, 0,     20,      0x24,   1, 0,        1, 1,       0, 1,
                                0, 0,    0, kGuid, kVendor, kModel, 0, kVersion, 0, kSerial, 0, 8};
const unsigned char* const kCameraExtra = kExtra;

libusb_interface_descriptor interfaceOf(std::uint8_t number, std::uint8_t protocol,
                                        std::uint8_t endpoints,
                                        const libusb_endpoint_descriptor* endpoint)
{
    libusb_interface_descriptor descriptor{};
    descriptor.bLength = 9;
    descriptor.bDescriptorType = 4;
    descriptor.bInterfaceNumber = number;
    descriptor.bNumEndpoints = endpoints;
    descriptor.bInterfaceClass = 0xEF;
    descriptor.bInterfaceSubClass = 0x05;
    descriptor.bInterfaceProtocol = protocol;
    descriptor.endpoint = endpoint;
    return descriptor;
}

} // namespace

extern "C" {

// ---- For tests

void zel_usb3_set(int camera, const char* name, long value)
{
    makeWorld();
    if (std::strcmp(name, "usbfs") == 0) {
        world->limit = static_cast<std::size_t>(value);
        return;
    }
    world->cameras.at(static_cast<std::size_t>(camera))->set(name, value);
}

long zel_usb3_get(int camera, const char* name)
{
    makeWorld();
    if (std::strcmp(name, "in-flight") == 0) {
        return static_cast<long>(world->inFlight);
    }
    if (std::strcmp(name, "device-memory") == 0) {
        return static_cast<long>(world->deviceMemoryBytes);
    }
    if (std::strcmp(name, "last-byte") == 0) {
        return world->lastByte;
    }
    if (std::strcmp(name, "direct") == 0) {
        return world->directTransfers;
    }
    BusCamera* const chosen = world->cameras.at(static_cast<std::size_t>(camera));
    return std::strcmp(name, "nanoseconds") == 0 ? static_cast<long>(chosen->busNanoseconds())
                                                 : chosen->get(name);
}

unsigned zel_usb3_checksum(int camera, unsigned long frame)
{
    return world->cameras.at(static_cast<std::size_t>(camera))->checksum(frame);
}

void zel_usb3_raw(int camera, const unsigned char* bytes, std::size_t size)
{
    world->cameras.at(static_cast<std::size_t>(camera))->sendRaw(Bytes(bytes, bytes + size));
}

// ---- Library and devices

int libusb_init(libusb_context** context)
{
    makeWorld();
    auto* const made = new libusb_context;
    const std::lock_guard lock(world->mutex);
    world->contexts.insert(made);
    *context = made;
    return 0;
}

void libusb_exit(libusb_context* context)
{
    {
        const std::lock_guard lock(world->mutex);
        world->contexts.erase(context);
    }
    delete context;
}

int libusb_has_capability(uint32_t) { return 1; }
const char* libusb_error_name(int code) { return code == 0 ? "SUCCESS" : "ERROR"; }

ssize_t libusb_get_device_list(libusb_context* context, libusb_device*** list)
{
    std::vector<libusb_device*> present;
    const std::lock_guard lock(context->mutex);
    for (BusCamera* const camera : world->cameras) {
        if (const int number = camera->number(); number != 0) {
            present.push_back(deviceOf(context, camera, number));
        }
    }
    *list = static_cast<libusb_device**>(std::calloc(present.size() + 1, sizeof(libusb_device*)));
    std::copy(present.begin(), present.end(), *list);
    return static_cast<ssize_t>(present.size());
}

void libusb_free_device_list(libusb_device** list, int) { std::free(list); }
libusb_device* libusb_ref_device(libusb_device* device) { return device; }
void libusb_unref_device(libusb_device*) {}
uint8_t libusb_get_bus_number(libusb_device*) { return 2; }
uint8_t libusb_get_device_address(libusb_device* device)
{
    return static_cast<uint8_t>(device->number);
}
int libusb_get_device_speed(libusb_device*) { return LIBUSB_SPEED_SUPER; }

int libusb_get_port_numbers(libusb_device* device, uint8_t* ports, int count)
{
    std::size_t port = 1;
    while (world->cameras.at(port - 1) != device->camera) {
        ++port;
    }
    ports[0] = static_cast<uint8_t>(port);
    return count > 0 ? 1 : LIBUSB_ERROR_OVERFLOW;
}

int libusb_get_device_descriptor(libusb_device*, libusb_device_descriptor* descriptor)
{
    *descriptor = {};
    descriptor->bLength = 18;
    descriptor->bDescriptorType = 1;
    descriptor->bcdUSB = 0x0300;
    descriptor->bDeviceClass = 0xEF;
    descriptor->bDeviceSubClass = 2;
    descriptor->bDeviceProtocol = 1;
    descriptor->idVendor = 0x5A43;
    descriptor->idProduct = 1;
    descriptor->iManufacturer = kVendor;
    descriptor->iProduct = kModel;
    descriptor->iSerialNumber = kSerial;
    descriptor->bNumConfigurations = 1;
    return 0;
}

int libusb_get_config_descriptor(libusb_device*, uint8_t, libusb_config_descriptor** made)
{
    static const libusb_interface_descriptor descriptors[] = {
        [] {
            libusb_interface_descriptor control = interfaceOf(0, 0, 2, kControlEndpoints);
            control.extra = kCameraExtra;
            control.extra_length = sizeof kExtra;
            return control;
        }(),
        interfaceOf(1, 1, 1, &kEventEndpoint), interfaceOf(2, 2, 1, &kStreamEndpoint)};
    static const libusb_interface interfaces[] = {
        {&descriptors[0], 1}, {&descriptors[1], 1}, {&descriptors[2], 1}};
    static libusb_config_descriptor configuration{};
    configuration.bLength = 9;
    configuration.bDescriptorType = 2;
    configuration.bNumInterfaces = 3;
    configuration.interface = interfaces;
    *made = &configuration;
    return 0;
}

void libusb_free_config_descriptor(libusb_config_descriptor*) {}

int libusb_open(libusb_device* device, libusb_device_handle** handle)
{
    if (device->number != device->camera->number()) {
        return LIBUSB_ERROR_NO_DEVICE;
    }
    if (device->camera->get("denied") > 0) {
        return LIBUSB_ERROR_ACCESS;
    }
    *handle = new libusb_device_handle{device, {}};
    return 0;
}

void libusb_close(libusb_device_handle* handle)
{
    {
        const std::lock_guard lock(world->mutex);
        for (const auto& entry : world->deviceMemory) {
            if (entry.second.second == handle) {
                std::abort(); // it could not be freed any more
            }
        }
    }
    BusCamera* const camera = handle->device->camera;
    const bool wasOwner = handle->claimed.count(0) != 0;
    for (const int interface : handle->claimed) {
        camera->release(interface);
    }
    if (wasOwner) {
        camera->closed();
    }
    delete handle;
}

libusb_device* libusb_get_device(libusb_device_handle* handle) { return handle->device; }

int libusb_get_string_descriptor_ascii(libusb_device_handle* handle, uint8_t index,
                                       unsigned char* data, int length)
{
    const BusCamera& camera = *handle->device->camera;
    const simulator::CameraConfig& config = camera.config();
    const std::map<int, std::string> texts = {{kVendor, config.vendor},
                                              {kModel, config.model},
                                              {kSerial, config.serialNumber},
                                              {kGuid, camera.guid()},
                                              {kVersion, config.version}};
    const auto found = texts.find(index);
    if (found == texts.end()) {
        return LIBUSB_ERROR_INVALID_PARAM;
    }
    const int size = std::min<int>(length - 1, static_cast<int>(found->second.size()));
    std::memcpy(data, found->second.data(), static_cast<std::size_t>(size));
    data[size] = 0;
    return size;
}

int libusb_set_auto_detach_kernel_driver(libusb_device_handle*, int) { return 0; }

int libusb_claim_interface(libusb_device_handle* handle, int interface)
{
    const int code = handle->device->camera->claim(handle->device->number, interface);
    if (code == 0) {
        handle->claimed.insert(interface);
    }
    return code;
}

int libusb_release_interface(libusb_device_handle* handle, int interface)
{
    if (handle->claimed.erase(interface) == 0) {
        return LIBUSB_ERROR_NOT_FOUND;
    }
    handle->device->camera->release(interface);
    if (interface == 0) {
        handle->device->camera->closed();
    }
    return 0;
}

int libusb_clear_halt(libusb_device_handle* handle, unsigned char endpoint)
{
    return handle->device->camera->clearHalt(handle->device->number, endpoint);
}

int libusb_control_transfer(libusb_device_handle* handle, uint8_t, uint8_t, uint16_t, uint16_t,
                            unsigned char*, uint16_t, unsigned int)
{
    return handle->device->number == handle->device->camera->number() ? 0 : LIBUSB_ERROR_NO_DEVICE;
}

// ---- Transfers

int libusb_bulk_transfer(libusb_device_handle* handle, unsigned char endpoint, unsigned char* data,
                         int length, int* actual, unsigned int timeout)
{
    BusCamera* const camera = handle->device->camera;
    const auto size = static_cast<std::size_t>(length);
    if (endpoint == usb3test::kControlOut) {
        *actual = length;
        return camera->command(handle->device->number, data, size);
    }
    return endpoint == usb3test::kControlIn
               ? camera->answer(handle->device->number, data, size, timeout, actual)
               : LIBUSB_ERROR_NOT_FOUND;
}

/// "device-memory-refused": a kernel that has none.
unsigned char* libusb_dev_mem_alloc(libusb_device_handle* handle, std::size_t length)
{
    if (handle->device->camera->get("device-memory-refused") > 0 ||
        world->inFlight + world->deviceMemoryBytes + length > world->limit) {
        return nullptr;
    }
    void* const memory = std::aligned_alloc(4096, (length + 4095) / 4096 * 4096);
    std::memset(memory, 0, length);
    const std::lock_guard lock(world->mutex);
    world->deviceMemory[static_cast<unsigned char*>(memory)] = {length, handle};
    world->deviceMemoryBytes += length;
    return static_cast<unsigned char*>(memory);
}

int libusb_dev_mem_free(libusb_device_handle* handle, unsigned char* buffer, std::size_t length)
{
    const std::lock_guard lock(world->mutex);
    const auto found = world->deviceMemory.find(buffer);
    if (found == world->deviceMemory.end() || found->second != std::make_pair(length, handle)) {
        std::abort();
    }
    world->deviceMemory.erase(found);
    world->deviceMemoryBytes -= length;
    std::free(buffer);
    return 0;
}

libusb_transfer* libusb_alloc_transfer(int)
{
    void* const memory = std::calloc(1, sizeof(Hidden) + sizeof(libusb_transfer));
    return reinterpret_cast<libusb_transfer*>(new (memory) Hidden + 1);
}

void libusb_free_transfer(libusb_transfer* transfer)
{
    if (transfer != nullptr) {
        if (hiddenOf(transfer)->busy) {
            std::abort(); // the real one would write into freed memory
        }
        std::free(hiddenOf(transfer));
    }
}

int libusb_submit_transfer(libusb_transfer* transfer)
{
    Hidden* const hidden = hiddenOf(transfer);
    const bool direct = isDirect(*transfer);
    const auto size = direct ? 0 : static_cast<std::size_t>(transfer->length);
    if (world->inFlight + world->deviceMemoryBytes + size > world->limit) {
        return LIBUSB_ERROR_NO_MEM;
    }
    if (hidden->busy.exchange(true)) {
        return LIBUSB_ERROR_BUSY;
    }
    world->directTransfers += direct ? 1 : 0;
    hidden->counted = size;
    world->inFlight += size;
    libusb_device* const device = transfer->dev_handle->device;
    const int code = device->camera->submit(device->number, transfer);
    if (code != 0) {
        world->inFlight -= size;
        hidden->busy = false;
    }
    return code;
}

int libusb_cancel_transfer(libusb_transfer* transfer)
{
    return hiddenOf(transfer)->busy ? transfer->dev_handle->device->camera->cancel(transfer)
                                    : LIBUSB_ERROR_NOT_FOUND;
}

// ---- Events

int libusb_handle_events_timeout_completed(libusb_context* context, timeval* time, int*)
{
    const std::lock_guard handling(context->handling);
    std::deque<libusb_context::Done> done;
    std::deque<std::pair<libusb_device*, libusb_hotplug_event>> news;
    std::map<int, libusb_context::Hotplug> hotplugs;
    {
        std::unique_lock lock(context->mutex);
        context->changed.wait_for(
            lock, std::chrono::seconds(time->tv_sec) + std::chrono::microseconds(time->tv_usec),
            [context] {
                return !context->done.empty() || !context->news.empty() || context->interrupted;
            });
        context->interrupted = false;
        done.swap(context->done);
        news.swap(context->news);
        hotplugs = context->hotplugs;
    }
    for (const auto& [device, event] : news) {
        for (const auto& entry : hotplugs) {
            if ((entry.second.events & event) != 0) {
                entry.second.call(context, device, event, entry.second.data);
            }
        }
    }
    for (const libusb_context::Done& item : done) {
        Hidden* const hidden = hiddenOf(item.transfer);
        world->inFlight -= hidden->counted;
        hidden->busy = false;
        item.transfer->status = item.status;
        item.transfer->actual_length = static_cast<int>(item.size);
        item.transfer->callback(item.transfer);
    }
    return 0;
}

int libusb_handle_events_timeout(libusb_context* context, timeval* time)
{
    return libusb_handle_events_timeout_completed(context, time, nullptr);
}

void libusb_interrupt_event_handler(libusb_context* context)
{
    const std::lock_guard lock(context->mutex);
    context->interrupted = true;
    context->changed.notify_all();
}

int libusb_hotplug_register_callback(libusb_context* context, int events, int, int, int, int,
                                     libusb_hotplug_callback_fn call, void* data,
                                     libusb_hotplug_callback_handle* handle)
{
    const std::lock_guard lock(context->mutex);
    const int number = ++context->nextHotplug;
    context->hotplugs[number] = {call, data, events};
    if (handle != nullptr) {
        *handle = number;
    }
    return 0;
}

void libusb_hotplug_deregister_callback(libusb_context* context,
                                        libusb_hotplug_callback_handle handle)
{
    const std::lock_guard lock(context->mutex);
    context->hotplugs.erase(handle);
}

} // extern "C"
