// ZelCam::Device over an opened device of any transport.
#include "core/device_impl.h"

#include "base/log.h"
#include "base/operation_guard.h"
#include "core/device_info_impl.h"
#include "core/interface_impl.h"
#include "params/configuration_file.h"

#include <algorithm>
#include <new>

namespace core
{

using base::ExclusiveLock;
using base::Lock;
using base::SharedLock;

namespace
{
// Large transfers go in pieces, so that `written` tells how far a failing one came.
constexpr std::int64_t kPiece = 65'536;
} // namespace

DeviceImpl::DeviceImpl(DeviceInfoImpl& info) : info_(info), streamFeatures_(*this) {}

const char* DeviceImpl::name() const { return info_.id().c_str(); }

// The shells live as long as the device, so the pointers stay good without the lock.
template <class Body> void DeviceImpl::forEachStream(Body&& body)
{
    const auto at = [this](std::size_t index) {
        const Lock lock(shellsMutex_);
        return index < streams_.size() ? streams_[index].get() : nullptr;
    };
    for (std::size_t index = 0; StreamImpl* const stream = at(index); ++index) {
        body(*stream);
    }
}

template <class Body> ZelCamErr DeviceImpl::whileOpen(Body&& body)
{
    return base::guarded([&] {
        const SharedLock lock(lifetime_);
        if (transport_ == nullptr) {
            return ZelErr::kGenTLInvalidHandle;
        }
        const ZelCamErr lost = lost_;
        return lost == ZelErr::kOk ? body(*transport_) : lost;
    });
}

ZelCamErr DeviceImpl::open()
{
    const ExclusiveLock lock(lifetime_);
    if (transport_ != nullptr) {
        return ZelErr::kGenTLResourceInUse;
    }
    ZelCamErr code = base::guarded([&]() ZEL_NO_THREAD_SAFETY_ANALYSIS {
        return info_.interface().openDevice(info_.id(), &transport_);
    });
    if (code == ZelErr::kOk) {
        code = transport_ == nullptr
                   ? ZelErr::kUnknown
                   : base::guarded([&]() ZEL_NO_THREAD_SAFETY_ANALYSIS { start(); });
    }
    if (code != ZelErr::kOk) {
        if (const auto dispatcher = events()) {
            dispatcher->close();
        }
        shut();
    }
    base::log(base::LogChannel::Backend, "%s: opened: %d", name(), code);
    return code;
}

void DeviceImpl::start()
{
    lost_ = ZelErr::kOk;
    mode_ = HandlingMode::OldestFirst;
    forEachStream([this](StreamImpl& stream) {
        stream.setHandlingMode(mode_);
        stream.resetCounters();
    });
    {
        const Lock lock(chunksMutex_);
        shownFetch_ = BufferPool::newestFetch();
        chunksShown_ = false;
    }
    const std::uint64_t session = ++session_;
    {
        const Lock lock(eventsMutex_);
        events_ = std::make_shared<EventDispatcher>(
            [this, session](std::uint64_t id, const void* data, std::size_t size) {
                publishEvent(session, id, data, size);
            });
    }
    cameraCode_ = camera_.attach({transport_->camera()});
    // A camera whose description makes no sense is open without; one for which there was no memory
    // can be opened another time.
    if (cameraCode_ == ZelErr::kGenTLOutOfMemory || !attachTransportParameters(*transport_)) {
        throw std::bad_alloc();
    }
    open_ = true;
    transport_->startEvents(this);
}

// The order is that of who uses whom: the parameters read ports of the streams, the streams give
// commands to the camera through its parameters.
void DeviceImpl::shut()
{
    transportParameters_.detach(ZelErr::kGenTLInvalidHandle);
    forEachStream([](StreamImpl& stream) { stream.close(); });
    if (transport_ != nullptr) {
        transport_->stopEvents();
    }
    camera_.detach(ZelErr::kGenTLInvalidHandle);
    transport_.reset();
    open_ = false;
}

void DeviceImpl::Release()
{
    static_cast<void>(base::guarded([&] {
        // Before the exclusive lock: slow operations and callbacks may hold the shared one.
        forEachStream([](StreamImpl& stream) { stream.endWaits(); });
        if (const auto dispatcher = events()) {
            dispatcher->close();
        }
        const ExclusiveLock lock(lifetime_);
        if (transport_ != nullptr) {
            shut();
            base::log(base::LogChannel::Backend, "%s: closed", name());
        }
    }));
}

std::uint32_t DeviceImpl::GetNumStreams()
{
    std::uint32_t count = 0;
    static_cast<void>(whileOpen([&](TransportDevice& transport) {
        count = transport.streamCount();
        return ZelErr::kOk;
    }));
    return count;
}

ZelCam::Stream* DeviceImpl::GetStreamByIndex(std::uint32_t index)
{
    ZelCam::Stream* stream = nullptr;
    static_cast<void>(whileOpen([&](TransportDevice& transport) {
        if (index < transport.streamCount()) {
            stream = openStream(transport, index);
        }
        return ZelErr::kOk;
    }));
    return stream;
}

ZelCam::Stream* DeviceImpl::GetStreamById(const char* id)
{
    ZelCam::Stream* stream = nullptr;
    static_cast<void>(whileOpen([&](TransportDevice& transport) {
        const std::uint32_t count = id != nullptr ? transport.streamCount() : 0;
        for (std::uint32_t index = 0; index < count; ++index) {
            if (transport.streamId(index) == id) {
                stream = openStream(transport, index);
                break;
            }
        }
        return ZelErr::kOk;
    }));
    return stream;
}

ZelCam::DeviceInfo* DeviceImpl::GetInfo() { return &info_; }

ZelCamErr DeviceImpl::ReadMem(std::int64_t address, void* data, std::int64_t length)
{
    return whileOpen([&](TransportDevice& transport) {
        if (address < 0 || length < 0 || (data == nullptr && length > 0)) {
            return ZelErr::kInvalidArgument;
        }
        auto* const bytes = static_cast<unsigned char*>(data);
        ZelCamErr code = ZelErr::kOk;
        for (std::int64_t done = 0; done < length && code == ZelErr::kOk; done += kPiece) {
            code = transport.camera()->read(
                static_cast<std::uint64_t>(address) + static_cast<std::uint64_t>(done),
                bytes + done, static_cast<std::size_t>(std::min(kPiece, length - done)));
        }
        return code;
    });
}

ZelCamErr DeviceImpl::WriteMem(std::int64_t address, const void* data, std::int64_t length,
                               std::int64_t* written)
{
    std::int64_t done = 0;
    const ZelCamErr result = whileOpen([&](TransportDevice& transport) {
        if (address < 0 || length < 0 || (data == nullptr && length > 0)) {
            return ZelErr::kInvalidArgument;
        }
        const auto* const bytes = static_cast<const unsigned char*>(data);
        while (done < length) {
            const std::int64_t piece = std::min(kPiece, length - done);
            const ZelCamErr code = transport.camera()->write(
                static_cast<std::uint64_t>(address) + static_cast<std::uint64_t>(done),
                bytes + done, static_cast<std::size_t>(piece));
            if (code != ZelErr::kOk) {
                return code;
            }
            done += piece;
        }
        return ZelErr::kOk;
    });
    // Refused writes too may have changed something.
    params::ParamArray::invalidate();
    if (written != nullptr) {
        *written = done;
    }
    return result;
}

ZelCamErr DeviceImpl::RegisterEvent(long eventId, ZelCam::EventCallback callback, void* context)
{
    return whileOpen([&](TransportDevice& /*transport*/) {
        if (callback == nullptr) {
            return ZelErr::kInvalidArgument;
        }
        events()->add(eventId, callback, context);
        return ZelErr::kOk;
    });
}

ZelCamErr DeviceImpl::UnRegisterEvent(long eventId, ZelCam::EventCallback callback, void* context)
{
    // Not under the device's lock: it may wait for a callback that wants to use the device.
    return base::guarded([&] {
        const std::shared_ptr<EventDispatcher> dispatcher = events();
        if (dispatcher == nullptr) {
            return ZelErr::kGenTLInvalidHandle;
        }
        return dispatcher->remove(eventId, callback, context) ? ZelErr::kOk
                                                              : ZelErr::kGenTLInvalidId;
    });
}

ZelGenParam::Array* DeviceImpl::GetTransportParameters(ZelCamErr* err)
{
    const ZelCamErr code = whileOpen([](TransportDevice& /*transport*/) { return ZelErr::kOk; });
    base::report(err, code);
    return code == ZelErr::kOk ? &transportParameters_ : nullptr;
}

ZelGenParam::Array* DeviceImpl::GetCameraParameters(ZelCamErr* err)
{
    const ZelCamErr code = whileOpen([this](TransportDevice& /*transport*/)
                                         ZEL_NO_THREAD_SAFETY_ANALYSIS { return cameraCode_; });
    base::report(err, code);
    return code == ZelErr::kOk ? &camera_ : nullptr;
}

ZelCamErr DeviceImpl::SaveConfiguration(const char* fileName)
{
    return whileOpen([&](TransportDevice& /*transport*/) {
        return params::saveConfiguration(camera_, info_.identity(), fileName);
    });
}

ZelCamErr DeviceImpl::LoadConfiguration(const char* fileName)
{
    return whileOpen([&](TransportDevice& /*transport*/) {
        return params::loadConfiguration(camera_, fileName);
    });
}

void DeviceImpl::releaseStream(StreamImpl& stream)
{
    stream.endWaits();
    const SharedLock lock(lifetime_);
    const Lock streams(streamsMutex_);
    if (transport_ == nullptr || !stream.isOpen()) {
        return;
    }
    // The stream's modules leave the parameters before they go.
    stream.breakOff(ZelErr::kGenTLInvalidHandle);
    if (!attachTransportParameters(*transport_, &stream)) {
        stream.close();
        static_cast<void>(attachTransportParameters(*transport_));
        return;
    }
    stream.close();
}

void DeviceImpl::publishChunks(const FetchedFrame& frame)
{
    const Lock lock(chunksMutex_);
    if (frame.order < shownFetch_) {
        return;
    }
    shownFetch_ = frame.order;
    if (!frame.chunks.empty() || chunksShown_) {
        camera_.setChunks(frame.chunks);
        chunksShown_ = !frame.chunks.empty();
    }
}

void DeviceImpl::event(std::uint64_t eventId, const void* data, std::size_t size)
{
    if (const auto dispatcher = events()) {
        dispatcher->post(eventId, data, size);
    }
}

void DeviceImpl::featuresInvalidated() { params::ParamArray::invalidate(); }

void DeviceImpl::deviceLost(ZelCamErr reason)
{
    // One code for every way of losing a device, so that scripts need not know the transport.
    const ZelCamErr code = ZelErr::kGenTLIo;
    ZelCamErr none = ZelErr::kOk;
    if (!lost_.compare_exchange_strong(none, code)) {
        return;
    }
    base::log(base::LogChannel::Backend, "%s: lost: %d", name(), reason);
    forEachStream([code](StreamImpl& stream) { stream.breakOff(code); });
    event(static_cast<std::uint64_t>(ZelCam::kEventDeviceLost), &code, sizeof code);
}

void DeviceImpl::setHandlingMode(HandlingMode mode)
{
    mode_ = mode;
    forEachStream([mode](StreamImpl& stream) { stream.setHandlingMode(mode); });
}

ZelCam::Stream* DeviceImpl::openStream(TransportDevice& transport, std::uint32_t index)
{
    const Lock streams(streamsMutex_);
    StreamImpl* stream = nullptr;
    {
        const Lock shells(shellsMutex_);
        while (streams_.size() <= index) {
            streams_.push_back(
                std::make_unique<StreamImpl>(*this, static_cast<std::uint32_t>(streams_.size())));
            streams_.back()->setHandlingMode(mode_);
        }
        stream = streams_[index].get();
    }
    if (stream->isOpen()) {
        return stream;
    }
    const ZelCamErr code = stream->open(transport);
    if (code != ZelErr::kOk) {
        base::log(base::LogChannel::Backend, "%s: stream %u cannot be opened: %d", name(), index,
                  code);
        return nullptr;
    }
    if (const ZelCamErr lost = lost_; lost != ZelErr::kOk) {
        stream->breakOff(lost); // The news may have come before the stream was there.
    }
    if (!attachTransportParameters(transport)) {
        stream->close();
        static_cast<void>(attachTransportParameters(transport));
        return nullptr;
    }
    return stream;
}

// What the streams have in common comes first and are the same everywhere, then the device's
// modules, then those of the open streams. Without memory the array is left empty.
bool DeviceImpl::attachTransportParameters(TransportDevice& transport, const StreamImpl* without)
{
    const ZelCamErr code = base::guarded([&] {
        std::vector<genapi::FeatureSource*> sources = transportSources(transport, without);
        return transportParameters_.attach(sources);
    });
    if (code != ZelErr::kGenTLOutOfMemory) {
        return true;
    }
    transportParameters_.detach(code);
    return false;
}

std::vector<genapi::FeatureSource*> DeviceImpl::transportSources(TransportDevice& transport,
                                                                 const StreamImpl* without)
{
    std::vector<genapi::FeatureSource*> sources = {&streamFeatures_};
    for (genapi::FeatureSource* const source : transport.transportFeatures()) {
        sources.push_back(source);
    }
    forEachStream([&](StreamImpl& stream) {
        if (&stream != without) {
            for (genapi::FeatureSource* const source : stream.features()) {
                sources.push_back(source);
            }
        }
    });
    return sources;
}

void DeviceImpl::publishEvent(std::uint64_t session, std::uint64_t id, const void* data,
                              std::size_t size)
{
    const SharedLock lock(lifetime_);
    if (transport_ == nullptr || session != session_) {
        return;
    }
    if (id == static_cast<std::uint64_t>(ZelCam::kEventDeviceLost)) {
        camera_.detach(lost_);
        transportParameters_.detach(lost_);
        return;
    }
    camera_.setEventData(id, data, size);
    transportParameters_.setEventData(id, data, size);
}

std::shared_ptr<EventDispatcher> DeviceImpl::events()
{
    const Lock lock(eventsMutex_);
    return events_;
}

// Called under the transport parameters' lock.
StreamStatistics DeviceImpl::statistics()
{
    StreamStatistics statistics;
    forEachStream([&](StreamImpl& stream) { stream.addTo(statistics); });
    return statistics;
}

} // namespace core
