// Stream and event endpoints of the camera on the bus: frames, cut as the host programmed them.
#include "base/endian.h"
#include "bus_camera.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace usb3test
{

using base::loadLittle;
using base::storeLittle;

namespace
{

constexpr std::uint64_t kSirm = 0x80020000;
constexpr std::uint64_t kEirm = 0x80030000;
constexpr std::size_t kMostMessages = 64; // what the camera keeps for a slow host

template <class Word> void put(Bytes& bytes, std::size_t offset, Word value)
{
    storeLittle(bytes.data() + offset, value);
}

} // namespace

void BusCamera::acquisitionStopped()
{
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    ++run_;
    changed_.notify_all();
}

/// Until a time of the camera's clock; false when the camera was stopped before.
bool BusCamera::waitUntil(std::uint64_t cameraNs)
{
    const auto ahead = static_cast<std::int64_t>(cameraNs - model_.now());
    std::unique_lock lock(mutex_);
    return !changed_.wait_until(lock, Clock::now() + std::chrono::nanoseconds(ahead),
                                [this] { return stopped_ || number_ == 0; });
}

void BusCamera::runEngine()
{
    while (true) {
        {
            std::unique_lock lock(mutex_);
            stopped_ = false;
            const auto runs = [this] {
                return number_ != 0 && (loadLittle<std::uint32_t>(&registers_[kSirm][4]) & 1U) != 0;
            };
            if (!runs()) {
                kept_.reset();
                changed_.wait_for(lock, std::chrono::milliseconds(20), runs);
                continue;
            }
        }
        const simulator::FramePlan plan = model_.nextFrame();
        if (!plan.expose) {
            std::unique_lock lock(mutex_);
            changed_.wait_for(lock, std::chrono::milliseconds(5));
            continue;
        }
        if (get("fast") > 0) {
            carryFast(plan);
        } else {
            carry(plan);
        }
    }
}

unsigned BusCamera::run()
{
    const std::lock_guard lock(mutex_);
    return run_;
}

void BusCamera::carry(const simulator::FramePlan& plan)
{
    const unsigned started = run();
    if (!waitUntil(plan.startNs)) {
        model_.frameDone(plan);
        return;
    }
    model_.frameStarted(plan);
    simulator::FrameLayout layout;
    std::uint64_t valid = 0;
    auto payload = std::make_shared<Bytes>(makePayload(plan, &layout, &valid));
    waitUntil(plan.exposureEndNs);
    model_.exposureEnded(plan);
    waitUntil(plan.readyNs);
    if (plan.lost) {
        model_.frameDone(plan);
        return;
    }
    bool isFull = false;
    {
        const std::lock_guard lock(mutex_);
        isFull = frames_.size() > kMostMessages;
    }
    if (isFull) {
        model_.frameDropped(plan);
        return;
    }
    send(plan, std::move(payload), layout, valid, started);
    model_.frameDone(plan);
}

/// For measurements: the same picture again and again, as fast as the host takes it.
void BusCamera::carryFast(const simulator::FramePlan& plan)
{
    const unsigned started = run();
    if (kept_ == nullptr) {
        kept_ = std::make_shared<Bytes>(makePayload(plan, &keptLayout_, &keptValid_));
    }
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] {
            return stopped_ || number_ == 0 || frames_.size() < 16 ||
                   (loadLittle<std::uint32_t>(&registers_[kSirm][4]) & 1U) == 0;
        });
    }
    keptLayout_.timestampNs = model_.now();
    send(plan, kept_, keptLayout_, keptValid_, started);
    model_.frameDone(plan);
}

Bytes BusCamera::makePayload(const simulator::FramePlan& plan, simulator::FrameLayout* layout,
                             std::uint64_t* valid)
{
    Bytes bytes(static_cast<std::size_t>(model_.payloadSize()));
    model_.render(plan, bytes.data(), bytes.size(), layout);
    const auto imageSize = static_cast<std::size_t>(layout->imageSize);
    {
        const std::lock_guard lock(mutex_);
        sums_[plan.frameId] = static_cast<std::uint32_t>(
            crc32(0, bytes.data(), static_cast<uInt>(std::min(imageSize, bytes.size()))));
        while (sums_.size() > 256) {
            sums_.erase(sums_.begin());
        }
    }
    *valid = layout->size;
    return bytes;
}

void BusCamera::push(std::deque<Message>& messages, Bytes bytes)
{
    auto kept = std::make_shared<const Bytes>(std::move(bytes));
    messages.push_back({kept, 0, kept->size()});
}

void BusCamera::send(const simulator::FramePlan& plan, std::shared_ptr<Bytes> payload,
                     const simulator::FrameLayout& layout, std::uint64_t valid, unsigned started)
{
    Bytes leader(52);
    put(leader, 0, std::uint32_t{0x4C563355});
    put(leader, 6, std::uint16_t{52});
    put(leader, 8, plan.frameId);
    put(leader, 18, static_cast<std::uint16_t>(layout.chunkLayoutId != 0 ? 0x4001 : 0x0001));
    put(leader, 20, layout.timestampNs);
    put(leader, 28, layout.pixelFormat);
    put(leader, 32, layout.width);
    put(leader, 36, layout.height);
    put(leader, 40, layout.offsetX);
    put(leader, 44, layout.offsetY);
    Bytes trailer(36);
    put(trailer, 0, std::uint32_t{0x54563355});
    put(trailer, 6, std::uint16_t{36});
    put(trailer, 8, plan.frameId);
    put(trailer, 20, valid);
    put(trailer, 28, layout.height);
    std::unique_lock lock(mutex_);
    Bytes& sirm = registers_[kSirm];
    const auto reg = [&sirm](std::size_t offset) {
        return loadLittle<std::uint32_t>(&sirm[offset]);
    };
    if (number_ == 0 || (reg(4) & 1U) == 0 || started != run_) {
        return;
    }
    if (faults_.count("unplug-at") != 0 &&
        plan.frameId == static_cast<std::uint64_t>(faults_["unplug-at"])) {
        faults_.erase("unplug-at");
        push(frames_, leader);
        const long back = faults_.count("return") != 0 ? faults_["return"] : -1;
        lock.unlock();
        leave(back);
        return;
    }
    if (!use("leader-missing")) {
        leader.resize(use("leader-cut") ? 10 : 52);
        push(frames_, leader);
    }
    std::size_t left = use("short") ? payload->size() / 2 : payload->size();
    std::size_t offset = 0;
    const auto piece = [&](std::size_t size) {
        const std::size_t take = std::min<std::size_t>(left, size);
        if (take > 0) {
            frames_.push_back({payload, offset, take});
        }
        offset += take;
        left -= take;
    };
    for (std::uint32_t i = 0; i < reg(0x20); ++i) {
        piece(reg(0x1C));
    }
    piece(reg(0x24));
    piece(reg(0x28));
    if (faults_["pad"] > 0 && frames_.back().size % 1024 != 0) {
        // Filled up to the alignment, as some cameras do.
        Message& last = frames_.back();
        Bytes padded(last.bytes->begin() + static_cast<std::ptrdiff_t>(last.offset),
                     last.bytes->begin() + static_cast<std::ptrdiff_t>(last.offset + last.size));
        padded.resize((padded.size() + 1023) / 1024 * 1024, 0xEE);
        frames_.pop_back();
        push(frames_, padded);
    }
    if (use("long")) {
        push(frames_, Bytes(4096, 0xEE));
    }
    if (use("stall")) {
        halted_ = true;
        changed_.notify_all();
        return;
    }
    if (use("trailer-id")) {
        put(trailer, 8, plan.frameId + 1000);
    }
    if (!use("trailer-missing")) {
        trailer.resize(use("trailer-cut") ? 12 : 36);
        push(frames_, trailer);
    }
    changed_.notify_all();
}

void BusCamera::sendRaw(Bytes bytes)
{
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::milliseconds(100),
                      [this] { return frames_.size() < kMostMessages; });
    push(frames_, std::move(bytes));
    changed_.notify_all();
}

/// `data` is the event as it lies on the wire, its size left open.
void BusCamera::event(std::uint64_t, const void* data, std::size_t size)
{
    Bytes bytes(12);
    put(bytes, 0, std::uint32_t{0x45563355});
    put(bytes, 6, std::uint16_t{0x0C00});
    put(bytes, 8, static_cast<std::uint16_t>(size));
    bytes.insert(bytes.end(), static_cast<const std::uint8_t*>(data),
                 static_cast<const std::uint8_t*>(data) + size);
    const std::lock_guard lock(mutex_);
    if ((loadLittle<std::uint32_t>(&registers_[kEirm][0]) & 1U) != 0 && events_.size() < 64) {
        push(events_, bytes);
        changed_.notify_all();
    }
}

std::uint32_t BusCamera::checksum(std::uint64_t frameId)
{
    const std::lock_guard lock(mutex_);
    const auto found = sums_.find(frameId);
    return found != sums_.end() ? found->second : 0;
}

// ---- Transfers

int BusCamera::submit(int number, libusb_transfer* transfer)
{
    const std::lock_guard lock(mutex_);
    if (number != number_) {
        return LIBUSB_ERROR_NO_DEVICE;
    }
    if (transfer->endpoint != kStreamIn && transfer->endpoint != kEventIn) {
        return LIBUSB_ERROR_NOT_FOUND;
    }
    (transfer->endpoint == kStreamIn ? streamTransfers_ : eventTransfers_).push_back(transfer);
    changed_.notify_all();
    return 0;
}

int BusCamera::cancel(libusb_transfer* transfer)
{
    {
        const std::lock_guard lock(mutex_);
        auto& waiting = transfer->endpoint == kStreamIn ? streamTransfers_ : eventTransfers_;
        const auto found = std::find(waiting.begin(), waiting.end(), transfer);
        if (found == waiting.end()) {
            return LIBUSB_ERROR_NOT_FOUND;
        }
        waiting.erase(found);
    }
    complete_(transfer, LIBUSB_TRANSFER_CANCELLED, 0);
    return 0;
}

int BusCamera::clearHalt(int number, std::uint8_t endpoint)
{
    const std::lock_guard lock(mutex_);
    if (number != number_) {
        return LIBUSB_ERROR_NO_DEVICE;
    }
    if (endpoint == kStreamIn) {
        halted_ = false;
        frames_.clear();
        changed_.notify_all();
    }
    return 0;
}

void BusCamera::runBus()
{
    std::unique_lock lock(mutex_);
    while (true) {
        const auto canMove = [this] {
            return (!streamTransfers_.empty() && (halted_ || !frames_.empty())) ||
                   (!eventTransfers_.empty() && !events_.empty());
        };
        changed_.wait(lock, canMove);
        if (halted_ && !streamTransfers_.empty()) {
            libusb_transfer* const transfer = streamTransfers_.front();
            streamTransfers_.pop_front();
            lock.unlock();
            complete_(transfer, LIBUSB_TRANSFER_STALL, 0);
            lock.lock();
            continue;
        }
        pump(frames_, streamTransfers_, lock);
        pump(events_, eventTransfers_, lock);
    }
}

/// One message, one transfer. The copy is the bus's work and is made without the lock.
void BusCamera::pump(std::deque<Message>& messages, std::deque<libusb_transfer*>& transfers,
                     std::unique_lock<std::mutex>& lock)
{
    if (messages.empty() || transfers.empty()) {
        return;
    }
    const Message message = std::move(messages.front());
    messages.pop_front();
    libusb_transfer* const transfer = transfers.front();
    transfers.pop_front();
    lock.unlock();
    const auto room = static_cast<std::size_t>(transfer->length);
    const std::size_t size = std::min(room, message.size);
    std::copy_n(message.bytes->data() + message.offset, size, transfer->buffer);
    complete_(transfer, message.size > room ? LIBUSB_TRANSFER_OVERFLOW : LIBUSB_TRANSFER_COMPLETED,
              size);
    lock.lock();
    changed_.notify_all();
}

} // namespace usb3test
