// A simulated camera without its host side: registers, GenICam description, pictures, timing.
#pragma once

#include "simulator/acquisition_section.h"
#include "simulator/action_section.h"
#include "simulator/camera_config.h"
#include "simulator/camera_memory.h"
#include "simulator/counter_section.h"
#include "simulator/device_section.h"
#include "simulator/event_section.h"
#include "simulator/fault_section.h"
#include "simulator/latched_frames.h"
#include "simulator/line_section.h"
#include "simulator/network_faults.h"
#include "simulator/ptp_section.h"
#include "simulator/sequencer_section.h"
#include "simulator/transport_section.h"
#include "simulator/user_set_section.h"
#include "simulator/wake_thread.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace simulator
{

/// Registers, description and pictures of one camera. Thread safe: one lock inside, never held
/// while an observer is called or pixels are rendered. Codes are those of GenTL.
class CameraModel
{
public:
    explicit CameraModel(const CameraConfig& config);
    CameraModel(const CameraModel&) = delete;
    CameraModel& operator=(const CameraModel&) = delete;

    /// The observer is borrowed; null ends the calls (returns after a call under way, so it must
    /// not come from inside one).
    void setObserver(CameraObserver* observer);

    /// GenICam description, the same text for the life of the model. It also lies in the register
    /// space, at xmlAddress().
    std::string xml() const { return table_.xml(); }
    std::size_t xmlSize() const { return table_.xmlSize(); }
    std::uint64_t xmlAddress() const { return kXmlBase; }

    std::int32_t read(std::uint64_t address, void* data, std::size_t size);
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);

    const CameraConfig& config() const { return context_.config; }
    /// Present identity and network settings (registers may have changed them).
    std::string userDefinedName();
    IpConfig ip();
    /// ForceIP from the network, as a camera takes it: no session needed.
    void forceIp(const IpConfig& ip);

    // Cameras with a network only; else zeros.
    /// A bootstrap register as the face on the network sees and sets it, without checks and faults.
    std::uint32_t bootstrap(std::uint32_t address);
    void setBootstrap(std::uint32_t address, std::uint32_t value);
    std::int32_t readBootstrap(std::uint64_t address, void* data, std::size_t size);
    /// Whether a write there is refused because nobody may write it.
    bool isReadOnly(std::uint64_t address);
    // Served cameras only; else without faults.
    NetworkFaults networkFaults();
    SendingMode sendingMode();
    AnswerLie takeAnswerLie();
    /// How many ms the writes since the last call keep a real camera busy.
    std::uint64_t takeWork();

    /// Nanoseconds since the camera was made: the time that plans count in.
    std::uint64_t now() const { return context_.now(); }
    /// The camera's clock as the world sees it, in ns: now(), or the time of a PTP master. What
    /// frames, events and TimestampLatch show.
    std::uint64_t timestamp();
    /// An action command of the network: fires Action0 and Action1 (see ActionControl) when the
    /// keys are equal and the masks have a common bit, at once or at the time it tells.
    ActionFate actionCommand(const ActionCommand& command);
    std::uint64_t payloadSize();
    /// The host locks and unlocks what must not change during an acquisition (TLParamsLocked).
    void setTransportLocked(bool locked);
    /// The host closed the session: acquisition stops, events are disabled, silence ends.
    void sessionClosed();

    /// Plans the next frame; call again at plan.readyNs. With expose false wait for the observer.
    FramePlan nextFrame();
    /// To be called at plan.startNs and plan.exposureEndNs: the events of these times. A frame that
    /// was started and ends without exposureEnded() has its exposure-end event then.
    void frameStarted(const FramePlan& plan);
    void exposureEnded(const FramePlan& plan);
    /// Renders a planned frame into `memory` (at most `capacity`
    /// bytes; -1016 when that is less than the payload, with the leading bytes written).
    std::int32_t render(const FramePlan& plan, void* memory, std::size_t capacity,
                        FrameLayout* layout);
    /// The chunks of a rendered frame; returns how many there are and writes at most `capacity` of
    /// them into `places`.
    std::size_t chunks(const FrameLayout& layout, ChunkPlace* places, std::size_t capacity);
    /// Every plan ends with exactly one of frameDropped() and frameDone(), which release its
    /// settings (a second call does nothing) and end a single or multi frame acquisition after its
    /// last frame; that end is not reported through acquisitionStopped().
    ///
    /// The host found no buffer for a planned frame: the camera's lost-frame event and counter.
    void frameDropped(const FramePlan& plan) { endFrame(plan, true); }
    /// A frame was delivered, or lost on its way (plan.lost).
    void frameDone(const FramePlan& plan) { endFrame(plan, false); }

private:
    /// Calls `action` under the lock; then the observer, without it.
    template <typename Action> auto run(Action action);
    void deliver(const std::vector<CameraContext::Message>& messages);
    void tick();
    void catchUp();
    void settle();
    bool listensToLines() const;
    bool isActive(LineSource source, std::uint64_t atNs) const;
    void endFrame(const FramePlan& plan, bool dropped);
    void endExposure(const FramePlan& plan);
    void powerLoss();
    std::uint64_t payload() const;
    std::uint64_t readoutNs() const;
    std::uint64_t transferNs() const;

    std::mutex mutex_;
    FeatureTable table_;
    CameraContext context_;
    // In the order in which their categories are listed.
    DeviceSection device_;
    ImageSection image_;
    AnalogSection analog_;
    LutSection lut_;
    ChunkSection chunks_;
    EventSection events_;
    CounterSection counters_;
    LineSection lines_;
    AcquisitionSection acquisition_;
    AutoSection autos_;
    SequencerSection sequencer_;
    ActionSection actions_;
    UserSetSection userSets_;
    TransportSection transport_;
    PtpSection ptp_;
    CameraMemory memory_;
    FileSection files_;
    FaultSection faults_;
    std::unique_ptr<NetworkFaultSection> networkFaults_; ///< Served cameras only.
    LatchedFrames frames_;

    std::mutex observerMutex_;
    std::condition_variable observerFree_;
    CameraObserver* observer_ = nullptr;
    std::size_t callsUnderWay_ = 0;

    std::uint64_t armedNs_ = kNever; ///< When clock_ calls.
    WakeThread clock_;               ///< Last: its thread uses everything else.
};

} // namespace simulator
