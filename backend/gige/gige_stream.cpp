#include "gige/gige_stream.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/operation_guard.h"
#include "base/thread.h"
#include "gige/ring_reader.h"
#include "gige/socket_reader.h"
#include "gige/wire/bootstrap.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>

namespace gige
{

namespace
{

using features::FeatureValue;

// Packets taken before others may have a turn.
constexpr int kTurn = 512;
// What was on its way when the stream was stopped.
constexpr int kLastTurn = 4096;
// Gathering pays from here on.
constexpr std::chrono::microseconds kShortestNap{60};
// What being woken may take: the processor sleeps, others have it.
constexpr std::chrono::microseconds kWake{100};
constexpr std::chrono::milliseconds kHousekeeping{50};
// A network that has lost packets is likely to lose more.
constexpr std::chrono::seconds kLossy{1};
// A frame of an earlier acquisition is over when nothing came for so long; it is not waited for
// longer than the other.
constexpr std::chrono::milliseconds kQuiet{2};
constexpr std::chrono::milliseconds kLongestOldFrame{100};
constexpr std::chrono::seconds kTraversal{15};
constexpr std::uint32_t kDefaultPacketSize = 1500;

} // namespace

GigeStream::GigeStream(ControlChannel& control, const Where& where, core::StreamSink* sink,
                       std::function<void()> closed)
    : control_(control), where_(where), sink_(sink), closed_(std::move(closed)),
      features_("GigEStream", "Data stream"), assembler_(*this, numbers_),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    declareFeatures();
}

GigeStream::~GigeStream()
{
    if (base::inForkedChild()) {
        if (thread_.joinable()) {
            thread_.detach(); // It does not exist in this process.
        }
        return;
    }
    static_cast<void>(stop(true));
    closeChannel();
    closed_();
}

void GigeStream::declareFeatures()
{
    features::FeatureTable& table = features_.table();
    options_.declare(table);
    table.category("StreamReceiverStatistics", "Counters of the receiver.");
    const auto counter = [&table](const char* name, const char* toolTip,
                                  std::function<std::uint64_t()> ask) {
        table.integer(name, toolTip).readOnly().onRead([ask = std::move(ask)](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(ask()));
        });
    };
    StreamNumbers& n = numbers_;
    counter("StreamCompletedBufferCount", "Buffers filled whole.",
            [&n] { return n.delivered - n.incomplete; });
    counter("StreamFailedBufferCount", "Buffers with missing parts.",
            [&n] { return n.incomplete.load(); });
    counter("StreamReceiverUnderrunCount", "Frames without a free buffer.",
            [&n] { return n.underruns.load(); });
    counter("StreamUnusableFrameCount", "Frames whose payload is no picture.",
            [&n] { return n.unusable.load(); });
    counter("StreamPacketCount", "Packets received.", [&n] { return n.packets.load(); });
    counter("StreamMissingPacketCount", "Packets that never came.",
            [&n] { return n.missing.load(); });
    counter("StreamResendRequestCount", "Requests for packets.",
            [&n] { return n.requests.load(); });
    counter("StreamRequestedPacketCount", "Packets that were asked for.",
            [&n] { return n.asked.load(); });
    counter("StreamResentPacketCount", "Packets sent again.", [&n] { return n.resent.load(); });
    counter("StreamDuplicatePacketCount", "Packets that came twice or too late.",
            [&n] { return n.duplicate.load(); });
    counter("StreamMalformedPacketCount", "Packets that made no sense.",
            [&n] { return n.malformed.load(); });
    counter("StreamForeignPacketCount", "Packets from others than the camera.",
            [&n] { return n.strangers.load(); });
    counter("StreamDroppedPacketCount", "Packets that the system had no room for.",
            [&n] { return n.dropped.load(); });
    table.finish();
}

std::uint32_t GigeStream::streamRegister(std::uint32_t offset) const
{
    return wire::streamRegister(where_.channel, offset);
}

// ---- Buffers

ZelCamErr GigeStream::announce(core::BufferToken token, void* memory, std::size_t size)
{
    const base::Lock lock(queueMutex_);
    queue_.reserve(announced_.size() + 1);
    announced_[token] = {static_cast<std::uint8_t*>(memory), size};
    return ZelErr::kOk;
}

ZelCamErr GigeStream::revoke(core::BufferToken token)
{
    const base::Lock lock(queueMutex_);
    return announced_.erase(token) == 1 ? ZelErr::kOk : ZelErr::kGenTLInvalidHandle;
}

ZelCamErr GigeStream::queue(core::BufferToken token)
{
    const base::Lock lock(queueMutex_);
    if (announced_.count(token) == 0) {
        return ZelErr::kGenTLInvalidHandle;
    }
    queue_.push_back(token);
    return ZelErr::kOk;
}

ZelCamErr GigeStream::discardAll()
{
    ++waiting_;
    const std::lock_guard<std::mutex> data(dataMutex_);
    --waiting_;
    assembler_.abandon();
    const base::Lock lock(queueMutex_);
    queue_.clear();
    return ZelErr::kOk;
}

Place GigeStream::takePlace()
{
    const base::Lock lock(queueMutex_);
    if (queue_.empty()) {
        return {};
    }
    const core::BufferToken token = queue_.front();
    queue_.erase(queue_.begin());
    const auto entry = announced_.find(token);
    return entry != announced_.end() ? Place{token, entry->second.memory, entry->second.size}
                                     : Place{};
}

void GigeStream::givePlace(const Place& place)
{
    const base::Lock lock(queueMutex_);
    queue_.insert(queue_.begin(), place.token);
}

void GigeStream::deliver(core::BufferToken token, core::FrameInfo info)
{
    if (remaining_ == 0) {
        givePlace({token, nullptr, 0}); // Nobody asked for one more.
        return;
    }
    if (remaining_ != ~std::uint64_t{0}) {
        --remaining_;
    }
    sink_->bufferDone(token, std::move(info));
    core::refill(*sink_, *this);
}

void GigeStream::requestResend(std::uint64_t rawId, bool extended, std::uint32_t first,
                               std::uint32_t last)
{
    requestId_ =
        requestId_ == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(requestId_ + 1);
    wire::ResendRequest request;
    request.channel = static_cast<std::uint16_t>(where_.channel);
    request.blockId = rawId;
    request.first = first;
    request.last = last;
    request.extended = extended;
    requests_.send(wire::makePacketResend(requestId_, request).bytes());
}

// ---- Starting and stopping

/// Where the client that has control lets the camera send to. Only a group has room for us.
ZelCamErr GigeStream::listenAlong(StreamSocket::Ends* ends)
{
    std::uint32_t port = 0;
    ZelCamErr code =
        control_.readRegister(streamRegister(wire::stream::kDestination), &ends->group);
    if (code == ZelErr::kOk) {
        code = control_.readRegister(streamRegister(wire::stream::kPort), &port);
    }
    ends->port = static_cast<std::uint16_t>(port & wire::kPortMask);
    if (code == ZelErr::kOk && (!wire::isMulticast(ends->group) || ends->port == 0)) {
        code = ZelErr::kGenTLNotAvailable;
    }
    return code;
}

ZelCamErr GigeStream::openSockets()
{
    StreamSocket::Ends ends;
    ends.local = control_.localAddress();
    ends.camera = control_.device();
    ends.group = static_cast<std::uint32_t>(options_.multicast.load());
    ZelCamErr code = where_.listening ? listenAlong(&ends) : ZelErr::kOk;
    if (code == ZelErr::kOk) {
        code = socket_.open(ends, static_cast<int>(options_.socketBuffer.load()));
    }
    if (code == ZelErr::kOk) {
        requests_ = UdpSocket(control_.localAddress());
        code = requests_.isOpen() && requests_.connectTo(control_.device(), wire::kControlPort)
                   ? ZelErr::kOk
                   : ZelErr::kGenTLResourceExhausted;
    }
    return code;
}

ZelCamErr GigeStream::openChannel()
{
    // What somebody else has set up may be another one by now.
    if (socket_.isOpen() && !options_.changed && !where_.listening) {
        return ZelErr::kOk;
    }
    source_.reset();
    options_.changed = false;
    ZelCamErr code = openSockets();
    // With the port set the channel is open: the address goes first.
    if (code == ZelErr::kOk && !where_.listening) {
        code = control_.writeRegister(streamRegister(wire::stream::kDestination),
                                      socket_.destination());
    }
    if (code == ZelErr::kOk && !where_.listening) {
        code = control_.writeRegister(streamRegister(wire::stream::kPort), socket_.localPort());
    }
    if (code != ZelErr::kOk) {
        socket_.close();
        options_.changed = true;
        return code;
    }
    // Not every camera tells the port that it sends from.
    std::uint32_t port = 0;
    if (control_.readRegister(streamRegister(wire::stream::kSourcePort), &port) == ZelErr::kOk) {
        socket_.setCameraPort(static_cast<std::uint16_t>(port & wire::kPortMask));
    }
    std::uint32_t capability = 0;
    canResend_ = control_.readRegister(wire::reg::kControlCapability, &capability) == ZelErr::kOk &&
                 (capability & wire::capability::kPacketResend) != 0;
    toldOfDrops_ = false;
    return control_.isLost() ? ZelErr::kGenTLIo : ZelErr::kOk;
}

void GigeStream::closeChannel()
{
    if (socket_.isOpen() && !where_.listening && !control_.isLost()) {
        static_cast<void>(control_.writeRegister(streamRegister(wire::stream::kPort), 0));
    }
    source_.reset();
    socket_.close();
}

ZelCamErr GigeStream::makeSource(std::size_t packetSize)
{
    source_.reset(); // Before the next one: both set up the same socket.
    const auto method = static_cast<ReceiveMethod>(options_.method.load());
    if (method != ReceiveMethod::Ring) {
        source_ = std::make_unique<SocketReader>(socket_, method, packetSize);
        return ZelErr::kOk;
    }
    auto ring = std::make_unique<RingReader>(socket_, where_.adapter, packetSize);
    const ZelCamErr code = ring->open(static_cast<std::size_t>(options_.socketBuffer.load()));
    if (code == ZelErr::kOk) {
        source_ = std::move(ring);
    }
    return code;
}

/// A camera that was stopped ends the frame under way, whose id the first one of the next
/// acquisition may have again; one that was started earlier has sent to nobody until now.
void GigeStream::discardOldFrames()
{
    source_.reset(); // It may have the packets sent elsewhere.
    const Clock::time_point last = Clock::now() + kLongestOldFrame;
    do {
        socket_.discard();
    } while (!where_.listening && Clock::now() < last &&
             waitReadable(socket_.descriptor(), wake_.get(), Clock::now() + kQuiet));
}

ZelCamErr GigeStream::readSettings(FrameAssembler::Settings* settings)
{
    std::uint32_t size = 0;
    ZelCamErr code = control_.readRegister(streamRegister(wire::stream::kPacketSize), &size);
    if (code != ZelErr::kOk) {
        return code;
    }
    packetSize_ = size & wire::kPacketSizeMask;
    packetSize_ = packetSize_ != 0 ? packetSize_ : kDefaultPacketSize;
    settings->packetSize = packetSize_;
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    if (control_.readRegister(wire::reg::kTickFrequencyHigh, &high) == ZelErr::kOk &&
        control_.readRegister(wire::reg::kTickFrequencyLow, &low) == ZelErr::kOk) {
        settings->tickFrequency = std::uint64_t{high} << 32U | low;
    }
    settings->resend = options_.resendRules();
    settings->resend.enabled = settings->resend.enabled && canResend_;
    settings->retention = std::chrono::microseconds(options_.retentionUs);
    return control_.isLost() ? ZelErr::kGenTLIo : ZelErr::kOk;
}

ZelCamErr GigeStream::start(std::uint64_t frames)
{
    if (!wake_) {
        return ZelErr::kGenTLResourceExhausted;
    }
    ZelCamErr code = openChannel();
    FrameAssembler::Settings settings;
    if (code == ZelErr::kOk) {
        code = readSettings(&settings);
    }
    if (code == ZelErr::kOk) {
        eventfd_t count = 0;
        ::eventfd_read(wake_.get(), &count);
        discardOldFrames();
        code = makeSource(settings.packetSize);
    }
    if (code != ZelErr::kOk) {
        return code;
    }
    static_cast<void>(socket_.takeStrangers());
    remaining_ = frames;
    numbers_.reset();
    assembler_.start(settings);
    stopping_ = false;
    nextHousekeeping_ = nextTraversal_ = lastEmpty_ = lossy_ = Clock::now();
    askedBefore_ = 0;
    expected_ = 0;
    pace_ = {};
    thread_ = base::startThread("zel-gige-stream", [this] {
        base::contained("the receiver of a stream", [this] { receive(); });
    });
    receiving_ = true;
    return ZelErr::kOk;
}

ZelCamErr GigeStream::stop(bool)
{
    if (!receiving_) {
        return ZelErr::kGenTLResourceInUse;
    }
    stopping_ = true;
    ::eventfd_write(wake_.get(), 1);
    thread_.join();
    receiving_ = false;
    return ZelErr::kOk;
}

core::StreamCounters GigeStream::counters()
{
    core::StreamCounters counters;
    counters.lost = numbers_.lost;
    counters.underruns = numbers_.underruns;
    return counters;
}

// ---- The receiver's thread

bool GigeStream::drain(int most)
{
    const std::lock_guard<std::mutex> lock(dataMutex_);
    const bool emptied = source_->drain(assembler_, numbers_, most);
    if (emptied) {
        // Without memory what is missing is asked for later.
        base::contained("a timer of a stream", [this] { assembler_.runTimers(Clock::now()); });
    }
    due_ = assembler_.due();
    expected_ = assembler_.remaining();
    return emptied;
}

void GigeStream::receive()
{
    // Where that is permitted: what waits too long is lost.
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, -10));
    ::prctl(PR_SET_TIMERSLACK, 10000UL, 0, 0, 0);
    while (!stopping_) {
        const std::uint64_t before = numbers_.packets;
        const bool within = expected_ > 0;
        const bool emptied = drain(kTurn);
        while (waiting_ > 0) {
            std::this_thread::yield();
        }
        const Clock::time_point now = Clock::now();
        if (now >= nextHousekeeping_) {
            housekeep(now);
        }
        if (!emptied) {
            continue;
        }
        const auto pause = nap(now, before, within);
        if (pause >= kShortestNap) {
            static_cast<void>(waitReadable(-1, wake_.get(), now + pause));
        } else if (!isNearEnd(now)) {
            await(std::min(due_, nextHousekeeping_));
        }
    }
    drain(kLastTurn);
    const std::lock_guard<std::mutex> lock(dataMutex_);
    assembler_.abandon();
}

/// While a frame comes: about as long as so many packets take as are worth a turn, never beyond the
/// frame's end or what the assembler has to do, and never longer than the socket has room. Where
/// packets get lost naps are short: who sleeps asks late.
std::chrono::microseconds GigeStream::nap(Clock::time_point now, std::uint64_t packetsBefore,
                                          bool within)
{
    const std::uint64_t came = numbers_.packets - packetsBefore;
    if (numbers_.asked != askedBefore_) {
        askedBefore_ = numbers_.asked;
        lossy_ = now + kLossy;
    }
    if (came == 0) {
        return {};
    }
    if (within) {
        pace_.add(came, now - lastEmpty_); // Between frames nothing comes.
    }
    lastEmpty_ = now;
    if (expected_ == 0 || options_.napUs == 0) {
        return {};
    }
    const std::size_t turn = now < lossy_ ? source_->turn() / 4 : source_->turn();
    const std::size_t packets = std::min(turn, source_->capacity(packetSize_) / 2);
    const auto pause = std::chrono::duration_cast<std::chrono::microseconds>(
        std::min(pace_.of(packets) * 9 / 10, pace_.of(expected_) * 3 / 4));
    const auto work = std::chrono::duration_cast<std::chrono::microseconds>(due_ - now);
    return std::min({pause, std::chrono::microseconds(options_.napUs), work});
}

/// Without naps the end of a frame is not slept for: being woken takes about as long.
bool GigeStream::isNearEnd(Clock::time_point now) const
{
    const auto left = pace_.of(expected_);
    return options_.napUs == 0 && expected_ > 0 && left < kWake && now < lastEmpty_ + 2 * kWake;
}

void GigeStream::await(Clock::time_point due)
{
    static_cast<void>(waitReadable(source_->descriptor(), wake_.get(), due));
}

void GigeStream::housekeep(Clock::time_point now)
{
    nextHousekeeping_ = now + kHousekeeping;
    numbers_.strangers += socket_.takeStrangers();
    if (now >= nextTraversal_ && socket_.cameraPort() != 0) {
        socket_.traverse();
        nextTraversal_ = now + kTraversal;
    }
    if (!toldOfDrops_ && numbers_.dropped > 0) {
        toldOfDrops_ = true;
        base::log(base::LogChannel::Gige, "packets were dropped, the receive buffer has %d bytes%s",
                  socket_.bufferSize() / 2, socket_.gotLess() ? ": raise net.core.rmem_max" : "");
    }
}

} // namespace gige
