// Receives frames by bulk transfers that point straight into the announced memory.
#pragma once

#include "base/mutex.h"
#include "core/transport.h"
#include "usb3/frame_builder.h"
#include "usb3/usb_result.h"
#include "usb3/wire/transfer_plan.h"

#include <libusb.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace usb3
{

/// Counts since the last start.
struct ReceiverCounters {
    std::atomic<std::uint64_t> complete{0};
    std::atomic<std::uint64_t> incomplete{0};
    std::atomic<std::uint64_t> underruns{0}; ///< Frames that found no buffer.
    std::atomic<std::uint64_t> lost{0};      ///< Frames whose number was passed over.
    std::atomic<std::uint64_t> resyncs{0}; ///< Times at which the beginning of a frame was sought.
};

/// The frames of one endpoint. Transfers are submitted in the order in which the camera sends:
/// leader, payload, trailer, the next leader, as many as the limit allows. A frame gets its buffer
/// when its leader is submitted, or, when none is queued, not before its leader arrived: only then
/// a frame that finds no buffer is thrown away and counted.
///
/// What does not fit the plan (a transfer that fails, a trailer where payload was due) makes the
/// frames in flight incomplete: all transfers are taken back, and the next leader is sought.
///
/// Threads: completions come on the thread that handles libusb's events, which also calls
/// afterEvents(); the other functions may be called from any thread, start(), stop() and
/// discardAll() one at a time. The memory is the caller's until a buffer is reported or taken back.
class FrameReceiver
{
public:
    /// What a receiver asks of its device, on the thread of the events and without a lock.
    struct Hooks {
        std::function<void()> lost;    ///< The device is gone.
        std::function<void()> restart; ///< Switch the camera's stream off and on again.
        std::function<void()> wake;    ///< Any thread, under a lock: afterEvents() is to be called.
    };

    FrameReceiver(libusb_device_handle* handle, unsigned char endpoint, core::StreamSink* sink,
                  Hooks hooks);
    /// Stopped before.
    ~FrameReceiver();
    FrameReceiver(const FrameReceiver&) = delete;
    FrameReceiver& operator=(const FrameReceiver&) = delete;

    void announce(core::BufferToken token, void* memory, std::size_t size);
    /// -1006 for a token that is not announced.
    ZelCamErr revoke(core::BufferToken token);
    ZelCamErr queue(core::BufferToken token);
    /// -1010 when transfers did not come back in time; their memory is still in use.
    ZelCamErr discardAll();

    /// Delivers at most `frames` frames (all ones: without limit). `bytesInFlight` limits the
    /// transfers that wait at a time; less is used when the kernel has no memory for them, and
    /// -1020 is the answer when it has none at all.
    ZelCamErr start(const wire::TransferPlan& plan, std::uint64_t frames,
                    std::size_t bytesInFlight);
    /// Frames that were not finished are dropped, their buffers stay queued. -1010 as discardAll().
    ZelCamErr stop();

    /// Of the thread of the events, after each round and ten times a second: what must not be done
    /// inside a completion.
    void afterEvents();

    const ReceiverCounters& counters() const { return counters_; }

private:
    enum class Role { Leader, Payload, Trailer };
    enum class Mode {
        Idle,
        Running,
        Halting, ///< All transfers are being taken back, for stop() or discardAll().
        Lost,    ///< The same, to find the beginning of a frame again.
    };
    struct Memory {
        std::uint8_t* bytes = nullptr;
        std::size_t size = 0;
    };
    /// A frame that is being received or for which transfers wait.
    struct Frame {
        FrameBuilder builder;
        bool decided = false;        ///< Whether it has a buffer or is thrown away.
        core::BufferToken token = 0; ///< 0: thrown away.
        Memory memory;
        std::uint32_t submitted = 0; ///< Transfers behind the leader.
    };
    struct Slot;
    using Lock = base::Lock;

    static void LIBUSB_CALL onTransfer(libusb_transfer* transfer);
    void completed(Slot& slot);
    void take(Slot& slot, std::size_t size) ZEL_REQUIRES(mutex_);
    void takeLeader(const std::uint8_t* bytes, std::size_t size) ZEL_REQUIRES(mutex_);
    void takePayload(Slot& slot, std::size_t size) ZEL_REQUIRES(mutex_);
    void takeStray(const Slot& slot, std::size_t size) ZEL_REQUIRES(mutex_);
    void beginFrame(Frame& frame, const wire::Leader& leader) ZEL_REQUIRES(mutex_);
    void finishFrame(const wire::Trailer* trailer) ZEL_REQUIRES(mutex_);
    void dropFrames() ZEL_REQUIRES(mutex_);
    void loseTrack(bool clearHalt) ZEL_REQUIRES(mutex_);
    void findTrack();
    void decide(Frame& frame, bool mayDiscard) ZEL_REQUIRES(mutex_);
    bool submitLeader() ZEL_REQUIRES(mutex_);
    void fill() ZEL_REQUIRES(mutex_);
    bool submitNext() ZEL_REQUIRES(mutex_);
    bool submit(Role role, std::size_t offset, std::size_t length) ZEL_REQUIRES(mutex_);
    Slot& freeSlot() ZEL_REQUIRES(mutex_);
    void place(Slot& slot, std::size_t length) ZEL_REQUIRES(mutex_);
    void cancelAll() ZEL_REQUIRES(mutex_);
    bool takeBack(Lock& lock, Mode mode) ZEL_REQUIRES(mutex_);
    void refused(int code) ZEL_REQUIRES(mutex_);

    libusb_device_handle* const handle_;
    const unsigned char endpoint_;
    core::StreamSink* const sink_;
    const Hooks hooks_;
    ReceiverCounters counters_;

    base::Mutex mutex_;
    std::condition_variable returned_; ///< The last transfer came back.
    Mode mode_ ZEL_GUARDED_BY(mutex_) = Mode::Idle;
    std::unordered_map<core::BufferToken, Memory> announced_ ZEL_GUARDED_BY(mutex_);
    /// With room for all that are announced: what comes back needs no memory.
    std::vector<core::BufferToken> queued_ ZEL_GUARDED_BY(mutex_);
    std::deque<Frame> frames_ ZEL_GUARDED_BY(mutex_); ///< The one that is received first.
    std::vector<std::unique_ptr<Slot>> slots_ ZEL_GUARDED_BY(mutex_);
    std::vector<Slot*> free_ ZEL_GUARDED_BY(mutex_);
    wire::TransferPlan plan_ ZEL_GUARDED_BY(mutex_);
    std::uint64_t remaining_ ZEL_GUARDED_BY(mutex_) = 0;
    std::size_t limit_ ZEL_GUARDED_BY(mutex_) = 0;
    std::size_t inFlight_ ZEL_GUARDED_BY(mutex_) = 0; ///< Transfers, and their bytes.
    std::size_t bytesInFlight_ ZEL_GUARDED_BY(mutex_) = 0;
    std::uint64_t lastId_ ZEL_GUARDED_BY(mutex_) = 0;
    bool hasLastId_ ZEL_GUARDED_BY(mutex_) = false;

    bool isCut_ ZEL_GUARDED_BY(mutex_) = false; ///< Since a transfer was taken back.

    // While track is lost.
    bool seeking_ ZEL_GUARDED_BY(mutex_) = false; ///< Until a leader came, one transfer at a time.
    bool mustClear_ ZEL_GUARDED_BY(mutex_) = false;
    bool strayHasLeader_ ZEL_GUARDED_BY(mutex_) = false;
    wire::Leader strayLeader_ ZEL_GUARDED_BY(mutex_);
    unsigned failures_ ZEL_GUARDED_BY(mutex_) = 0; ///< In a row.

    bool gone_ ZEL_GUARDED_BY(mutex_) = false;
    bool goneTold_ ZEL_GUARDED_BY(mutex_) = false;
    bool shortTold_ ZEL_GUARDED_BY(mutex_) = false;
};

} // namespace usb3
