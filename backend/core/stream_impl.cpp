// ZelCam::Stream over a stream of any transport.
#include "core/stream_impl.h"

#include "base/log.h"
#include "base/operation_guard.h"
#include "core/device_impl.h"
#include "core/errand.h"

#include <sys/sysinfo.h>

#include <algorithm>

namespace core
{

using base::Lock;
using State = BufferImpl::State;

namespace
{

constexpr std::int64_t kStopAtOnce = 1;
constexpr std::uint64_t kMaxBuffers = 65'536;

// More than the machine has would only fail later, when the frames arrive.
bool fitsMemory(std::uint64_t count, std::uint64_t size)
{
    struct sysinfo info = {};
    sysinfo(&info);
    const std::uint64_t memory = std::uint64_t{info.totalram} * info.mem_unit;
    return count <= kMaxBuffers && size > 0 && count <= memory / size;
}

} // namespace

StreamImpl::StreamImpl(DeviceImpl& device, std::uint32_t index)
    : device_(device), index_(index), camera_(device.cameraParameters())
{
}

// The body has the transport for itself, after every stop that is still under way.
template <class Body> ZelCamErr StreamImpl::whileOpen(Body&& body)
{
    return base::guarded([&] {
        Lock control(control_);
        awaitStops(control);
        if (transport_ == nullptr) {
            return ZelErr::kGenTLInvalidHandle;
        }
        const ZelCamErr lost = device_.lost();
        return lost == ZelErr::kOk ? body(*transport_) : lost;
    });
}

template <class Body> std::uint64_t StreamImpl::ask(Body&& body)
{
    std::uint64_t answer = 0;
    static_cast<void>(whileOpen([&](TransportStream& transport) {
        answer = body(transport);
        return ZelErr::kOk;
    }));
    return answer;
}

void StreamImpl::Release()
{
    static_cast<void>(base::guarded([&] {
        device_.releaseStream(*this);
        return ZelErr::kOk;
    }));
}

ZelCam::Buffer* StreamImpl::CreateBuffer(std::int64_t size, void* /*userPointer*/, ZelCamErr* err)
{
    BufferImpl* buffer = nullptr;
    base::report(err, whileOpen([&](TransportStream& transport) {
                     if (size <= 0) {
                         return ZelErr::kGenTLInvalidParameter;
                     }
                     ZelCamErr code = ZelErr::kOk;
                     buffer = announce(transport, static_cast<std::uint64_t>(size), false, &code);
                     return code;
                 }));
    return buffer;
}

ZelCamErr StreamImpl::RevokeBuffer(ZelCam::Buffer* buffer)
{
    return whileOpen([&](TransportStream& transport) {
        if (buffer == nullptr) {
            return ZelErr::kGenTLInvalidParameter;
        }
        BufferImpl* const known = pool_.find(buffer);
        if (known == nullptr) {
            return ZelErr::kGenTLInvalidBuffer;
        }
        if (pool_.state(known) != State::Idle) {
            return ZelErr::kGenTLBusy;
        }
        revoke(transport, known);
        return ZelErr::kOk;
    });
}

ZelCamErr StreamImpl::QueueBuffer(ZelCam::Buffer* buffer)
{
    return whileOpen([&](TransportStream& transport) {
        if (buffer == nullptr) {
            return ZelErr::kGenTLInvalidParameter;
        }
        BufferImpl* const known = pool_.find(buffer);
        return known != nullptr ? queue(transport, known) : ZelErr::kGenTLInvalidBuffer;
    });
}

ZelCam::Buffer* StreamImpl::GetBuffer(std::uint64_t timeoutMs, ZelCamErr* err)
{
    FetchedFrame frame;
    base::report(err, base::guarded([&] {
                     ZelCamErr code = ZelErr::kOk;
                     frame = pool_.fetch(timeoutMs, &code);
                     return code;
                 }));
    if (frame.buffer != nullptr) {
        // A frame whose chunks cannot be shown is a frame all the same.
        static_cast<void>(base::guarded([&] { device_.publishChunks(frame); }));
    }
    return frame.buffer;
}

ZelCamErr StreamImpl::CancelBuffer()
{
    return base::guarded([&] {
        pool_.endWaits();
        return pool_.broken();
    });
}

ZelCamErr StreamImpl::FlushBuffers(std::int64_t mode)
{
    return whileOpen([&](TransportStream& transport) {
        ZelCamErr code = ZelErr::kOk;
        switch (mode) {
        case ZelCam::kFlushOutputDiscard:
            pool_.discardReady();
            return code;
        case ZelCam::kFlushAllToInput:
            pool_.discardReady();
            return queueIdle(transport);
        case ZelCam::kFlushUnqueuedToInput:
            return queueIdle(transport);
        case ZelCam::kFlushAllDiscard:
            code = transport.discardAll();
            if (code == ZelErr::kOk) {
                pool_.idleAll(true);
            }
            return code;
        default:
            return ZelErr::kGenTLInvalidParameter;
        }
    });
}

ZelCamErr StreamImpl::StartAcquisition(std::uint64_t frames, std::int64_t /*flags*/)
{
    return whileOpen([&](TransportStream& transport) {
        if (frames == 0) {
            return ZelErr::kGenTLInvalidParameter;
        }
        if (acquiring_) {
            return ZelErr::kGenTLResourceInUse;
        }
        if (const ZelCamErr broken = pool_.broken(); broken != ZelErr::kOk) {
            return broken;
        }
        const ZelCamErr code = checkBuffers(transport);
        return code == ZelErr::kOk ? start(transport, frames) : code;
    });
}

ZelCamErr StreamImpl::StopAcquisition(std::int64_t flags)
{
    return base::guarded([&] {
        if (pendingStops_ > 0) {
            return ZelErr::kGenTLResourceInUse; // Stopped, as an earlier caller was told.
        }
        if (!acquiring_) {
            return whileOpen([](TransportStream&) { return ZelErr::kGenTLResourceInUse; });
        }
        pool_.endWaits(); // Before the camera has had time to answer.
        ++pendingStops_;
        camera_.gate().close(); // What the camera locks while it streams is free for the caller.
        const ZelCamErr code = runErrand(kStopPatience, [this, atOnce = flags == kStopAtOnce] {
            ZelCamErr stopped = ZelErr::kOk;
            stopInTurn(atOnce, &stopped);
            return stopped;
        });
        const ZelCamErr lost = device_.lost();
        return lost != ZelErr::kOk ? lost : code;
    });
}

ZelCamErr StreamImpl::AllocBufferQueue(void* /*userPointer*/, std::uint64_t count)
{
    return whileOpen([&](TransportStream& transport) {
        if (count == 0) {
            return ZelErr::kGenTLInvalidParameter;
        }
        if (acquiring_) {
            return ZelErr::kGenTLResourceInUse;
        }
        const std::uint64_t size = payloadSize(transport);
        if (size == 0) {
            return ZelErr::kGenTLNotAvailable;
        }
        if (!fitsMemory(count, size)) {
            return ZelErr::kGenTLOutOfMemory;
        }
        ZelCamErr code = emptyQueue(transport);
        if (code == ZelErr::kOk) {
            code = base::guarded([&] { return fillQueue(transport, count, size); });
        }
        if (code != ZelErr::kOk) {
            static_cast<void>(emptyQueue(transport));
        }
        return code;
    });
}

ZelCamErr StreamImpl::ReleaseBufferQueue()
{
    return whileOpen([&](TransportStream& transport) {
        if (acquiring_) {
            return ZelErr::kGenTLBusy;
        }
        return emptyQueue(transport);
    });
}

std::uint64_t StreamImpl::GetBufferQueueSize()
{
    return base::guardedValue(std::uint64_t{0}, [&] { return pool_.queueSize(); });
}

std::uint64_t StreamImpl::GetBufferSize()
{
    return ask([&](TransportStream& transport) { return payloadSize(transport); });
}

std::uint64_t StreamImpl::GetMinNumBuffers()
{
    return ask([](TransportStream& transport) {
        return std::max<std::uint64_t>(transport.minBuffers(), 1);
    });
}

std::uint64_t StreamImpl::GetBufferAlignment()
{
    return ask([](TransportStream& transport) {
        return std::max<std::uint64_t>(transport.alignment(), 1);
    });
}

ZelCamErr StreamImpl::open(TransportDevice& device)
{
    const Lock control(control_);
    if (transport_ != nullptr) {
        return ZelErr::kOk;
    }
    pool_.open();
    std::unique_ptr<TransportStream> transport;
    const ZelCamErr code =
        base::guarded([&] { return device.openStream(index_, this, &transport); });
    if (code != ZelErr::kOk || transport == nullptr) {
        pool_.close(ZelErr::kGenTLInvalidHandle);
        return code != ZelErr::kOk ? code : ZelErr::kUnknown;
    }
    setTransport(std::move(transport));
    return ZelErr::kOk;
}

void StreamImpl::close()
{
    pool_.close(ZelErr::kGenTLInvalidHandle);
    Lock control(control_);
    awaitStops(control);
    if (transport_ == nullptr) {
        return;
    }
    // What fails here fails for good: the transport's end takes all back.
    static_cast<void>(base::guarded([&]() ZEL_NO_THREAD_SAFETY_ANALYSIS {
        if (acquiring_) {
            static_cast<void>(stop(*transport_, true));
        }
        return transport_->discardAll();
    }));
    acquiring_ = false;
    pool_.idleAll(true);
    revokeAll(*transport_);
    setTransport(nullptr);
    pool_.freeKept();
}

bool StreamImpl::isOpen()
{
    const Lock lock(handleMutex_);
    return handle_ != nullptr;
}

std::vector<genapi::FeatureSource*> StreamImpl::features()
{
    const Lock lock(handleMutex_);
    return handle_ != nullptr ? handle_->features() : std::vector<genapi::FeatureSource*>();
}

void StreamImpl::addTo(StreamStatistics& statistics)
{
    const BufferCounters buffers = pool_.counters();
    statistics.delivered += buffers.delivered;
    statistics.incomplete += buffers.incomplete;
    statistics.skipped += buffers.skipped;
    statistics.announcedBuffers += buffers.announced;
    statistics.inputBuffers += buffers.queued;
    statistics.outputBuffers += buffers.ready;
    const Lock lock(handleMutex_);
    noteCounters();
    statistics.lost += counters_.lost;
    statistics.underruns += counters_.underruns;
}

void StreamImpl::resetCounters()
{
    pool_.resetCounters();
    const Lock lock(handleMutex_);
    counters_ = StreamCounters();
}

void StreamImpl::awaitStops(Lock& control)
{
    stopDone_.wait(control.native(), [this] { return pendingStops_ == 0; });
}

// On the errand's thread, which takes its turn with the other operations.
void StreamImpl::stopInTurn(bool atOnce, ZelCamErr* code)
{
    const genapi::ChangeGate::Change change;
    const Lock control(control_);
    *code = base::guarded([&]() ZEL_NO_THREAD_SAFETY_ANALYSIS {
        if (transport_ == nullptr) {
            return ZelErr::kGenTLInvalidHandle;
        }
        return acquiring_ ? stop(*transport_, atOnce) : ZelErr::kGenTLResourceInUse;
    });
    --pendingStops_;
    stopDone_.notify_all();
    camera_.gate().open();
}

// What a transport finds out later may be less than what it had to assume before.
void StreamImpl::noteCounters()
{
    if (handle_ != nullptr) {
        const StreamCounters now = handle_->counters();
        counters_.lost = std::max(counters_.lost, now.lost);
        counters_.underruns = std::max(counters_.underruns, now.underruns);
    }
}

void StreamImpl::setTransport(std::unique_ptr<TransportStream> transport)
{
    {
        const Lock lock(handleMutex_);
        noteCounters();
        handle_ = transport.get();
    }
    transport_ = std::move(transport);
}

void StreamImpl::bufferDone(BufferToken token, FrameInfo info)
{
    pool_.done(token, std::move(info));
}

void StreamImpl::streamBroken(ZelCamErr reason) { pool_.setBroken(reason); }

std::uint64_t StreamImpl::payloadSize(TransportStream& transport)
{
    const std::uint64_t size = transport.payloadSize();
    return size > 0 ? size : camera_.payloadSize();
}

BufferImpl* StreamImpl::announce(TransportStream& transport, std::uint64_t size, bool ofQueue,
                                 ZelCamErr* code)
{
    BufferImpl* buffer = nullptr;
    if (fitsMemory(1, size)) {
        std::shared_ptr<void> theirs = transport.allocate(size);
        buffer = pool_.create(theirs != nullptr ? BufferMemory(std::move(theirs), size)
                                                : BufferMemory(size, transport.alignment()),
                              ofQueue);
    }
    if (buffer == nullptr) {
        *code = ZelErr::kGenTLOutOfMemory;
        return nullptr;
    }
    *code = base::guarded(
        [&] { return transport.announce(pool_.token(buffer), buffer->GetBufferPtr(), size); });
    if (*code != ZelErr::kOk) {
        pool_.release(buffer, false);
        return nullptr;
    }
    return buffer;
}

ZelCamErr StreamImpl::queue(TransportStream& transport, BufferImpl* buffer)
{
    if (const ZelCamErr code = pool_.markQueued(buffer); code != ZelErr::kOk) {
        return code;
    }
    const ZelCamErr code = base::guarded([&] { return transport.queue(pool_.token(buffer)); });
    if (code != ZelErr::kOk) {
        pool_.markIdle(buffer);
    }
    refill(*this, transport); // The transport asks when a frame arrives, and none may.
    return code;
}

// All idle buffers, those that the user holds included; goes on after a failure.
ZelCamErr StreamImpl::queueIdle(TransportStream& transport)
{
    ZelCamErr first = ZelErr::kOk;
    pool_.forEach([&](BufferImpl* buffer) {
        if (pool_.state(buffer) == State::Idle) {
            const ZelCamErr code = queue(transport, buffer);
            first = first == ZelErr::kOk ? code : first;
        }
    });
    return first;
}

void StreamImpl::revoke(TransportStream& transport, BufferImpl* buffer)
{
    const ZelCamErr code = base::guarded([&] { return transport.revoke(pool_.token(buffer)); });
    pool_.release(buffer, code != ZelErr::kOk);
}

void StreamImpl::revokeAll(TransportStream& transport)
{
    pool_.forEach([&](BufferImpl* buffer) {
        if (pool_.state(buffer) == State::Idle) {
            revoke(transport, buffer);
        }
    });
}

ZelCamErr StreamImpl::fillQueue(TransportStream& transport, std::uint64_t count, std::uint64_t size)
{
    ZelCamErr code = ZelErr::kOk;
    for (std::uint64_t i = 0; i < count && code == ZelErr::kOk; ++i) {
        BufferImpl* const buffer = announce(transport, size, true, &code);
        if (buffer != nullptr) {
            code = queue(transport, buffer);
        }
    }
    return code;
}

// The transport gives back all buffers at once or none, so those that the user made are queued
// again.
ZelCamErr StreamImpl::emptyQueue(TransportStream& transport)
{
    if (pool_.queueSize() == 0) {
        return ZelErr::kOk;
    }
    if (const ZelCamErr code = transport.discardAll(); code != ZelErr::kOk) {
        return code;
    }
    pool_.idleAll(false);
    pool_.forEach([&](BufferImpl* buffer) {
        if (pool_.isAnnounced(buffer, true)) {
            revoke(transport, buffer);
        }
    });
    pool_.forEach([&](BufferImpl* buffer) {
        if (pool_.isAnnounced(buffer, false) && pool_.wasQueued(buffer)) {
            static_cast<void>(queue(transport, buffer));
        }
    });
    return ZelErr::kOk;
}

ZelCamErr StreamImpl::checkBuffers(TransportStream& transport)
{
    const std::uint64_t least = std::max<std::uint64_t>(transport.minBuffers(), 1);
    if (pool_.counters().announced < least) {
        return ZelErr::kGenTLInvalidBuffer;
    }
    return pool_.smallest() < payloadSize(transport) ? ZelErr::kGenTLBufferTooSmall : ZelErr::kOk;
}

ZelCamErr StreamImpl::start(TransportStream& transport, std::uint64_t frames)
{
    pool_.setGeometry(camera_.geometry());
    pool_.resetCounters();
    refill(*this, transport);
    camera_.lockTransport(true);
    ZelCamErr code = transport.start(frames);
    if (code == ZelErr::kOk) {
        {
            const Lock lock(handleMutex_);
            counters_ = StreamCounters();
        }
        acquiring_ = true;
        code = transport.controlsCamera() ? camera_.start() : ZelErr::kOk;
        if (code == ZelErr::kOk) {
            base::log(base::LogChannel::Backend, "%s: stream %u started", device_.name(), index_);
            return code;
        }
        acquiring_ = false;
        static_cast<void>(base::guarded([&] { return transport.stop(true); }));
    }
    camera_.lockTransport(false);
    base::log(base::LogChannel::Backend, "%s: stream %u does not start: %d", device_.name(), index_,
              code);
    return code;
}

ZelCamErr StreamImpl::stop(TransportStream& transport, bool atOnce)
{
    const ZelCamErr cameraCode = transport.controlsCamera() ? camera_.stop(atOnce) : ZelErr::kOk;
    const ZelCamErr hostCode = transport.stop(atOnce);
    camera_.lockTransport(false);
    acquiring_ = false;
    pool_.endWaits(); // Of those that began while the camera was stopping.
    base::log(base::LogChannel::Backend, "%s: stream %u stopped: camera %d, host %d",
              device_.name(), index_, cameraCode, hostCode);
    if (const ZelCamErr lost = device_.lost(); lost != ZelErr::kOk) {
        return lost;
    }
    if (pool_.broken() != ZelErr::kOk) {
        return ZelErr::kOk; // Nothing is left to be stopped on the other side.
    }
    return hostCode != ZelErr::kOk ? hostCode : cameraCode;
}

} // namespace core
