// The rival of the producer benchmark: a GenTL producer's own delivery, called without us.
// producer_loop FILE.cti BUFFERS ROUNDS prints the seconds per frame as JSON. The frames wait in
// the producer's queue when the clock starts: per frame the event is fetched, what a program needs
// is asked for, and the buffer is queued again.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Handle = void*;
constexpr std::uint64_t kForever = ~0ULL;
constexpr std::int32_t kNewBuffer = 1;
constexpr std::int32_t kExclusive = 4;
constexpr std::int32_t kAwaitingDelivery = 5;
constexpr std::int32_t kAllToInput = 2;
// Base, time stamp, incomplete, size filled, width, height, frame id, pixel format.
constexpr std::int32_t kFacts[] = {0, 3, 7, 9, 10, 11, 16, 20};

void* library = nullptr;

/// Calls a function of the producer by name; a failure ends the program.
template <class... Arguments> void call(const char* name, Arguments... arguments)
{
    auto* const function = reinterpret_cast<std::int32_t (*)(Arguments...)>(dlsym(library, name));
    if (function == nullptr || function(arguments...) != 0) {
        throw std::runtime_error(name);
    }
}

template <class... Arguments> std::string textOf(const char* name, Arguments... arguments)
{
    char text[1024] = {};
    std::size_t size = sizeof text;
    call(name, arguments..., static_cast<char*>(text), &size);
    return text;
}

/// The address of the register behind AcquisitionStart or -Stop.
std::uint64_t addressOf(const std::string& xml, const std::string& feature)
{
    const std::size_t place = xml.find("Reg Name=\"" + feature + "Reg\"");
    const std::size_t address = place == std::string::npos ? place : xml.find("<Address>", place);
    if (address == std::string::npos) {
        throw std::runtime_error(feature);
    }
    return std::strtoull(&xml[address + 9], nullptr, 0);
}

std::string description(Handle port)
{
    const std::string url = textOf("GCGetPortURL", port);
    char* end = nullptr;
    const std::uint64_t address = std::strtoull(&url[url.find(';') + 1], &end, 16);
    std::string xml(std::strtoull(end + 1, nullptr, 16), '\0');
    std::size_t size = xml.size();
    call("GCReadPort", port, address, static_cast<void*>(xml.data()), &size);
    return xml;
}

void execute(Handle port, std::uint64_t address)
{
    const unsigned char one[4] = {0, 0, 0, 1};
    std::size_t size = sizeof one;
    call("GCWritePort", port, address, static_cast<const void*>(one), &size);
}

struct Camera {
    Handle port = nullptr;
    Handle stream = nullptr;
    Handle event = nullptr;
    std::uint64_t start = 0;
    std::uint64_t stop = 0;
};

Camera openFirst(std::size_t buffers)
{
    Camera camera;
    Handle system = nullptr;
    Handle interface = nullptr;
    Handle device = nullptr;
    auto* const changed = static_cast<std::uint8_t*>(nullptr);
    call("GCInitLib");
    call("TLOpen", &system);
    call("TLUpdateInterfaceList", system, changed, std::uint64_t{1000});
    const std::string interfaceId = textOf("TLGetInterfaceID", system, std::uint32_t{0});
    call("TLOpenInterface", system, interfaceId.c_str(), &interface);
    call("IFUpdateDeviceList", interface, changed, std::uint64_t{1000});
    const std::string deviceId = textOf("IFGetDeviceID", interface, std::uint32_t{0});
    call("IFOpenDevice", interface, deviceId.c_str(), kExclusive, &device);
    call("DevGetPort", device, &camera.port);
    const std::string streamId = textOf("DevGetDataStreamID", device, std::uint32_t{0});
    call("DevOpenDataStream", device, streamId.c_str(), &camera.stream);
    for (std::size_t i = 0; i < buffers; ++i) {
        Handle buffer = nullptr;
        call("DSAllocAndAnnounceBuffer", camera.stream, std::size_t{1} << 16U,
             static_cast<void*>(nullptr), &buffer);
    }
    call("GCRegisterEvent", camera.stream, kNewBuffer, &camera.event);
    const std::string xml = description(camera.port);
    camera.start = addressOf(xml, "AcquisitionStart");
    camera.stop = addressOf(xml, "AcquisitionStop");
    return camera;
}

std::size_t waiting(const Camera& camera)
{
    std::int32_t type = 0;
    std::size_t count = 0;
    std::size_t size = sizeof count;
    call("DSGetInfo", camera.stream, kAwaitingDelivery, &type, static_cast<void*>(&count), &size);
    return count;
}

void start(const Camera& camera)
{
    call("DSFlushQueue", camera.stream, kAllToInput);
    call("DSStartAcquisition", camera.stream, std::int32_t{0}, kForever);
    execute(camera.port, camera.start);
}

void stop(const Camera& camera)
{
    execute(camera.port, camera.stop);
    call("DSStopAcquisition", camera.stream, std::int32_t{0});
}

double seconds(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double deliver(const Camera& camera, std::size_t frames, clockid_t clock)
{
    using EventGetData = std::int32_t (*)(Handle, void*, std::size_t*, std::uint64_t);
    using GetBufferInfo =
        std::int32_t (*)(Handle, Handle, std::int32_t, std::int32_t*, void*, std::size_t*);
    using QueueBuffer = std::int32_t (*)(Handle, Handle);
    const auto fetch = reinterpret_cast<EventGetData>(dlsym(library, "EventGetData"));
    const auto ask = reinterpret_cast<GetBufferInfo>(dlsym(library, "DSGetBufferInfo"));
    const auto queue = reinterpret_cast<QueueBuffer>(dlsym(library, "DSQueueBuffer"));
    const double begin = seconds(clock);
    for (std::size_t i = 0; i < frames; ++i) {
        Handle data[2] = {};
        std::size_t size = sizeof data;
        if (fetch(camera.event, static_cast<void*>(data), &size, 1000) != 0) {
            throw std::runtime_error("EventGetData");
        }
        for (const std::int32_t fact : kFacts) {
            std::uint64_t value = 0;
            std::int32_t type = 0;
            size = sizeof value;
            if (ask(camera.stream, data[0], fact, &type, &value, &size) != 0) {
                throw std::runtime_error("DSGetBufferInfo");
            }
        }
        if (queue(camera.stream, data[0]) != 0) {
            throw std::runtime_error("DSQueueBuffer");
        }
    }
    return (seconds(clock) - begin) / static_cast<double>(frames);
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void measure(const Camera& camera, std::size_t buffers, std::size_t rounds)
{
    std::vector<double> lying;
    std::vector<double> coming;
    for (std::size_t round = 0; round < rounds; ++round) {
        start(camera);
        while (waiting(camera) < buffers) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        stop(camera);
        lying.push_back(deliver(camera, buffers, CLOCK_MONOTONIC));
        start(camera);
        coming.push_back(deliver(camera, buffers, CLOCK_THREAD_CPUTIME_ID));
        stop(camera);
    }
    std::printf("{\"waiting\": %.9f, \"coming\": %.9f}\n", median(lying), median(coming));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        library = argc == 4 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
        if (library == nullptr) {
            throw std::runtime_error("usage: producer_loop FILE.cti BUFFERS ROUNDS");
        }
        const auto buffers = std::strtoull(argv[2], nullptr, 10);
        measure(openFirst(buffers), buffers, std::strtoull(argv[3], nullptr, 10));
        std::_Exit(0); // The producer's threads are in the middle of nothing that matters.
    } catch (const std::exception& error) {
        std::fprintf(stderr, "producer_loop: %s\n", error.what());
        return 1;
    }
}
