#include "simulator/gige/stream_channel.h"

#include "base/thread.h"
#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"
#include "simulator/gige/test_packet.h"

#include <sys/prctl.h>

#include <algorithm>
#include <ctime>
#include <new>

namespace simulator::gige
{

namespace
{

namespace reg = wire::reg;

constexpr std::uint32_t kPort = wire::streamRegister(0, wire::stream::kPort);
constexpr std::uint32_t kPacketSize = wire::streamRegister(0, wire::stream::kPacketSize);
constexpr std::uint32_t kPacketDelay = wire::streamRegister(0, wire::stream::kPacketDelay);
constexpr std::uint32_t kDestination = wire::streamRegister(0, wire::stream::kDestination);
constexpr std::uint32_t kSourcePort = wire::streamRegister(0, wire::stream::kSourcePort);
constexpr std::uint32_t kSwitches = wire::streamRegister(0, wire::stream::kConfiguration);

constexpr int kSendBuffer = 8 << 20;
/// Time that a sleep may miss its end by; packets of as much time go back to back.
constexpr std::chrono::nanoseconds kClockStep{60000};
/// Receivers take at most so many in one piece.
constexpr std::uint64_t kLongestBurst = 44;
/// A sender that was held up does not make good more than this.
constexpr std::chrono::milliseconds kMostBehind{2};
constexpr std::chrono::milliseconds kLongSleep{5};
constexpr std::chrono::milliseconds kHeldStep{1};

void sleepUntil(std::chrono::steady_clock::time_point time)
{
    const auto ns =
        std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    timespec until{};
    until.tv_sec = ns / 1000000000;
    until.tv_nsec = ns % 1000000000;
    ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

} // namespace

StreamTarget StreamTarget::of(CameraModel& camera)
{
    StreamTarget target;
    target.to.port = static_cast<std::uint16_t>(camera.bootstrap(kPort) & wire::kPortMask);
    target.to.address = camera.bootstrap(kDestination);
    target.form.packetSize = camera.bootstrap(kPacketSize) & wire::kPacketSizeMask;
    target.form.extended = (camera.bootstrap(reg::kStreamConfiguration) & wire::kExtendedIds) != 0;
    const std::uint32_t switches = camera.bootstrap(kSwitches);
    target.form.allIn = (switches & wire::kChannelAllIn) != 0;
    // The short header of a leader has no room for the number of parts beside its packet id.
    target.form.multiPart = target.form.extended && (switches & wire::kChannelMultiPart) != 0;
    target.packetDelayNs = camera.bootstrap(kPacketDelay);
    return target;
}

StreamChannel::StreamChannel(CameraModel& camera, std::uint32_t address)
    : camera_(camera), socket_({address, 0}, false), resender_(socket_), sender_(socket_)
{
    socket_.dropInput();
    socket_.allowBroadcast();
    ::setsockopt(socket_.fd(), SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
    camera_.setBootstrap(kSourcePort, socket_.local().port);
}

void StreamChannel::start()
{
    thread_ = base::startThread("zel-sim-stream", [this] { run(); });
}

void StreamChannel::stop()
{
    if (!thread_.joinable()) {
        return;
    }
    {
        const base::Lock lock(mutex_);
        ending_ = true;
    }
    interrupt();
    changed_.notify_all();
    thread_.join();
}

void StreamChannel::frameDue()
{
    const base::Lock lock(mutex_);
    due_ = true;
    changed_.notify_all();
}

void StreamChannel::cameraStopped()
{
    const base::Lock lock(mutex_);
    cameraStopped_ = true;
    changed_.notify_all();
}

StreamChannel::Clock::time_point StreamChannel::hostTime(std::uint64_t cameraNs) const
{
    const auto ahead = static_cast<std::int64_t>(cameraNs - camera_.now());
    return Clock::now() + std::chrono::nanoseconds(ahead);
}

void StreamChannel::waitForFrame()
{
    base::Lock lock(mutex_);
    while (!due_ && !ending_) {
        changed_.wait(lock.native());
    }
}

bool StreamChannel::waitWhileRunning(Clock::time_point time)
{
    base::Lock lock(mutex_);
    while (!cameraStopped_ && !ending_) {
        if (changed_.wait_until(lock.native(), time) == std::cv_status::timeout) {
            return true;
        }
    }
    return false;
}

bool StreamChannel::waitUntil(Clock::time_point time)
{
    base::Lock lock(mutex_);
    while (!ending_) {
        if (changed_.wait_until(lock.native(), time) == std::cv_status::timeout) {
            return true;
        }
    }
    return false;
}

void StreamChannel::run()
{
    ::prctl(PR_SET_TIMERSLACK, 1000UL, 0UL, 0UL, 0UL);
    for (;;) {
        {
            const base::Lock lock(mutex_);
            if (ending_) {
                return;
            }
            due_ = false;
            cameraStopped_ = false;
        }
        FramePlan plan;
        try {
            plan = camera_.nextFrame();
            if (plan.expose) {
                carry(plan);
            } else {
                flushHeld(true);
                waitForFrame();
            }
        } catch (const std::bad_alloc&) { // the frame is lost
            waitUntil(Clock::now() + kHeldStep);
        }
        if (plan.expose) {
            camera_.frameDone(plan);
        }
    }
}

void StreamChannel::carry(const FramePlan& plan)
{
    if (!waitWhileRunning(hostTime(plan.startNs))) {
        return;
    }
    if (plan.frameId == 0) {
        store_.clear();
        repeated_.clear();
    }
    camera_.frameStarted(plan);
    interrupted_.store(false);
    const StreamTarget target = StreamTarget::of(camera_);
    const NetworkFaults faults = camera_.networkFaults();
    std::shared_ptr<SentFrame> frame;
    if (target.isOpen() && !plan.lost && !faults.silentStream) {
        frame = render(plan, target.form, faults);
    }
    // A camera that is stopped sends what it has begun to send, and nothing else.
    if (!waitWhileRunning(hostTime(plan.exposureEndNs))) {
        return;
    }
    camera_.exposureEnded(plan);
    if (!waitWhileRunning(hostTime(plan.readyNs - plan.transferNs))) {
        return;
    }
    faults_.set(faults, plan.frameId == 0);
    heldFor_ = target.to;
    if (frame) {
        transmit(*frame, plan, target, faults);
    }
    waitUntil(hostTime(plan.readyNs));
    flushHeld(false);
}

void StreamChannel::flushHeld(bool everything)
{
    const auto sink = [this](wire::Bytes datagram) { socket_.send(heldFor_, datagram); };
    faults_.flush(Clock::now(), false, sink);
    while (everything && faults_.holdsAny()) {
        const bool goesOn = waitUntil(Clock::now() + kHeldStep);
        faults_.flush(Clock::now(), !goesOn, sink);
        faults_.release();
    }
}

std::shared_ptr<const FrameMemory> StreamChannel::picture(const FramePlan& plan,
                                                          FrameLayout* layout)
{
    const std::uint32_t repeated = camera_.sendingMode().repeated;
    if (repeated != 0 && repeated_.size() >= repeated) {
        const Repeated& again = repeated_[plan.frameId % repeated];
        *layout = again.layout;
        layout->timestampNs += plan.startNs - again.startNs;
        return again.memory;
    }
    auto memory = pool_.take(camera_.payloadSize());
    if (camera_.render(plan, memory->data(), memory->size(), layout) ==
        gentl::err::kBufferTooSmall) {
        memory = pool_.take(layout->size);
        camera_.render(plan, memory->data(), memory->size(), layout);
    }
    if (repeated != 0 && layout->chunkLayoutId == 0) {
        repeated_.push_back({memory, *layout, plan.startNs});
    }
    return memory;
}

std::shared_ptr<SentFrame> StreamChannel::render(const FramePlan& plan, PacketForm form,
                                                 const NetworkFaults& faults)
{
    FrameLayout layout;
    const auto memory = picture(plan, &layout);
    auto frame = std::make_shared<SentFrame>(memory, layout, plan, form, faults);
    store_.add(frame);
    return frame;
}

void StreamChannel::sendBurst(SentFrame& frame, std::uint32_t first, std::uint32_t end,
                              const Endpoint& to, bool faulty)
{
    if (!faulty) {
        sender_.send(frame, first, end, false, to);
        return;
    }
    PacketView view;
    const auto sink = [&](wire::Bytes datagram) { socket_.send(to, datagram); };
    for (std::uint32_t id = first; id < end; ++id) {
        if (frame.has(id)) {
            frame.packet(id, false, &view);
            faults_.send(view, Clock::now(), sink);
        }
    }
}

void StreamChannel::transmit(SentFrame& frame, const FramePlan& plan, const StreamTarget& target,
                             const NetworkFaults& faults)
{
    const SendingMode mode = camera_.sendingMode();
    const std::uint32_t count = frame.trailerId() + 1;
    const std::chrono::nanoseconds interval(plan.transferNs / count + target.packetDelayNs);
    std::uint64_t burst = mode.burst;
    if (burst == 0) {
        burst = interval.count() == 0
                    ? kLongestBurst
                    : std::clamp<std::uint64_t>(static_cast<std::uint64_t>(kClockStep / interval),
                                                1, kLongestBurst);
    }
    const bool faulty = faults.touchesPackets();
    socket_.setDoNotFragment((camera_.bootstrap(kPacketSize) & wire::kDoNotFragment) != 0);
    sender_.setSegmented(mode.segmented);
    auto due = std::max(hostTime(plan.readyNs - plan.transferNs), Clock::now());
    for (std::uint32_t id = 0; id < count && !interrupted_.load();) {
        const auto end = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, id + burst));
        const auto now = Clock::now();
        due = std::max(due, now - kMostBehind);
        if (due > now + kLongSleep && !waitUntil(due)) {
            return;
        }
        if (due > now) {
            sleepUntil(due);
        }
        // First: who misses one of them may ask before this thread runs again.
        frame.setSentPackets(end);
        sendBurst(frame, id, end, target.to, faulty);
        due += interval * (end - id);
        id = end;
    }
}

void StreamChannel::refuse(const wire::ResendRequest& request, const Endpoint& to,
                           std::uint16_t reason)
{
    constexpr std::uint32_t kExtendedCodes =
        wire::configuration::kStatusCodes11 | wire::configuration::kStatusCodes20;
    if ((camera_.bootstrap(reg::kControlConfiguration) & kExtendedCodes) == 0) {
        if (reason == wire::status::kPacketNotYetAvailable) {
            return; // the only code that is left would say that it never comes
        }
        reason = wire::status::kPacketUnavailable;
    }
    const PacketView view = emptyPacket(reason, request.blockId, request.first, request.extended);
    socket_.send(to, {view.header.data(), view.headerSize});
}

void StreamChannel::resend(const wire::ResendRequest& request, const Endpoint& asker)
{
    StreamTarget target = StreamTarget::of(camera_);
    if (!target.isOpen() || request.channel != 0 || camera_.networkFaults().silentStream) {
        return;
    }
    if ((camera_.bootstrap(kSwitches) & wire::kChannelResendToAsker) != 0) {
        target.to.address = asker.address;
    }
    const auto frame = store_.find(request.blockId, request.extended);
    std::uint16_t reason = 0;
    if (!frame) {
        reason = wire::status::kPacketRemoved;
    } else if (request.first > frame->trailerId() || request.first > request.last ||
               !frame->has(request.first)) {
        reason = wire::status::kPacketUnavailable;
    } else if (request.first >= frame->sentPackets()) {
        reason = wire::status::kPacketNotYetAvailable;
    }
    const std::uint32_t end = reason != 0 ? request.first + 1
                                          : std::min(std::min(request.last, frame->trailerId()) + 1,
                                                     frame->sentPackets());
    const std::uint32_t granted = budget_.take(end - request.first, Clock::now());
    if (granted != 0 && reason != 0) {
        refuse(request, target.to, reason);
    } else if (granted != 0) {
        resender_.send(*frame, request.first, request.first + granted, true, target.to);
    }
}

void StreamChannel::fireTestPacket()
{
    const StreamTarget target = StreamTarget::of(camera_);
    if (!target.isOpen() || target.form.packetSize <= wire::kDatagramOverhead) {
        return;
    }
    const auto datagram =
        testPacket(target.form.packetSize - wire::kDatagramOverhead, target.form.extended);
    socket_.setDoNotFragment((camera_.bootstrap(kPacketSize) & wire::kDoNotFragment) != 0);
    socket_.send(target.to, {datagram.data(), datagram.size()});
}

} // namespace simulator::gige
