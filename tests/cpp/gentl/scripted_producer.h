// The simulated producer with single functions replaced: one well-behaved base for every deviation.
#pragma once

#include "core/system_impl.h"
#include "gentl_abi/functions.h"
#include "zel_camera_api.h"
#include "zel_gen_param_api.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace gentl_test
{

/// The functions of the simulated producer, made shareable: it gives its system and each interface
/// once per process, and every test wants them.
gentl::FunctionTable sharedTable();

/// A system over a table. Leaked on purpose, as the real one is.
core::SystemImpl& systemOver(const gentl::FunctionTable& table);

/// A device of the first interface of a system (GigE Vision), small and fast pictures set.
class OpenDevice
{
public:
    explicit OpenDevice(const gentl::FunctionTable& table, std::size_t index = 0);
    ~OpenDevice() { close(); }
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;
    void close();

    ZelCam::Device& device() { return *device_; }
    ZelCam::Stream& stream() { return *stream_; }
    bool hasStream() const { return stream_ != nullptr; }
    ZelGenParam::Array& camera() { return *camera_; }

    void set(const char* name, std::int64_t value);
    void choose(const char* name, const char* entry);
    std::int64_t counter(const char* name);
    void start(std::uint64_t buffers = 4);
    /// The next frame within ten seconds, or null.
    ZelCam::Buffer* next();

private:
    ZelCam::Device* device_ = nullptr;
    ZelCam::Stream* stream_ = nullptr;
    ZelGenParam::Array* camera_ = nullptr;
};

/// Collects the events of a device.
class Inbox
{
public:
    static void receive(const void* data, std::uint64_t size, void* context);
    /// Whether so many came within ten seconds.
    bool waitFor(std::size_t count);

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::size_t count_ = 0;
};

} // namespace gentl_test
