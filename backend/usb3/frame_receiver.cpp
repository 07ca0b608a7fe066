#include "usb3/frame_receiver.h"

#include "base/log.h"
#include "base/operation_guard.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace usb3
{

namespace
{

constexpr std::size_t kPacket = 1024; // of SuperSpeed; more than leaders and trailers have
constexpr std::size_t kMostFrames = 64;
constexpr std::size_t kMostTransfers = 512;
constexpr std::uint64_t kUnlimited = ~std::uint64_t{0};
constexpr std::uint64_t kMostLost = 1U << 20U; // a larger step is a camera that began anew
constexpr unsigned kFailuresToRestart = 3;
constexpr auto kReturnTime = std::chrono::seconds(2);

} // namespace

/// One transfer, used again and again.
struct FrameReceiver::Slot {
    FrameReceiver* owner = nullptr;
    libusb_transfer* transfer = nullptr;
    Role role = Role::Leader;
    bool inFlight = false;
    bool isDirect = false;  ///< Into the frame's memory.
    std::size_t offset = 0; ///< Of payload, in the frame.
    std::vector<std::uint8_t> own;

    Slot() = default;
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() { libusb_free_transfer(transfer); }
    std::size_t length() const { return static_cast<std::size_t>(transfer->length); }
};

FrameReceiver::FrameReceiver(libusb_device_handle* handle, unsigned char endpoint,
                             core::StreamSink* sink, Hooks hooks)
    : handle_(handle), endpoint_(endpoint), sink_(sink), hooks_(std::move(hooks))
{
}

FrameReceiver::~FrameReceiver() = default;

void FrameReceiver::announce(core::BufferToken token, void* memory, std::size_t size)
{
    const Lock lock(mutex_);
    queued_.reserve(announced_.size() + 1);
    announced_[token] = {static_cast<std::uint8_t*>(memory), size};
}

ZelCamErr FrameReceiver::revoke(core::BufferToken token)
{
    const Lock lock(mutex_);
    return announced_.erase(token) == 1 ? ZelErr::kOk : ZelErr::kGenTLInvalidHandle;
}

ZelCamErr FrameReceiver::queue(core::BufferToken token)
{
    const Lock lock(mutex_);
    if (announced_.count(token) == 0) {
        return ZelErr::kGenTLInvalidHandle;
    }
    queued_.push_back(token);
    if (mode_ == Mode::Running) {
        fill();
    }
    return ZelErr::kOk;
}

ZelCamErr FrameReceiver::discardAll()
{
    Lock lock(mutex_);
    const bool runs = mode_ == Mode::Running || mode_ == Mode::Lost;
    if (runs && !takeBack(lock, Mode::Halting)) {
        return ZelErr::kGenTLIo;
    }
    queued_.clear();
    if (runs && !gone_) {
        // In the middle of a frame, perhaps.
        seeking_ = true;
        mode_ = Mode::Running;
        fill();
    }
    return ZelErr::kOk;
}

ZelCamErr FrameReceiver::start(const wire::TransferPlan& plan, std::uint64_t frames,
                               std::size_t bytesInFlight)
{
    const Lock lock(mutex_);
    if (mode_ != Mode::Idle || inFlight_ != 0) {
        return ZelErr::kGenTLResourceInUse;
    }
    counters_.complete = counters_.incomplete = counters_.underruns = 0;
    counters_.lost = counters_.resyncs = 0;
    plan_ = plan;
    remaining_ = frames;
    limit_ = bytesInFlight;
    hasLastId_ = seeking_ = mustClear_ = strayHasLeader_ = false;
    failures_ = 0;
    mode_ = Mode::Running;
    fill();
    if (inFlight_ == 0) {
        dropFrames();
        mode_ = Mode::Idle;
        return gone_ ? ZelErr::kGenTLIo : ZelErr::kGenTLResourceExhausted;
    }
    return ZelErr::kOk;
}

ZelCamErr FrameReceiver::stop()
{
    Lock lock(mutex_);
    if (mode_ == Mode::Idle) {
        return ZelErr::kOk;
    }
    if (!takeBack(lock, Mode::Halting)) {
        return ZelErr::kGenTLIo;
    }
    mode_ = Mode::Idle;
    return ZelErr::kOk;
}

/// Cancels everything and waits until it came back; the buffers are queued again, in their order.
bool FrameReceiver::takeBack(Lock& lock, Mode mode)
{
    mode_ = mode;
    isCut_ = false;
    cancelAll();
    if (!returned_.wait_for(lock.native(), kReturnTime, [this] {
            return inFlight_ == 0; // under the lock, as wait_for has it
        })) {
        base::log(base::LogChannel::Usb3, "%zu transfers do not come back", inFlight_);
        return false;
    }
    if (!frames_.empty() && frames_.front().builder.hasLeader()) {
        ++counters_.lost; // It was under way.
    }
    dropFrames();
    return true;
}

void FrameReceiver::cancelAll()
{
    // The last first, so that none of them is given to the camera in between.
    for (auto slot = slots_.rbegin(); slot != slots_.rend(); ++slot) {
        if ((*slot)->inFlight) {
            libusb_cancel_transfer((*slot)->transfer);
        }
    }
}

void FrameReceiver::dropFrames()
{
    for (auto frame = frames_.rbegin(); frame != frames_.rend(); ++frame) {
        if (frame->token != 0) {
            queued_.insert(queued_.begin(), frame->token);
        }
    }
    frames_.clear();
}

// ---- Submitting

FrameReceiver::Slot& FrameReceiver::freeSlot()
{
    if (free_.empty()) {
        auto slot = std::make_unique<Slot>();
        slot->owner = this;
        slot->transfer = libusb_alloc_transfer(0);
        if (slot->transfer == nullptr) {
            throw std::bad_alloc();
        }
        free_.reserve(slots_.size() + 1); // so that a completion needs no memory
        slots_.push_back(std::move(slot));
        free_.push_back(slots_.back().get());
    }
    return *free_.back();
}

/// Chooses the memory of a transfer: the frame's where it fits whole. What is thrown away has
/// memory of its own all the same: it is looked at while the next one is written.
void FrameReceiver::place(Slot& slot, std::size_t length)
{
    unsigned char* memory = nullptr;
    slot.isDirect = false;
    if (slot.role == Role::Payload) {
        const Frame& frame = frames_.back();
        const Memory& target = frame.memory;
        if (frame.token != 0 && slot.offset <= target.size && length <= target.size - slot.offset) {
            memory = target.bytes + slot.offset;
            slot.isDirect = true;
        }
    }
    if (memory == nullptr) {
        if (slot.own.size() < length) {
            slot.own.resize(length);
        }
        memory = slot.own.data();
    }
    libusb_fill_bulk_transfer(slot.transfer, handle_, endpoint_, memory, static_cast<int>(length),
                              &FrameReceiver::onTransfer, &slot, 0);
}

bool FrameReceiver::submit(Role role, std::size_t offset, std::size_t length)
{
    if (inFlight_ >= 2 && (bytesInFlight_ + length > limit_ || inFlight_ >= kMostTransfers)) {
        return false;
    }
    Slot& slot = freeSlot();
    slot.role = role;
    slot.offset = offset;
    place(slot, length);
    const int code = libusb_submit_transfer(slot.transfer);
    if (code != LIBUSB_SUCCESS) {
        refused(code);
        return false;
    }
    free_.pop_back();
    slot.inFlight = true;
    ++inFlight_;
    bytesInFlight_ += length;
    return true;
}

void FrameReceiver::refused(int code)
{
    if (usbResult(code) == UsbResult::Gone) {
        gone_ = true;
        hooks_.wake();
        return;
    }
    // The kernel's memory for all transfers of all processes is used up: what is in flight has to
    // do. (Older versions of libusb say "IO".)
    limit_ = bytesInFlight_;
    if (!shortTold_) {
        shortTold_ = true;
        base::log(base::LogChannel::Usb3,
                  "no memory for more than %zu bytes in flight (%s): raise "
                  "/sys/module/usbcore/parameters/usbfs_memory_mb",
                  bytesInFlight_, libusb_error_name(code));
    }
}

void FrameReceiver::decide(Frame& frame, bool mayDiscard)
{
    if (frame.decided) {
        return;
    }
    if (!queued_.empty() && remaining_ > 0) {
        frame.token = queued_.front();
        queued_.erase(queued_.begin());
        frame.memory = announced_[frame.token];
        frame.decided = true;
    } else if (mayDiscard) {
        frame.decided = true;
    }
}

/// Submits one transfer; false when there is none to be submitted now.
bool FrameReceiver::submitNext()
{
    if (seeking_) {
        // One at a time: what comes behind the leader is to go elsewhere.
        return frames_.empty() && inFlight_ == 0 && submit(Role::Leader, 0, plan_.longest());
    }
    if (!frames_.empty()) {
        Frame& last = frames_.back();
        decide(last, last.builder.hasLeader());
        if (!last.decided) {
            return false;
        }
        const std::uint32_t index = last.submitted;
        const std::uint32_t count = plan_.transfers();
        if (index < count) {
            const std::size_t offset = std::size_t{plan_.size} * std::min(index, plan_.count) +
                                       (index > plan_.count ? std::size_t{plan_.final1} : 0);
            last.submitted += submit(Role::Payload, offset, plan_.lengthOf(index)) ? 1 : 0;
            return last.submitted != index;
        }
        if (index == count) {
            last.submitted +=
                submit(Role::Trailer, 0, std::max<std::size_t>(plan_.trailer, kPacket)) ? 1 : 0;
            return last.submitted != index;
        }
    }
    if (frames_.size() >= kMostFrames) {
        return false;
    }
    frames_.emplace_back();
    if (!submitLeader()) {
        frames_.pop_back();
        return false;
    }
    decide(frames_.back(), false);
    return true;
}

bool FrameReceiver::submitLeader()
{
    try {
        return submit(Role::Leader, 0, std::max<std::size_t>(plan_.leader, kPacket));
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void FrameReceiver::fill()
{
    try {
        while (mode_ == Mode::Running && !gone_ && submitNext()) {
        }
    } catch (const std::bad_alloc&) {
        hooks_.wake(); // What is in flight has to do; the next completion tries again.
    }
}

// ---- Completions

void LIBUSB_CALL FrameReceiver::onTransfer(libusb_transfer* transfer)
{
    auto* const slot = static_cast<Slot*>(transfer->user_data);
    base::contained("usb3 transfer", [slot] { slot->owner->completed(*slot); });
}

void FrameReceiver::completed(Slot& slot)
{
    const Lock lock(mutex_);
    slot.inFlight = false;
    --inFlight_;
    bytesInFlight_ -= slot.length();
    free_.push_back(&slot);
    const libusb_transfer& transfer = *slot.transfer;
    const std::size_t size =
        std::min(slot.length(), static_cast<std::size_t>(std::max(transfer.actual_length, 0)));
    const bool cancelled = transfer.status == LIBUSB_TRANSFER_CANCELLED;
    const UsbResult result = transferResult(static_cast<int>(transfer.status));
    if (result == UsbResult::Gone) {
        gone_ = true;
        hooks_.wake();
    } else if (mode_ == Mode::Lost) {
        mustClear_ = mustClear_ || (result != UsbResult::Ok && !cancelled);
        takeStray(slot, size);
    } else if (mode_ == Mode::Halting && !isCut_) {
        // What had arrived before counts.
        isCut_ = result != UsbResult::Ok;
        if (!isCut_) {
            take(slot, size);
        }
    } else if (mode_ == Mode::Running && result == UsbResult::Ok) {
        take(slot, size);
    } else if (mode_ == Mode::Running) {
        base::log(base::LogChannel::Usb3, "a transfer failed: %d", static_cast<int>(result));
        loseTrack(!cancelled);
    }
    fill();
    if (inFlight_ == 0) {
        returned_.notify_all();
        hooks_.wake();
    }
}

void FrameReceiver::take(Slot& slot, std::size_t size)
{
    const unsigned char* const bytes = slot.transfer->buffer;
    if (slot.role == Role::Leader) {
        takeLeader(bytes, size);
    } else if (slot.role == Role::Payload) {
        takePayload(slot, size);
    } else {
        wire::Trailer trailer;
        if (wire::readTrailer(bytes, size, &trailer)) {
            finishFrame(&trailer);
        } else {
            takeStray(slot, size);
            loseTrack(false);
        }
    }
}

void FrameReceiver::takeLeader(const std::uint8_t* bytes, std::size_t size)
{
    wire::Leader leader;
    const bool isLeader = wire::readLeader(bytes, size, &leader);
    if (seeking_) {
        if (!isLeader) {
            return; // The rest of a frame whose beginning went by.
        }
        seeking_ = false;
        frames_.emplace_back();
    } else if (!isLeader || frames_.empty()) {
        loseTrack(false);
        return;
    }
    // Of the frames in flight the first one without a leader.
    const auto next = std::find_if(frames_.begin(), frames_.end(),
                                   [](const Frame& frame) { return !frame.builder.hasLeader(); });
    if (next == frames_.end()) {
        loseTrack(false);
        return;
    }
    beginFrame(*next, leader);
}

void FrameReceiver::beginFrame(Frame& frame, const wire::Leader& leader)
{
    frame.builder.setLeader(leader);
    decide(frame, true);
    if (hasLastId_ && leader.blockId > lastId_ && leader.blockId - lastId_ <= kMostLost) {
        counters_.lost += leader.blockId - lastId_ - 1;
    }
    hasLastId_ = true;
    lastId_ = leader.blockId;
}

void FrameReceiver::takePayload(Slot& slot, std::size_t size)
{
    if (frames_.empty()) {
        loseTrack(false);
        return;
    }
    Frame& frame = frames_.front();
    const std::uint8_t* const bytes = slot.transfer->buffer;
    // A frame that is shorter than it could be is followed by its trailer at once.
    const bool isPacket =
        size < slot.length() && wire::packetOf(bytes, size) != wire::Packet::Other;
    if (isPacket) {
        wire::Trailer trailer;
        if (wire::readTrailer(bytes, size, &trailer) && frame.builder.hasLeader()) {
            finishFrame(&trailer);
        } else {
            takeStray(slot, size);
        }
        loseTrack(false);
        return;
    }
    frame.builder.add(slot.length(), size);
    if (frame.token != 0 && !slot.isDirect) {
        const std::size_t room = frame.memory.size - std::min(frame.memory.size, slot.offset);
        std::memcpy(frame.memory.bytes + std::min(frame.memory.size, slot.offset), bytes,
                    std::min(room, size));
    }
}

/// Ends the first frame and hands it over.
void FrameReceiver::finishFrame(const wire::Trailer* trailer)
{
    if (frames_.empty()) {
        return;
    }
    const Frame frame = frames_.front();
    frames_.pop_front();
    if (frame.token != 0 && remaining_ == 0) {
        queued_.insert(queued_.begin(), frame.token); // Nobody asked for one more.
        return;
    }
    if (frame.token == 0) {
        counters_.underruns += remaining_ > 0 ? 1 : 0;
        return;
    }
    core::FrameInfo info;
    try {
        info = frame.builder.finish(trailer, frame.memory.bytes, frame.memory.size);
    } catch (const std::bad_alloc&) {
        ++counters_.lost;
        queued_.insert(queued_.begin(), frame.token);
        return;
    }
    if (trailer != nullptr && !info.incomplete) {
        failures_ = 0;
    }
    ++(info.incomplete ? counters_.incomplete : counters_.complete);
    if (remaining_ != kUnlimited) {
        --remaining_;
    }
    sink_->bufferDone(frame.token, std::move(info));
    // Frames that were given up for this one make room.
    while (const core::BufferToken spare = sink_->takeSpare()) {
        if (announced_.count(spare) != 0) {
            queued_.push_back(spare);
            continue;
        }
        core::FrameInfo nothing;
        nothing.empty = true;
        sink_->bufferDone(spare, std::move(nothing));
    }
}

// ---- Finding the beginning of a frame again

void FrameReceiver::loseTrack(bool clearHalt)
{
    mustClear_ = mustClear_ || clearHalt;
    if (mode_ != Mode::Running) {
        return;
    }
    mode_ = Mode::Lost;
    ++counters_.resyncs;
    cancelAll();
}

/// A transfer that came back while track is lost: where it should have gone is not known any more,
/// what it is may be.
void FrameReceiver::takeStray(const Slot& slot, std::size_t size)
{
    const std::uint8_t* const bytes = slot.transfer->buffer;
    wire::Leader leader;
    if (size < slot.length() && wire::readLeader(bytes, size, &leader)) {
        strayHasLeader_ = true;
        strayLeader_ = leader;
    } else if (size > 0) {
        strayHasLeader_ = false; // Its payload went by.
    }
}

void FrameReceiver::afterEvents()
{
    bool isLost = false;
    bool mustFind = false;
    {
        const Lock lock(mutex_);
        isLost = gone_ && !goneTold_;
        goneTold_ = goneTold_ || isLost;
        if (mode_ == Mode::Running && inFlight_ == 0) {
            fill(); // After a time without memory there is no completion that tries again.
        }
        mustFind = mode_ == Mode::Lost && inFlight_ == 0 && !gone_;
    }
    if (isLost) {
        hooks_.lost();
    } else if (mustFind) {
        findTrack();
    }
}

void FrameReceiver::findTrack()
{
    bool clear = false;
    bool restart = false;
    {
        const Lock lock(mutex_);
        // Frames whose beginning arrived are handed over as they are; the others did not begin.
        while (!frames_.empty() && frames_.front().builder.hasLeader()) {
            frames_.front().builder.breakOff();
            finishFrame(nullptr);
        }
        dropFrames();
        clear = mustClear_;
        restart = ++failures_ % kFailuresToRestart == 0 && clear;
        mustClear_ = false;
    }
    if (clear) {
        libusb_clear_halt(handle_, endpoint_);
    }
    if (restart) {
        hooks_.restart();
    }
    const Lock lock(mutex_);
    if (mode_ != Mode::Lost || inFlight_ != 0) {
        return; // Stopped meanwhile.
    }
    mode_ = Mode::Running;
    seeking_ = !strayHasLeader_ || clear;
    if (!seeking_) {
        frames_.emplace_back();
        beginFrame(frames_.back(), strayLeader_);
    }
    strayHasLeader_ = false;
    fill();
}

} // namespace usb3
