#include "usb3/usb3_stream.h"

#include "base/log.h"
#include "base/operation_guard.h"
#include "usb3/device_memory.h"

#include <libusb.h>

namespace usb3
{

namespace
{

using features::FeatureValue;

constexpr std::int64_t kTransferSize = 1 << 20;
// Of the 16 MB that Linux has for all cameras unless it is told otherwise.
constexpr std::int64_t kBytesInFlight = 8 << 20;
// Elsewhere what a device writes by itself may be slow to read for the processor.
#if defined(__x86_64__)
constexpr std::int64_t kUsesDeviceMemory = 1;
#else
constexpr std::int64_t kUsesDeviceMemory = 0;
#endif
// A stop has 20 ms; an answer that comes later is dropped.
constexpr std::chrono::milliseconds kStopPatience{10};
constexpr std::chrono::milliseconds kPatience{500};
constexpr unsigned kRequestTimeoutMs = 500;

} // namespace

Usb3Stream::Usb3Stream(libusb_device_handle* handle, CameraRegisters& registers,
                       const wire::Interface& interface, core::StreamSink* sink, Device device)
    : handle_(handle), registers_(registers), endpoint_(interface.in), device_(std::move(device)),
      receiver_(std::make_unique<FrameReceiver>(
          handle, interface.in, sink,
          FrameReceiver::Hooks{device_.lost, [this] { restartCamera(); }, device_.wake})),
      transferSize_(kTransferSize), bytesInFlight_(kBytesInFlight),
      usesDeviceMemory_(kUsesDeviceMemory), features_("Usb3Stream", "Data stream")
{
    declareFeatures();
}

Usb3Stream::~Usb3Stream()
{
    const ZelCamErr code = receiver_->stop();
    device_.closed(this);
    if (code != ZelErr::kOk) {
        static_cast<void>(receiver_.release());
    }
}

void Usb3Stream::declareFeatures()
{
    const auto option = [](std::atomic<std::int64_t>* target) {
        return [target](std::size_t, const FeatureValue& value) {
            *target = std::get<std::int64_t>(value);
            return std::int32_t{0};
        };
    };
    features::FeatureTable& table = features_.table();
    table.category("StreamReceiver", "How frames are received; takes effect at the next start.");
    table
        .integer("StreamTransferSize",
                 "Largest USB transfer. Smaller ones help hosts that fail at large ones.")
        .unit("B")
        .expert()
        .range(std::int64_t{16384}, std::int64_t{16} << 20, 1024)
        .value(kTransferSize)
        .onWrite(option(&transferSize_));
    table
        .integer("StreamBytesInFlight",
                 "Memory of the transfers that wait for the camera. The kernel's limit for all "
                 "cameras together is usbfs_memory_mb.")
        .unit("B")
        .expert()
        .range(std::int64_t{65536}, std::int64_t{1} << 30)
        .value(kBytesInFlight)
        .onWrite(option(&bytesInFlight_));
    table
        .boolean("StreamDeviceMemory",
                 "Buffers of the next queue lie in memory that the bus writes by itself, as far as "
                 "the kernel has it.")
        .expert()
        .value(kUsesDeviceMemory)
        .onWrite(option(&usesDeviceMemory_));
    declareCounters();
    table.finish();
}

void Usb3Stream::declareCounters()
{
    features::FeatureTable& table = features_.table();
    table.category("StreamReceiverStatistics", "Counters of the receiver.");
    struct Counter {
        const char* feature;
        const std::atomic<std::uint64_t>* value;
        const char* toolTip;
    };
    const ReceiverCounters& counts = receiver_->counters();
    for (const Counter& counter :
         {Counter{"StreamCompletedBufferCount", &counts.complete, "Buffers filled whole."},
          Counter{"StreamFailedBufferCount", &counts.incomplete, "Buffers with missing parts."},
          Counter{"StreamReceiverUnderrunCount", &counts.underruns,
                  "Frames without a free buffer."},
          Counter{"StreamResynchronizationCount", &counts.resyncs,
                  "Times at which the beginning of a frame had to be found again."}}) {
        const std::atomic<std::uint64_t>* const value = counter.value;
        table.integer(counter.feature, counter.toolTip).readOnly().onRead([value](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(value->load()));
        });
    }
}

std::uint64_t Usb3Stream::payloadSize()
{
    if (runs_) {
        return plannedPayload_;
    }
    wire::StreamNeeds needs;
    return registers_.readNeeds(&needs) == ZelErr::kOk ? needs.payload : 0;
}

std::shared_ptr<void> Usb3Stream::allocate(std::size_t size)
{
    return usesDeviceMemory_ != 0 ? allocateDeviceMemory(handle_, size) : nullptr;
}

ZelCamErr Usb3Stream::announce(core::BufferToken token, void* memory, std::size_t size)
{
    receiver_->announce(token, memory, size);
    return ZelErr::kOk;
}

/// A halt that is set and cleared again makes host and camera begin anew; without it some cameras
/// send nothing the second time.
void Usb3Stream::resetEndpoint()
{
    constexpr std::uint16_t kEndpointHalt = 0;
    constexpr std::uint8_t kToEndpoint = std::uint8_t{LIBUSB_ENDPOINT_OUT} |
                                         std::uint8_t{LIBUSB_REQUEST_TYPE_STANDARD} |
                                         std::uint8_t{LIBUSB_RECIPIENT_ENDPOINT};
    libusb_control_transfer(handle_, kToEndpoint, LIBUSB_REQUEST_SET_FEATURE, kEndpointHalt,
                            endpoint_, nullptr, 0, kRequestTimeoutMs);
    libusb_clear_halt(handle_, endpoint_);
}

void Usb3Stream::restartCamera()
{
    base::log(base::LogChannel::Usb3, "the stream is restarted");
    static_cast<void>(registers_.disableStream(kPatience));
    resetEndpoint();
    static_cast<void>(registers_.enableStream());
}

ZelCamErr Usb3Stream::start(std::uint64_t frames)
{
    // A client that ended badly may have left it on, and then it cannot be programmed.
    ZelCamErr code = registers_.disableStream(kPatience);
    if (code == ZelErr::kGenTLIo) {
        return code;
    }
    wire::StreamNeeds needs;
    wire::TransferPlan plan;
    code = registers_.readNeeds(&needs);
    if (code == ZelErr::kOk) {
        code = wire::planTransfers(needs, static_cast<std::uint32_t>(transferSize_.load()), &plan);
    }
    if (code == ZelErr::kOk) {
        code = registers_.program(plan);
    }
    if (code != ZelErr::kOk) {
        base::log(base::LogChannel::Usb3, "no stream: payload %llu, alignment 2^%u: %d",
                  static_cast<unsigned long long>(needs.payload), needs.info >> 24U, code);
        return code;
    }
    resetEndpoint();
    code = receiver_->start(plan, frames, static_cast<std::size_t>(bytesInFlight_.load()));
    if (code != ZelErr::kOk) {
        return code;
    }
    plannedPayload_ = plan.payload;
    code = base::guarded([this] { return registers_.enableStream(); });
    if (code != ZelErr::kOk) {
        static_cast<void>(receiver_->stop());
        return code;
    }
    runs_ = true;
    return ZelErr::kOk;
}

ZelCamErr Usb3Stream::stop(bool)
{
    if (!runs_) {
        return ZelErr::kGenTLResourceInUse;
    }
    runs_ = false;
    static_cast<void>(base::guarded([this] { return registers_.disableStream(kStopPatience); }));
    return receiver_->stop();
}

core::StreamCounters Usb3Stream::counters()
{
    core::StreamCounters counters;
    counters.lost = receiver_->counters().lost;
    counters.underruns = receiver_->counters().underruns;
    return counters;
}

} // namespace usb3
