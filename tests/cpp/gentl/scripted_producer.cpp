// The simulated producer with single functions replaced: one well-behaved base for every deviation.
#include "scripted_producer.h"

#include "gentl/gentl_provider.h"
#include "simulator/producer_table.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>

namespace gentl_test
{

using gentl::Error;
using gentl::Handle;

namespace
{

constexpr std::uint64_t kPatienceMs = 10'000;

Error shareSystem(Handle* system)
{
    static Handle shared = nullptr;
    static const Error code = simulator::producerTable().TLOpen(&shared);
    *system = shared;
    return code;
}

Error shareInterface(Handle system, const char* id, Handle* interface)
{
    static std::map<std::string, Handle> shared;
    Handle& handle = shared[id];
    const Error code = handle != nullptr
                           ? gentl::err::kSuccess
                           : simulator::producerTable().TLOpenInterface(system, id, &handle);
    *interface = handle;
    return code;
}

class OneTable final : public core::ProviderLoader
{
public:
    explicit OneTable(const gentl::FunctionTable& table) : table_(table) {}
    std::vector<std::unique_ptr<core::TransportProvider>> loadDefaults() override
    {
        std::vector<std::unique_ptr<core::TransportProvider>> providers(1);
        EXPECT_EQ(gentl::GentlProvider::create(table_, "scripted", true, providers.data()), 0);
        return providers;
    }
    ZelCamErr load(const char* /*path*/,
                   std::vector<std::unique_ptr<core::TransportProvider>>* /*providers*/) override
    {
        return ZelErr::kFileNotFound;
    }

private:
    const gentl::FunctionTable table_;
};

} // namespace

gentl::FunctionTable sharedTable()
{
    gentl::FunctionTable table = simulator::producerTable();
    table.TLOpen = shareSystem;
    table.TLOpenInterface = shareInterface;
    return table;
}

core::SystemImpl& systemOver(const gentl::FunctionTable& table)
{
    static auto* const kept = new std::vector<core::SystemImpl*>;
    kept->push_back(new core::SystemImpl(*new OneTable(table), "1"));
    return *kept->back();
}

OpenDevice::OpenDevice(const gentl::FunctionTable& table, std::size_t index)
{
    core::SystemImpl& system = systemOver(table);
    ZelCam::InterfaceList* const interfaces = system.GetInterfaceList(255);
    ZelCam::DeviceInfoList* const list = interfaces->GetFirst()->GetDeviceInfoList();
    ZelCam::DeviceInfo* info = list->GetFirst();
    for (std::size_t i = 0; i < index && info != nullptr; ++i) {
        info = list->GetNext();
    }
    list->Release();
    interfaces->Release();
    ZelCamErr code = ZelErr::kUnknown;
    device_ = system.openDevice(info, 2, &code);
    EXPECT_EQ(code, ZelErr::kOk);
    if (device_ == nullptr) {
        return;
    }
    stream_ = device_->GetStreamByIndex(0);
    camera_ = device_->GetCameraParameters(&code);
    if (camera_ != nullptr) {
        choose("UserSetSelector", "Default");
        EXPECT_EQ(camera_->ExecuteCommand("UserSetLoad"), ZelErr::kOk);
        set("Width", 64);
        set("Height", 32);
        camera_->SetFloatValue("ExposureTime", 100);
    }
}

void OpenDevice::close()
{
    if (device_ != nullptr) {
        device_->Release();
        device_ = nullptr;
    }
}

void OpenDevice::set(const char* name, std::int64_t value)
{
    EXPECT_EQ(camera_->SetIntegerValue(name, value), ZelErr::kOk) << name;
}

void OpenDevice::choose(const char* name, const char* entry)
{
    EXPECT_EQ(camera_->SetEnumValueStr(name, entry), ZelErr::kOk) << name;
}

std::int64_t OpenDevice::counter(const char* name)
{
    ZelCamErr code = ZelErr::kUnknown;
    const std::int64_t value =
        device_->GetTransportParameters(nullptr)->GetIntegerValue(name, &code);
    EXPECT_EQ(code, ZelErr::kOk) << name;
    return value;
}

void OpenDevice::start(std::uint64_t buffers)
{
    EXPECT_EQ(stream_->AllocBufferQueue(nullptr, buffers), ZelErr::kOk);
    EXPECT_EQ(stream_->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kOk);
}

ZelCam::Buffer* OpenDevice::next() { return stream_->GetBuffer(kPatienceMs, nullptr); }

void Inbox::receive(const void* /*data*/, std::uint64_t /*size*/, void* context)
{
    auto& self = *static_cast<Inbox*>(context);
    const std::lock_guard<std::mutex> lock(self.mutex_);
    ++self.count_;
    self.arrived_.notify_all();
}

bool Inbox::waitFor(std::size_t count)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::milliseconds(kPatienceMs),
                             [&] { return count_ >= count; });
}

} // namespace gentl_test
