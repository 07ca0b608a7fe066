// A simulated camera with the face of a USB3 Vision device: control, stream and event endpoints.
#pragma once

#include "simulator/camera_model.h"

#include <libusb.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace usb3test
{

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr std::uint8_t kControlOut = 0x01;
constexpr std::uint8_t kControlIn = 0x81;
constexpr std::uint8_t kEventIn = 0x82;
constexpr std::uint8_t kStreamIn = 0x83;

/// Hands a finished transfer to the context that it belongs to. Called without a lock.
using Complete = std::function<void(libusb_transfer*, libusb_transfer_status, std::size_t)>;

/// Thread safe. Lives for ever, plugged in or not; each time that it is plugged in it has another
/// number. Faults are counts that are used up, or values, by name; see set().
class BusCamera final : private simulator::CameraObserver
{
public:
    BusCamera(const simulator::CameraConfig& config, int index, Complete complete,
              std::function<void(BusCamera*, bool arrived)> plugged);

    /// swallow, swallow-write, late, busy, pending, stall-control: the next n commands.
    /// leader-missing, leader-cut, trailer-missing, trailer-cut, trailer-id, short, long, stall:
    /// the next n frames. denied, taken: opening and claiming. alignment: bits. zip: the
    /// description packed. unplug: now, back after n ms (negative: never). unplug-at: with the
    /// frame of this number. event: a test event. fast: frames without pause, each the copy of the
    /// first. device-memory-refused: the kernel has none.
    void set(const std::string& name, long value);
    long get(const std::string& name);
    const std::string& guid() const { return guid_; }
    const simulator::CameraConfig& config() const { return model_.config(); }
    /// 0 when it is not plugged in.
    int number();
    /// CRC-32 of the image of a frame sent lately; 0 when not known.
    std::uint32_t checksum(std::uint64_t frameId);
    /// Sends bytes on the stream endpoint as they are, one transfer.
    void sendRaw(Bytes bytes);

    // Endpoints. `number` is the one at the time of opening: another one is gone.
    int claim(int number, int interface);
    void release(int interface);
    int command(int number, const std::uint8_t* bytes, std::size_t size);
    int answer(int number, std::uint8_t* bytes, std::size_t capacity, unsigned timeoutMs, int* got);
    int submit(int number, libusb_transfer* transfer);
    int cancel(libusb_transfer* transfer);
    int clearHalt(int number, std::uint8_t endpoint);
    void closed();
    std::uint64_t busNanoseconds(); ///< Processor time of the threads here.

private:
    struct Message {
        std::shared_ptr<const Bytes> bytes;
        std::size_t offset;
        std::size_t size;
    };
    struct Answer {
        Bytes bytes;
        Clock::time_point at;
    };

    // simulator::CameraObserver
    void acquisitionStarted() override { wake(); }
    void acquisitionStopped() override;
    void triggered() override { wake(); }
    void event(std::uint64_t eventId, const void* data, std::size_t size) override;
    void identityChanged() override {}
    void unplugged(std::uint64_t backAfterMs) override;

    bool use(const std::string& name);
    void wake();
    void setUpRegisters();
    std::uint16_t read(std::uint64_t address, Bytes* data);
    std::uint16_t write(std::uint64_t address, const std::uint8_t* data, std::size_t size);
    void reply(std::uint16_t command, std::uint16_t status, std::uint16_t id, const Bytes& data);
    void runEngine();
    void carry(const simulator::FramePlan& plan);
    void carryFast(const simulator::FramePlan& plan);
    unsigned run();
    bool waitUntil(std::uint64_t cameraNs);
    Bytes makePayload(const simulator::FramePlan& plan, simulator::FrameLayout* layout,
                      std::uint64_t* valid);
    void send(const simulator::FramePlan& plan, std::shared_ptr<Bytes> payload,
              const simulator::FrameLayout& layout, std::uint64_t valid, unsigned run);
    void push(std::deque<Message>& messages, Bytes bytes);
    void runBus();
    void pump(std::deque<Message>& messages, std::deque<libusb_transfer*>& transfers,
              std::unique_lock<std::mutex>& lock);
    void leave(long backAfterMs);

    const Complete complete_;
    const std::function<void(BusCamera*, bool)> plugged_;
    const std::string guid_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, long> faults_;
    std::map<std::uint64_t, Bytes> registers_; ///< By address of the segment.
    int number_;
    std::set<int> claims_;
    std::map<int, int> locks_; ///< Descriptors of claims that other processes see.
    std::deque<Answer> answers_;
    std::deque<Message> frames_;
    std::deque<Message> events_;
    std::deque<libusb_transfer*> streamTransfers_;
    std::deque<libusb_transfer*> eventTransfers_;
    bool halted_ = false;
    bool stopped_ = false;
    unsigned run_ = 0; ///< Counted up by all that ends a frame under way.
    std::map<std::uint64_t, std::uint32_t> sums_;
    std::shared_ptr<Bytes> kept_; ///< Of "fast".
    simulator::FrameLayout keptLayout_;
    std::uint64_t keptValid_ = 0;
    simulator::CameraModel model_;
    std::thread engine_;
    std::thread bus_;
};

} // namespace usb3test
