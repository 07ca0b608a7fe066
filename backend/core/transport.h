// The one internal interface of the backend: what a transport family (GenTL, GigE, USB3)
// implements.
//
// core/ turns these into the classes of sdk/: it owns handles, queues, waits, counters, locks and
// lifetimes, so that they are the same for every transport. A family only moves bytes.
#pragma once

#include "genapi/feature_source.h"
#include "zel_err.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace core
{

/// Identity of a discovered device; all texts UTF-8.
struct DeviceDescription {
    std::string id; ///< Opaque, stable, unique within its interface.
    std::string vendor;
    std::string model;
    std::string displayName;
    std::string userDefinedName;
    std::string serialNumber;
    std::string version;
};

/// IPv4 settings as host integers.
struct IpSettings {
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
};

/// One chunk of a delivered frame: where its bytes lie in the buffer.
struct ChunkPlace {
    std::uint64_t id;
    std::uint64_t offset; ///< From the buffer's base.
    std::uint64_t size;
};

/// What is known of a delivered frame. Width, height and pixel format 0 mean "not told": core takes
/// what the camera's features said when the acquisition was started. core checks that offsets and
/// sizes lie in the buffer.
struct FrameInfo {
    std::uint64_t frameId = 0;
    std::uint64_t timestamp = 0; ///< Nanoseconds where the transport tells its unit.
    std::uint64_t width = 0;
    std::uint64_t height = 0; ///< As delivered.
    std::int64_t xOffset = 0;
    std::int64_t yOffset = 0;
    std::int64_t xPadding = 0;
    std::int64_t yPadding = 0;
    std::uint64_t imageOffset = 0;   ///< From the buffer's base.
    std::uint64_t deliveredSize = 0; ///< Bytes of image payload, from imageOffset on.
    std::uint32_t pixelFormat = 0;   ///< PFNC.
    bool incomplete = false;
    bool empty = false; ///< The buffer came back unfilled; it is not handed to the user.
    std::vector<ChunkPlace> chunks;
};

/// Identifies a buffer between core and a transport stream. Chosen by core, never reused.
using BufferToken = std::uint64_t;

/// Receives what a stream delivers. Called on a thread of the transport. The sink never calls back
/// into the transport and never blocks for long, so the thread may hold locks of the transport.
/// A transport that has delivered calls refill() next, so that frames which were given up for newer
/// ones make room.
class StreamSink
{
public:
    virtual ~StreamSink() = default;
    /// A buffer left the transport: filled (or empty, see FrameInfo), in order of delivery.
    virtual void bufferDone(BufferToken token, FrameInfo info) = 0;
    /// A buffer whose frame was given up for a newer one and that is the transport's to fill again,
    /// as if it had been queued; 0 when there is none. What cannot be queued is reported by
    /// bufferDone() as empty.
    virtual BufferToken takeSpare() { return 0; }
    /// The device is gone or the stream broke: all waits end with `reason`.
    virtual void streamBroken(ZelCamErr reason) = 0;
};

/// What a transport counted since the last start; kept after the stop.
struct StreamCounters {
    /// Frames that the camera began and that never arrived, the one that a stop gave up included.
    std::uint64_t lost = 0;
    std::uint64_t underruns = 0; ///< Frames that found no buffer queued.
};

/// One data stream. core serialises the calls of one stream (but counters(), and queue() by
/// refill()); sink callbacks come concurrently. Destroying it takes back all buffers and ends the
/// callbacks.
class TransportStream
{
public:
    virtual ~TransportStream() = default;
    /// Bytes that one frame needs with the present settings; 0: ask the camera's PayloadSize.
    virtual std::uint64_t payloadSize() = 0;
    virtual std::uint64_t minBuffers() = 0;
    virtual std::uint64_t alignment() = 0;
    /// Memory for one buffer that suits this transport better than any other: zeros, aligned as
    /// alignment() says. Null where there is none (any more): core takes its own. Given back before
    /// the device is closed, from any thread.
    virtual std::shared_ptr<void> allocate(std::size_t /*size*/) { return nullptr; }
    /// Announces memory that core owns and keeps until revoke() returned.
    virtual ZelCamErr announce(BufferToken token, void* memory, std::size_t size) = 0;
    /// Only for buffers that are not queued. The token is forgotten whatever the code; on failure
    /// the transport may go on using the memory until the stream is destroyed, and core keeps it.
    virtual ZelCamErr revoke(BufferToken token) = 0;
    /// Gives an announced buffer to be filled.
    virtual ZelCamErr queue(BufferToken token) = 0;
    /// Takes back all queued buffers: when it returns none is in the transport and none will be
    /// reported by bufferDone() for its earlier queueing. Also while acquiring. On failure nothing
    /// is known of them.
    virtual ZelCamErr discardAll() = 0;
    /// Host side only; the camera's commands and TLParamsLocked are core's job. `frames` all ones:
    /// without limit.
    virtual ZelCamErr start(std::uint64_t frames) = 0;
    /// Prompt, whatever the camera is doing: a frame under way is given up and counted as lost
    /// (`kill`: may be delivered incomplete instead). Buffers that are queued stay queued. Frames
    /// that were whole before are delivered before this returns.
    virtual ZelCamErr stop(bool kill) = 0;
    /// May be called at any time beside the other operations.
    virtual StreamCounters counters() = 0;
    /// False: it listens beside the client that controls the camera, which gets no commands.
    virtual bool controlsCamera() const { return true; }
    /// Modules whose features belong to the stream (GenTL: the DS port); borrowed.
    virtual std::vector<genapi::FeatureSource*> features() { return {}; }
};

/// Queues what the sink has to spare; after every delivery, on the thread that delivers. The
/// stream's queue() is called beside core's operations.
inline void refill(StreamSink& sink, TransportStream& stream)
{
    while (const BufferToken spare = sink.takeSpare()) {
        if (stream.queue(spare) != ZelErr::kOk) {
            FrameInfo nothing;
            nothing.empty = true;
            sink.bufferDone(spare, std::move(nothing));
        }
    }
}

/// Receives what a device reports outside its streams. Called on a thread of the transport that
/// holds no lock of the transport.
class DeviceSink
{
public:
    virtual ~DeviceSink() = default;
    /// An event of the camera or of a module. `data`: offset 0 is address 0 of the event's port.
    virtual void event(std::uint64_t eventId, const void* data, std::size_t size) = 0;
    /// Features changed behind our back.
    virtual void featuresInvalidated() = 0;
    /// The device is gone (unplugged, control lost), its streams included. From now on everything
    /// answers -1010, whatever the transport has seen; `reason` goes to the log.
    virtual void deviceLost(ZelCamErr reason) = 0;
};

/// An opened device. Destroying it closes it; its streams are destroyed before.
class TransportDevice
{
public:
    virtual ~TransportDevice() = default;
    /// The camera's own register space, also what ReadMem and WriteMem reach.
    virtual genapi::FeatureSource* camera() = 0;
    /// Host-side modules (GenTL: the DEV port), in the order in which their features are listed.
    virtual std::vector<genapi::FeatureSource*> transportFeatures() = 0;
    virtual std::uint32_t streamCount() = 0;
    virtual std::string streamId(std::uint32_t index) = 0;
    virtual ZelCamErr openStream(std::uint32_t index, StreamSink* sink,
                                 std::unique_ptr<TransportStream>* stream) = 0;
    /// Starts and ends the delivery of events to the sink; called once each. No callback runs or
    /// comes after stopEvents().
    virtual void startEvents(DeviceSink* sink) = 0;
    virtual void stopEvents() = 0;
};

/// One transport interface. Lives for the life of the process. core serialises updateDevices()
/// against the other operations of the same interface.
class TransportInterface
{
public:
    virtual ~TransportInterface() = default;
    virtual std::string id() = 0; ///< Unique in the process.
    virtual std::string description() = 0;
    virtual std::int32_t type() = 0; ///< ZelCam::kUsb3Vision ...
    virtual bool isSimulated() { return false; }
    /// The interface module's features, or null.
    virtual genapi::FeatureSource* features() = 0;
    /// Looks for devices; on success `*devices` is the present set.
    virtual ZelCamErr updateDevices(std::uint64_t timeoutMs,
                                    std::vector<DeviceDescription>* devices) = 0;
    /// The time of an enumeration that nobody gave one, for a transport that would use all of it.
    virtual std::uint64_t implicitTimeoutMs() { return 1000; }
    /// GenTL access status of a device; asked afresh.
    virtual std::int32_t accessStatus(const std::string& id) = 0;
    /// -1003 for interfaces without IP.
    virtual ZelCamErr ipSettings(const std::string& id, IpSettings* settings) = 0;
    virtual ZelCamErr forceIp(const std::string& id, const IpSettings& settings) = 0;
    virtual ZelCamErr openDevice(const std::string& id,
                                 std::unique_ptr<TransportDevice>* device) = 0;
};

/// A source of interfaces: the vision family, the simulator, a loaded GenTL producer.
class TransportProvider
{
public:
    virtual ~TransportProvider() = default;
    /// Present interfaces; the pointers stay valid for the life of the process, also when an
    /// interface is not listed any more.
    virtual std::vector<TransportInterface*> updateInterfaces() = 0;
};

} // namespace core
