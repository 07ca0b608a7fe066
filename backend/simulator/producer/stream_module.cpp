// Features, counters, start and stop of a data stream.
#include "simulator/producer/stream_module.h"

#include "simulator/producer/buffer_info.h"
#include "simulator/producer/device_module.h"
#include "simulator/producer/failure.h"
#include "simulator/producer/message_event.h"
#include "simulator/producer/new_buffer_event.h"
#include "simulator/producer/transport_type.h"

#include <new>
#include <system_error>
#include <utility>

namespace simulator::producer
{

namespace
{

constexpr std::size_t kMaxChunks = 32;

ModuleIdentity identity()
{
    ModuleIdentity identity;
    identity.vendor = kVendor;
    identity.model = "SimulatedStream";
    identity.toolTip = "Data stream of a simulated camera";
    identity.productGuid = "6D1F4A52-0B0E-4C0F-9C35-3E8F1C7A5D04";
    identity.versionGuid = "A35D6C1E-5B43-4F7E-8A0B-6C2B8E1D9F04";
    return identity;
}

} // namespace

StreamModule::StreamModule(HandleRegistry& handles, const std::shared_ptr<DeviceModule>& device,
                           std::shared_ptr<CameraEndpoint> camera,
                           std::shared_ptr<BufferQueues> queues)
    : Module(handles, identity(), {gentl::kEventError, gentl::kEventNewBuffer},
             [queues](gentl::EventType type) -> std::shared_ptr<Event> {
                 if (type == gentl::kEventNewBuffer) {
                     return std::make_shared<NewBufferEvent>(queues);
                 }
                 return std::make_shared<MessageEvent>(type);
             }),
      device_(device), parent_(device->handle()), camera_(std::move(camera)),
      queues_(std::move(queues)), engine_(camera_->model(), *queues_)
{
    addFeatures();
    addCounters();
    table().finish();
}

std::shared_ptr<StreamModule> StreamModule::open(HandleRegistry& handles,
                                                 const std::shared_ptr<DeviceModule>& device,
                                                 std::shared_ptr<CameraEndpoint> camera)
{
    std::shared_ptr<StreamModule> stream(new StreamModule(handles, device, std::move(camera),
                                                          std::make_shared<BufferQueues>(handles)));
    stream->publish();
    return stream;
}

void StreamModule::addFeatures()
{
    FeatureTable& features = table();
    features.category("StreamInformation", "What the data stream is.");
    features.string("StreamID", "Unique identifier of the data stream.", 32)
        .readOnly()
        .value(std::string(kId));
    addTransportTypes(features.enumeration("StreamType", "Transport layer of the stream."), false)
        .readOnly()
        .value(transportTypeValue(camera_->tlType()));
    features.category("BufferHandlingControl", "How buffers are filled and handed out.");
    features.enumeration("StreamBufferHandlingMode", "What happens when the host is slow.")
        .entry("OldestFirst", 0, "Frames wait in order; without a queued buffer one is lost.")
        .entry("OldestFirstOverwrite", 1, "The oldest waiting frame makes room for a new one.")
        .entry("NewestOnly", 2, "Only the newest frame waits.")
        .value(0)
        .onChange([this, &features](std::size_t) {
            const auto mode = features.find("StreamBufferHandlingMode")->integer();
            queues_->setMode(static_cast<HandlingMode>(mode));
        });
    features.integer("StreamAnnounceBufferMinimum", "Buffers that a start needs.")
        .expert()
        .readOnly()
        .value(static_cast<std::int64_t>(kMinBuffers));
    features.integer("StreamBufferAlignment", "Alignment that buffers need.")
        .unit("B")
        .expert()
        .readOnly()
        .value(1);
    features.integer("StreamChunkCountMaximum", "Most chunks that a buffer holds.")
        .expert()
        .readOnly()
        .value(static_cast<std::int64_t>(kMaxChunks));
}

void StreamModule::addCounters()
{
    FeatureTable& features = table();
    const auto count = [&features](const char* name, const char* toolTip, auto read) {
        features.integer(name, toolTip).expert().readOnly().onRead([read](std::size_t) {
            return static_cast<std::int64_t>(read());
        });
    };
    const FrameCounts& counts = engine_.counts();
    count("StreamAnnouncedBufferCount", "Buffers that are announced.",
          [this] { return queues_->counts().announced; });
    count("StreamInputBufferCount", "Buffers that are queued or being filled.",
          [this] { return queues_->counts().queued; });
    count("StreamOutputBufferCount", "Buffers that wait for being fetched.",
          [this] { return queues_->counts().awaitingDelivery; });
    count("StreamStartedFrameCount", "Frames that began since the stream was opened.",
          [&counts] { return counts.started.load(); });
    count("StreamDeliveredFrameCount", "Frames delivered since the last start.",
          [&counts] { return counts.delivered.load(); });
    count("StreamLostFrameCount", "Frames that reached no buffer since the stream was opened.",
          [&counts] { return counts.lost + counts.underrun; });
    count("StreamUnderrunFrameCount", "Frames lost because no buffer was queued.",
          [&counts] { return counts.underrun.load(); });
    count("StreamIncompleteFrameCount", "Frames delivered with lines missing.",
          [&counts] { return counts.incomplete.load(); });
    features.boolean("StreamIsGrabbing", "The stream is started.")
        .readOnly()
        .onRead([this](std::size_t) { return std::int64_t{grabbing_}; });
}

PortFacts StreamModule::facts()
{
    PortFacts facts;
    facts.id = kId;
    facts.vendor = kVendor;
    facts.model = "SimulatedStream";
    facts.tlType = camera_->tlType();
    facts.module = "TLDataStream";
    facts.version = kVersion;
    facts.portName = "Device";
    return facts;
}

bool StreamModule::hasDevice(const DeviceModule* device) const
{
    return device_.lock().get() == device;
}

/// Frame grabbers know the size of what they assemble; packet transports ask the camera.
bool StreamModule::definesPayloadSize() const
{
    return camera_->tlType() != "GEV" && camera_->tlType() != "U3V";
}

InfoValue StreamModule::streamInfo(std::int32_t command)
{
    const FrameCounts& counts = engine_.counts();
    switch (command) {
    case gentl::kStreamInfoId:
        return InfoValue::text(kId);
    case gentl::kStreamInfoNumDelivered:
        return InfoValue::uint64(counts.delivered);
    case gentl::kStreamInfoNumUnderrun:
        return InfoValue::uint64(counts.underrun);
    case gentl::kStreamInfoNumAnnounced:
        return InfoValue::size(queues_->counts().announced);
    case gentl::kStreamInfoNumQueued:
        return InfoValue::size(queues_->counts().queued);
    case gentl::kStreamInfoNumAwaitDelivery:
        return InfoValue::size(queues_->counts().awaitingDelivery);
    case gentl::kStreamInfoNumStarted:
        return InfoValue::uint64(counts.started);
    case gentl::kStreamInfoPayloadSize:
        if (!definesPayloadSize()) {
            throw Failure(gentl::err::kNotAvailable, "the camera defines the payload size");
        }
        return InfoValue::size(camera_->model().payloadSize());
    case gentl::kStreamInfoIsGrabbing:
        return InfoValue::bool8(grabbing_);
    case gentl::kStreamInfoDefinesPayloadSize:
        return InfoValue::bool8(definesPayloadSize());
    case gentl::kStreamInfoTlType:
        return InfoValue::text(camera_->tlType());
    case gentl::kStreamInfoNumChunksMax:
        return InfoValue::size(kMaxChunks);
    case gentl::kStreamInfoBufAnnounceMin:
        return InfoValue::size(kMinBuffers);
    case gentl::kStreamInfoBufAlignment:
        return InfoValue::size(1);
    case gentl::kStreamInfoFlowTable:
    case gentl::kStreamInfoGenDCPrefetchDescriptor:
        throw Failure(gentl::err::kNotImplemented, "the stream has no flows");
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown stream info command");
    }
}

InfoValue StreamModule::info(const std::shared_ptr<AnnouncedBuffer>& buffer, std::int32_t command)
{
    const auto [state, frame] = queues_->snapshot(buffer);
    return bufferInfo(*buffer, state, frame, camera_->tlType(), command);
}

void StreamModule::requireStartable()
{
    if (isClosed() || halted_) {
        throw Failure(gentl::err::kInvalidHandle, "the stream was closed");
    }
    if (grabbing_) {
        throw Failure(gentl::err::kResourceInUse, "the stream is started already");
    }
    const auto device = device_.lock();
    if (device) {
        device->requireAlive();
    }
    if (queues_->counts().announced < kMinBuffers) {
        throw Failure(gentl::err::kInvalidBuffer, "too few buffers are announced");
    }
    if (queues_->smallestSize() < camera_->model().payloadSize()) {
        throw Failure(gentl::err::kBufferTooSmall, "a buffer is smaller than the payload");
    }
}

void StreamModule::start(std::int32_t flags, std::uint64_t frames)
{
    requireParameter(flags == gentl::kAcqStartDefault, "unknown start flags");
    requireParameter(frames != 0, "no frames to acquire");
    const std::lock_guard lock(control_);
    requireStartable();
    camera_->model().setTransportLocked(true);
    try {
        engine_.start(frames);
    } catch (const std::system_error& error) {
        camera_->model().setTransportLocked(false);
        throw Failure(gentl::err::kResourceExhausted, error.what());
    } catch (const std::bad_alloc&) {
        camera_->model().setTransportLocked(false);
        throw;
    }
    grabbing_ = true;
    tellLocked("1");
}

// What was done is done, even when there is no memory to tell it.
void StreamModule::tellLocked(const char* value)
{
    const auto device = device_.lock();
    try {
        if (device) {
            device->events().post(gentl::kEventFeatureChange,
                                  featureMessage("TLParamsLocked", value));
        }
    } catch (const std::bad_alloc&) {
        return;
    }
}

void StreamModule::stop(std::int32_t flags)
{
    requireParameter(flags == gentl::kAcqStopDefault || flags == gentl::kAcqStopKill,
                     "unknown stop flags");
    if (!grabbing_) {
        throw Failure(gentl::err::kResourceInUse, "the stream is not started");
    }
    const bool kill = flags == gentl::kAcqStopKill;
    engine_.requestStop(kill); // may hurry a stop that another thread waits in
    const std::lock_guard lock(control_);
    if (!grabbing_) {
        throw Failure(gentl::err::kResourceInUse, "the stream is not started");
    }
    stopEngine(kill);
}

void StreamModule::stopEngine(bool kill)
{
    engine_.stop(kill);
    camera_->model().setTransportLocked(false);
    grabbing_ = false;
    tellLocked("0");
}

void StreamModule::halt()
{
    engine_.requestStop(true);
    const std::lock_guard lock(control_);
    halted_ = true;
    engine_.stop(true);
}

void StreamModule::closeChildren()
{
    engine_.requestStop(true);
    {
        const std::lock_guard lock(control_);
        if (grabbing_) {
            stopEngine(true);
        }
    }
    events().close(); // waits end before their buffers go
    queues_->clear();
}

void StreamModule::cameraLost()
{
    engine_.abandon();
    events().post(gentl::kEventError, errorMessage(gentl::err::kIo, "the device was unplugged"));
    events().endAll();
}

} // namespace simulator::producer
