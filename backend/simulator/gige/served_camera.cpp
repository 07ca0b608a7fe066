#include "simulator/gige/served_camera.h"

#include "base/ipv4.h"
#include "base/log.h"
#include "base/thread.h"
#include "gige/wire/bootstrap.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <system_error>

namespace simulator::gige
{

namespace
{

namespace reg = wire::reg;

constexpr std::uint32_t kPort = wire::streamRegister(0, wire::stream::kPort);
constexpr std::uint32_t kPacketSize = wire::streamRegister(0, wire::stream::kPacketSize);
constexpr std::uint32_t kSwitches = wire::streamRegister(0, wire::stream::kConfiguration);
constexpr std::uint32_t kEverywhere = 0xFFFFFFFF;
constexpr std::uint16_t kEventSwitchedOver = 0x0007;
/// Datagrams of one socket in a row, so that a flood does not keep timers from running.
constexpr int kMostAtOnce = 64;
constexpr std::size_t kModelEventSize = 24;

CameraConfig served(CameraConfig config, const HostAddress& host)
{
    config.isServed = true;
    config.wire = WireFormat::GigEVision;
    config.hasNetwork = true;
    config.ip = {host.address, host.mask, 0};
    return config;
}

} // namespace

ServedCamera::ServedCamera(const CameraConfig& config, std::uint32_t address, AddressPool& pool,
                           SettingsFile& file)
    : pool_(pool), file_(file), model_(served(config, pool.find(address))), control_(model_, *this),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!wake_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    restore();
    open(address);
    model_.setObserver(this);
    thread_ = base::startThread("zel-sim-gige", [this] { run(); });
}

ServedCamera::~ServedCamera()
{
    ending_ = true;
    wake();
    if (thread_.joinable()) {
        thread_.join();
    }
    model_.setObserver(nullptr);
    pool_.release(address_);
}

void ServedCamera::restore()
{
    KeptSettings kept;
    if (!file_.find(config().serialNumber, &kept)) {
        return;
    }
    std::array<std::uint8_t, 16> name{};
    std::copy_n(kept.userName.begin(), std::min(kept.userName.size(), name.size()), name.begin());
    model_.write(reg::kUserName, name.data(), name.size());
    const auto write = [this](std::uint32_t address, std::uint32_t value) {
        std::uint8_t bytes[4];
        base::storeBig(bytes, value);
        model_.write(address, bytes, sizeof bytes);
    };
    write(reg::kPersistentAddress, kept.persistent.address);
    write(reg::kPersistentMask, kept.persistent.mask);
    write(reg::kPersistentGateway, kept.persistent.gateway);
    write(reg::kCurrentIpConfiguration, kept.ipConfiguration);
}

void ServedCamera::keep()
{
    KeptSettings settings;
    settings.userName = model_.userDefinedName();
    settings.persistent = {model_.bootstrap(reg::kPersistentAddress),
                           model_.bootstrap(reg::kPersistentMask),
                           model_.bootstrap(reg::kPersistentGateway)};
    settings.ipConfiguration = model_.bootstrap(reg::kCurrentIpConfiguration);
    file_.keep(config().serialNumber, settings);
}

void ServedCamera::openBroadcast(const HostAddress& host)
{
    broadcast_.clear();
    for (const std::uint32_t to : {kEverywhere, host.broadcast()}) {
        if (to == host.address) {
            continue; // an adapter with a single address
        }
        try {
            broadcast_.emplace_back(Endpoint{to, wire::kControlPort}, true, host.device);
        } catch (const std::system_error& error) {
            base::log(base::LogChannel::Gige, "no discovery at %s: %s",
                      base::formatIpv4(to).c_str(), error.what());
        }
    }
}

void ServedCamera::open(std::uint32_t address)
{
    const HostAddress host = pool_.find(address);
    ServerSocket unicast({address, wire::kControlPort}, false);
    unicast.allowBroadcast();
    auto messages = std::make_shared<MessageChannel>(model_, address);
    auto stream = std::make_shared<StreamChannel>(model_, address);
    stream->start();
    if (stream_) {
        stream_->stop(); // here, so that it does not end on its own thread
    }
    {
        const base::Lock lock(channels_);
        stream_.swap(stream);
        messages_.swap(messages);
    }
    unicast_ = std::move(unicast);
    openBroadcast(host);
    address_ = address;
    stream_->frameDue();
}

std::shared_ptr<StreamChannel> ServedCamera::stream() const
{
    const base::Lock lock(channels_);
    return stream_;
}

/// Rebinds to an address of the pool that is free; false, and all as before, when that fails.
bool ServedCamera::moveTo(const IpConfig& ip)
{
    const std::uint32_t before = address_;
    if (ip.address != before) {
        if (!pool_.claim(ip.address)) {
            return false;
        }
        try {
            open(ip.address);
        } catch (const std::system_error& error) {
            base::log(base::LogChannel::Gige, "%s cannot be taken: %s",
                      base::formatIpv4(ip.address).c_str(), error.what());
            pool_.release(ip.address);
            return false;
        }
        pool_.release(before);
    }
    model_.forceIp(ip);
    return true;
}

void ServedCamera::wake()
{
    const std::uint64_t one = 1;
    static_cast<void>(::write(wake_.get(), &one, sizeof one));
}

void ServedCamera::run()
{
    while (!ending_) {
        try {
            turn();
        } catch (const std::bad_alloc&) { // what came in is lost; memory may come back
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

void ServedCamera::turn()
{
    wait();
    listen(unicast_);
    std::size_t next = 0;
    while (next < broadcast_.size()) { // a command may move the camera to other sockets
        listen(broadcast_[next++]);
    }
    control_.expire(Clock::now());
    ControlChannel::Answer due;
    while (control_.takeDue(Clock::now(), &due)) {
        answer(due);
    }
    if (backAt_ <= Clock::now()) {
        messages_->service(Clock::now());
    }
    workOff();
}

void ServedCamera::wait()
{
    const auto now = Clock::now();
    auto next = control_.nextDue();
    if (const auto message = messages_->service(now)) {
        next = next ? std::min(*next, *message) : *message;
    }
    if (backAt_ > now && backAt_ != Clock::time_point::max()) {
        next = next ? std::min(*next, backAt_) : backAt_;
    }
    std::vector<pollfd> descriptors = {
        {wake_.get(), POLLIN, 0}, {unicast_.fd(), POLLIN, 0}, {messages_->fd(), POLLIN, 0}};
    for (const ServerSocket& socket : broadcast_) {
        descriptors.push_back({socket.fd(), POLLIN, 0});
    }
    timespec rest{};
    if (next) {
        const auto ns = std::max<std::int64_t>(
            0, std::chrono::duration_cast<std::chrono::nanoseconds>(*next - now).count());
        rest.tv_sec = ns / 1000000000;
        rest.tv_nsec = ns % 1000000000;
    }
    ::ppoll(descriptors.data(), descriptors.size(), next ? &rest : nullptr, nullptr);
    std::uint64_t count = 0;
    static_cast<void>(::read(wake_.get(), &count, sizeof count));
}

void ServedCamera::listen(const ServerSocket& socket)
{
    std::array<std::uint8_t, 2048> bytes;
    std::size_t size = 0;
    Endpoint from;
    for (int i = 0; i < kMostAtOnce; ++i) {
        if (!socket.receive(bytes.data(), bytes.size(), &size, &from)) {
            return;
        }
        if (backAt_ > Clock::now()) {
            continue; // unplugged
        }
        const std::uint32_t before = address_;
        answer(control_.handle({bytes.data(), size}, from, Clock::now()));
        workOff();
        if (address_ != before) {
            return; // `socket` is another one now
        }
    }
}

void ServedCamera::answer(const ControlChannel::Answer& answer)
{
    if (answer.datagram.size == 0) {
        return;
    }
    unicast_.send(answer.to, answer.datagram.bytes());
    const HostAddress host = pool_.find(address_);
    if (answer.broadcast && (answer.to.address & host.mask) != (host.address & host.mask)) {
        unicast_.send({kEverywhere, answer.to.port}, answer.datagram.bytes());
    }
}

/// What commands brought about and must not happen before their answer, and the end of absences.
void ServedCamera::workOff()
{
    if (testPacketDue_.exchange(false)) {
        stream_->fireTestPacket();
    }
    if (settingsChanged_.exchange(false)) {
        keep();
    }
    if (startedOver_) {
        startedOver_ = false;
        const bool persistent =
            (model_.bootstrap(reg::kCurrentIpConfiguration) & wire::kIpPersistent) != 0;
        const IpConfig ip = {model_.bootstrap(reg::kPersistentAddress),
                             model_.bootstrap(reg::kPersistentMask),
                             model_.bootstrap(reg::kPersistentGateway)};
        if (persistent) {
            moveTo(ip);
        }
    }
    if (const std::int64_t absentMs = absentMs_.exchange(0); absentMs != 0) {
        control_.reset();
        stream_->interrupt();
        messages_->clear();
        backAt_ = absentMs < 0 ? Clock::time_point::max()
                               : Clock::now() + std::chrono::milliseconds(absentMs);
        const IpConfig ip = model_.ip();
        if (!moveTo(ip)) { // an address that this host does not have
            const HostAddress host = pool_.find(address_);
            model_.forceIp({host.address, host.mask, 0});
        }
    }
}

void ServedCamera::acquisitionStarted() { stream()->frameDue(); }

void ServedCamera::acquisitionStopped() { stream()->cameraStopped(); }

void ServedCamera::triggered() { stream()->frameDue(); }

void ServedCamera::event(std::uint64_t eventId, const void* data, std::size_t size)
{
    // An entry of an EVENTDATA command: its header is written anew, with the block id.
    const wire::Bytes bytes(data, size);
    const wire::Bytes rest = bytes.from(16);
    const std::uint64_t frameId = size >= kModelEventSize ? bytes.u64(16) : 0;
    std::shared_ptr<MessageChannel> messages;
    {
        const base::Lock lock(channels_);
        messages = messages_;
    }
    messages->post(static_cast<std::uint16_t>(eventId), bytes.u64(8), blockIdOf(frameId, false),
                   {rest.data, rest.data + rest.size});
    wake();
}

void ServedCamera::identityChanged()
{
    settingsChanged_ = true;
    wake();
}

void ServedCamera::unplugged(std::uint64_t backAfterMs)
{
    constexpr std::uint64_t kLongest = 1ULL << 40U;
    absentMs_ = backAfterMs > kLongest
                    ? -1
                    : std::max<std::int64_t>(1, static_cast<std::int64_t>(backAfterMs));
    wake();
}

void ServedCamera::bootstrapWritten(std::uint32_t address, std::uint32_t value)
{
    if (address == kPacketSize && (value & wire::kFireTestPacket) != 0) {
        testPacketDue_ = true;
    } else if (address == kPort && (value & wire::kPortMask) == 0) {
        stream_->interrupt();
    } else if (address == reg::kMessagePort && value == 0) {
        messages_->clear();
    } else if (address < reg::kMessageChannelCount) {
        settingsChanged_ = true; // names and persistent addresses
    }
}

void ServedCamera::resend(const wire::ResendRequest& request, const Endpoint& asker)
{
    stream_->resend(request, asker);
}

bool ServedCamera::forceIp(const IpConfig& ip)
{
    if (ip.address == 0) {
        startedOver_ = true;
        return true;
    }
    return moveTo(ip);
}

void ServedCamera::sessionEnded()
{
    messages_->clear();
    model_.setBootstrap(reg::kMessagePort, 0);
    if ((model_.bootstrap(kSwitches) & wire::kChannelUnconditional) == 0) {
        model_.setBootstrap(kPort, 0);
        stream_->interrupt();
        model_.sessionClosed();
    }
}

void ServedCamera::switchedOver(const Endpoint& former)
{
    static_cast<void>(former); // the message channel is still the former host's
    messages_->post(kEventSwitchedOver, model_.now(), 0, {});
}

} // namespace simulator::gige
