// One lock around the sections of a camera, and what needs several of them.
#include "simulator/camera_model.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

namespace simulator
{

namespace
{

ModuleIdentity identityOf(const CameraConfig& config)
{
    return {identifierOf(config.vendor),
            identifierOf(config.model),
            "Simulated camera " + config.model,
            config.hasNetwork ? "GEV" : "None",
            "6D1E7A52-8C0B-4D3F-9A61-3B52E0C7F410",
            "0B7C9E34-52A8-4E16-8F7D-C1A46D20E995"};
}

} // namespace

CameraModel::CameraModel(const CameraConfig& config)
    : table_(identityOf(config), kRegisterBase), context_(config, table_),
      device_(context_, [this] { powerLoss(); }),
      image_(context_, [this] { return device_.hasRateForWideFormats(); }), analog_(context_),
      lut_(context_), chunks_(context_), events_(context_), counters_(context_, events_),
      lines_(context_, events_,
             [this](LineSource source, std::uint64_t atNs) { return isActive(source, atNs); }),
      acquisition_(context_, events_, lines_,
                   {[this] { return readoutNs(); }, [this] { return transferNs(); }}),
      autos_(context_), sequencer_(context_, events_), actions_(context_, events_),
      userSets_(context_,
                [this] {
                    image_.fitWindow();
                    lines_.refresh(context_.now());
                    sequencer_.restart();
                    context_.pictureChanged();
                }),
      transport_(context_, [this] { return payload(); }),
      ptp_(context_,
           transport_.network() == nullptr ? nullptr : &transport_.network()->registers()),
      memory_(context_, transport_.network(), lut_, files_), files_(context_),
      faults_(context_, events_, [this] { powerLoss(); }),
      frames_(context_, {image_, analog_, lut_, chunks_, autos_}), clock_([this] { tick(); })
{
    context_.linkChanged = [this] { image_.fitFormat(); };
    if (config.isServed) {
        networkFaults_ = std::make_unique<NetworkFaultSection>(context_);
    }
    table_.finish();
    acquisition_.setFaults(&faults_);
    userSets_.keepFactorySettings();
}

template <typename Action> auto CameraModel::run(Action action)
{
    using Result = decltype(action());
    std::vector<CameraContext::Message> messages;
    if constexpr (std::is_void_v<Result>) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            catchUp();
            action();
            settle();
            messages.swap(context_.messages);
        }
        deliver(messages);
    } else {
        std::unique_lock<std::mutex> lock(mutex_);
        catchUp();
        Result result = action();
        settle();
        messages.swap(context_.messages);
        lock.unlock();
        deliver(messages);
        return result;
    }
}

bool CameraModel::listensToLines() const
{
    return acquisition_.listensToLines() || counters_.listensToLines() || events_.sendsLineEvents();
}

void CameraModel::tick()
{
    run([] {});
}

/// What lines, timers and actions did since the last call, in its order.
void CameraModel::catchUp()
{
    ptp_.follow();
    constexpr int kMostSteps = 100000; // More is a program that was stopped.
    const std::array<TimedSection*, 3> sections = {&counters_, &actions_, &lines_};
    const auto isEarlier = [](const TimedSection* one, const TimedSection* other) {
        return one->nextNs() < other->nextNs();
    };
    const auto earliest = [&] {
        return *std::min_element(sections.begin(), sections.end(), isEarlier);
    };
    if (earliest()->nextNs() == kNever) {
        return;
    }
    const std::uint64_t now = context_.now();
    if (!listensToLines()) {
        lines_.skipTo(now);
    }
    for (int step = 0; step < kMostSteps; ++step) {
        TimedSection* const next = earliest();
        const std::uint64_t at = next->nextNs();
        if (at > now) {
            return;
        }
        next->step();
        lines_.refresh(at);
    }
    lines_.skipTo(now);
}

/// After every operation: what it did to the lines, and when the next thing happens by itself.
void CameraModel::settle()
{
    if (lines_.showsInside()) {
        lines_.refresh(context_.now());
    }
    std::uint64_t next = std::min(counters_.nextNs(), actions_.nextNs());
    if (const std::uint64_t edge = lines_.nextNs(); edge < next && listensToLines()) {
        next = edge;
    }
    if (next != armedNs_) {
        armedNs_ = next;
        clock_.wakeAt(next == kNever ? WakeThread::kNever
                                     : context_.powerOn + std::chrono::nanoseconds(next));
    }
}

bool CameraModel::isActive(LineSource source, std::uint64_t atNs) const
{
    switch (source) {
    case LineSource::ExposureActive:
        return acquisition_.status(AcquisitionSection::kExposureActive, atNs);
    case LineSource::FrameTriggerWait:
        return acquisition_.status(AcquisitionSection::kFrameTriggerWait, atNs);
    case LineSource::AcquisitionActive:
        return acquisition_.status(AcquisitionSection::kAcquisitionActive, atNs);
    default:
        return counters_.isTimerActive(source == LineSource::Timer0Active ? 0 : 1, atNs);
    }
}

void CameraModel::deliver(const std::vector<CameraContext::Message>& messages)
{
    if (messages.empty()) {
        return;
    }
    std::unique_lock<std::mutex> lock(observerMutex_);
    CameraObserver* observer = observer_;
    if (observer == nullptr) {
        return;
    }
    ++callsUnderWay_;
    lock.unlock();
    for (const auto& message : messages) {
        message(*observer);
    }
    lock.lock();
    --callsUnderWay_;
    observerFree_.notify_all();
}

void CameraModel::setObserver(CameraObserver* observer)
{
    std::unique_lock<std::mutex> lock(observerMutex_);
    observer_ = observer;
    if (observer == nullptr) {
        observerFree_.wait(lock, [this] { return callsUnderWay_ == 0; });
    }
}

std::int32_t CameraModel::read(std::uint64_t address, void* data, std::size_t size)
{
    if (memory_.readDescription(address, data, size)) {
        return gentl::err::kSuccess;
    }
    return run([&] {
        const std::int32_t refused = faults_.nextAccess();
        return refused != 0 ? refused : memory_.read(address, data, size);
    });
}

std::int32_t CameraModel::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (memory_.isDescription(address)) {
        return gentl::err::kAccessDenied;
    }
    return run([&] {
        const std::int32_t refused = faults_.nextAccess();
        return refused != 0 ? refused : memory_.write(address, data, size);
    });
}

std::uint32_t CameraModel::bootstrap(std::uint32_t address)
{
    return run([&] {
        NetworkSection* const network = transport_.network();
        return network == nullptr ? 0 : network->registers().value(address);
    });
}

void CameraModel::setBootstrap(std::uint32_t address, std::uint32_t value)
{
    run([&] {
        if (NetworkSection* const network = transport_.network()) {
            network->registers().setValue(address, value);
        }
    });
}

std::int32_t CameraModel::readBootstrap(std::uint64_t address, void* data, std::size_t size)
{
    return run([&] {
        const bool isThere = transport_.network() != nullptr && address < kBootstrapEnd;
        return isThere ? memory_.read(address, data, size) : gentl::err::kInvalidAddress;
    });
}

bool CameraModel::isReadOnly(std::uint64_t address)
{
    return run([&] { return memory_.isReadOnly(address); });
}

NetworkFaults CameraModel::networkFaults()
{
    return run([this] { return networkFaults_ ? networkFaults_->faults() : NetworkFaults{}; });
}

SendingMode CameraModel::sendingMode()
{
    return run([this] { return networkFaults_ ? networkFaults_->sending() : SendingMode{}; });
}

AnswerLie CameraModel::takeAnswerLie()
{
    return run(
        [this] { return networkFaults_ ? networkFaults_->takeAnswerLie() : AnswerLie::Off; });
}

std::uint64_t CameraModel::takeWork()
{
    return run([this] { return std::exchange(context_.workMs, 0); });
}

std::uint64_t CameraModel::payload() const
{
    return chunks_.payload(image_.imageBytes(), chunks_.enabled());
}

std::uint64_t CameraModel::readoutNs() const
{
    const double frame = 1e9 / context_.config.maxFrameRate;
    const double lines = static_cast<double>(image_.linesRead());
    return static_cast<std::uint64_t>(frame * lines / context_.config.sensorHeight);
}

std::uint64_t CameraModel::transferNs() const
{
    return static_cast<std::uint64_t>(static_cast<double>(payload()) * 1e9 /
                                      static_cast<double>(device_.linkRate()));
}

void CameraModel::powerLoss()
{
    acquisition_.stop();
    events_.disableAll();
    counters_.restart();
    sequencer_.restart();
    actions_.restart();
    ptp_.restart();
    files_.closeAll();
    transport_.restart();
    userSets_.loadDefault();
}

FramePlan CameraModel::nextFrame()
{
    return run([this] {
        FramePlan plan = acquisition_.next();
        if (plan.expose) {
            frames_.latch(plan, acquisition_.plannedUs());
        }
        return plan;
    });
}

void CameraModel::frameStarted(const FramePlan& plan)
{
    run([&] {
        if (frames_.begin(plan)) {
            acquisition_.started(plan);
        }
    });
}

void CameraModel::endExposure(const FramePlan& plan)
{
    if (frames_.end(plan)) {
        acquisition_.exposed(plan);
    }
}

void CameraModel::exposureEnded(const FramePlan& plan)
{
    run([&] { endExposure(plan); });
}

std::int32_t CameraModel::render(const FramePlan& plan, void* memory, std::size_t capacity,
                                 FrameLayout* layout)
{
    const LatchedFrames::Frame frame = run([&] { return frames_.find(plan); });
    return frame.renderer == nullptr
               ? gentl::err::kInvalidParameter
               : frames_.render(frame, plan.frameId, memory, capacity, layout);
}

std::size_t CameraModel::chunks(const FrameLayout& layout, ChunkPlace* places, std::size_t capacity)
{
    return chunks_.places(layout.imageSize, layout.chunkLayoutId, places, capacity);
}

void CameraModel::endFrame(const FramePlan& plan, bool dropped)
{
    run([&] {
        endExposure(plan);
        if (!frames_.forget(plan)) {
            return;
        }
        if (dropped) {
            events_.fire(CameraEvent::FrameLost, context_.now(), plan.frameId);
        }
        acquisition_.finished(plan);
    });
}

std::string CameraModel::userDefinedName()
{
    return run([this] { return device_.userId(); });
}

std::uint64_t CameraModel::timestamp()
{
    return run([this] { return context_.stamp(context_.now()); });
}

ActionFate CameraModel::actionCommand(const ActionCommand& command)
{
    return run([&] { return actions_.command(command, ptp_.followsMaster()); });
}

IpConfig CameraModel::ip()
{
    return run([this] {
        return transport_.network() == nullptr ? context_.config.ip : transport_.network()->ip();
    });
}

void CameraModel::forceIp(const IpConfig& ip)
{
    run([&] {
        if (transport_.network() != nullptr) {
            transport_.network()->forceIp(ip);
        }
    });
}

std::uint64_t CameraModel::payloadSize()
{
    return run([this] { return payload(); });
}

void CameraModel::setTransportLocked(bool locked)
{
    run([&] {
        transport_.setLocked(locked);
        if (locked) {
            acquisition_.hostStarted();
        }
    });
}

void CameraModel::sessionClosed()
{
    run([this] {
        acquisition_.stop();
        events_.disableAll();
        transport_.setLocked(false);
        files_.closeAll();
        if (networkFaults_) {
            networkFaults_->endSilence();
        }
    });
}

} // namespace simulator
