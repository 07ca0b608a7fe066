// What the loops of the benchmarks measure with.
#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <ctime>
#include <vector>

namespace bench
{

inline double seconds(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Asks the libusb of the tests for a number in nanoseconds; 0 where another one is loaded.
inline double busSeconds(const char* name)
{
    using Get = long (*)(int, const char*);
    static const auto get = reinterpret_cast<Get>(dlsym(RTLD_DEFAULT, "zel_usb3_get"));
    return get != nullptr ? 1e-9 * static_cast<double>(get(0, name)) : 0.0;
}

/// Processor time of this process without that of the camera's threads, where the libusb of the
/// tests has them in it.
inline double processorSeconds()
{
    return seconds(CLOCK_PROCESS_CPUTIME_ID) - busSeconds("nanoseconds");
}

/// Since the last byte of the newest frame was on the bus.
inline double sinceLastByte() { return seconds(CLOCK_MONOTONIC) - busSeconds("last-byte"); }

/// 0 without values.
inline double median(std::vector<double> values)
{
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace bench
