// One lock around the sections of a camera, and what needs several of them.
#include "simulator/camera_model.h"

#include "gentl_abi/gentl_abi.h"
#include "gige/wire/xml_url.h"
#include "simulator/description_archive.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace simulator
{

namespace
{

constexpr std::uint64_t kNever = ~std::uint64_t{0};

/// Plans that a host forgot to end; more than any host has in flight.
constexpr std::size_t kMostLatched = 256;

/// A C identifier, as the head of the description wants it.
std::string identifier(std::string text)
{
    for (char& c : text) {
        const bool isPlain =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        c = isPlain ? c : '_';
    }
    return text;
}

/// Reads from a text in the camera's memory, which is padded with zeros to whole words.
bool readText(std::uint64_t address, void* data, std::size_t size, std::uint64_t base,
              const std::string& text)
{
    if (text.empty() || !liesIn(address, size, base, (text.size() + 3) / 4 * 4)) {
        return false;
    }
    const std::size_t offset = address - base;
    const std::size_t count = std::min(size, text.size() - std::min(text.size(), offset));
    std::memcpy(data, text.data() + std::min(text.size(), offset), count);
    std::memset(static_cast<char*>(data) + count, 0, size - count);
    return true;
}

ModuleIdentity identityOf(const CameraConfig& config)
{
    return {identifier(config.vendor),
            identifier(config.model),
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
      transport_(context_, [this] { return payload(); }), ptp_(context_), memory_(context_),
      files_(context_), faults_(context_, events_, [this] { powerLoss(); }),
      clock_([this] { tick(); })
{
    context_.linkChanged = [this] { image_.fitFormat(); };
    if (config.isServed) {
        networkFaults_ = std::make_unique<NetworkFaultSection>(context_);
    }
    table_.finish();
    publishDescription();
    acquisition_.setFaults(&faults_);
    userSets_.keepFactorySettings();
    if (!config.imageSource.empty()) {
        std::string error;
        scenes_ = loadScenes(config.imageSource, &error);
    }
    if (scenes_.empty()) {
        scenes_.push_back(Scene::generated());
    }
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

/// What lines and timers did since the last call, in its order.
void CameraModel::catchUp()
{
    ptp_.follow();
    constexpr int kMostSteps = 100000; // More is a program that was stopped.
    if (lines_.nextNs() == kNever && counters_.nextNs() == kNever) {
        return;
    }
    const std::uint64_t now = context_.now();
    if (!listensToLines()) {
        lines_.skipTo(now);
    }
    for (int step = 0; step < kMostSteps; ++step) {
        const std::uint64_t timer = counters_.nextNs();
        const std::uint64_t edge = lines_.nextNs();
        if (std::min(timer, edge) > now) {
            return;
        }
        if (timer <= edge) {
            counters_.step();
            lines_.refresh(timer);
        } else {
            lines_.step();
        }
    }
    lines_.skipTo(now);
}

/// After every operation: what it did to the lines, and when the next thing happens by itself.
void CameraModel::settle()
{
    if (lines_.showsInside()) {
        lines_.refresh(context_.now());
    }
    const std::uint64_t edge = lines_.nextNs();
    const std::uint64_t timer = counters_.nextNs();
    const std::uint64_t next = edge != kNever && listensToLines() ? std::min(edge, timer) : timer;
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

void CameraModel::publishDescription()
{
    NetworkSection* const network = transport_.network();
    if (network == nullptr) {
        return;
    }
    const std::string name = identifier(context_.config.model);
    const auto length = [](const std::string& text) {
        return static_cast<std::uint32_t>(text.size());
    };
    archive_ = zipped(name + ".xml", table_.xml());
    network->setUrls(archive_.empty()
                         ? std::string()
                         : ::gige::wire::makeXmlUrl(name + ".zip", kArchiveBase, length(archive_)),
                     ::gige::wire::makeXmlUrl(name + ".xml", kXmlBase, length(table_.xml())));
}

std::int32_t CameraModel::readMemory(std::uint64_t address, void* data, std::size_t size)
{
    if (liesIn(address, size, table_.base(), table_.end() - table_.base())) {
        return table_.read(address, data, size);
    }
    if (transport_.network() != nullptr && address < kBootstrapEnd) {
        return transport_.network()->registers().read(address, data, size);
    }
    if (liesIn(address, size, kLutBase, sizeof(LookUpTable))) {
        return lut_.read(address - kLutBase, data, size);
    }
    if (liesIn(address, size, kFileBufferBase, kFileBufferSize)) {
        files_.read(address - kFileBufferBase, data, size);
        return gentl::err::kSuccess;
    }
    return memory_.read(address, data, size);
}

std::int32_t CameraModel::writeMemory(std::uint64_t address, const void* data, std::size_t size)
{
    if (liesIn(address, size, table_.base(), table_.end() - table_.base())) {
        return table_.write(address, data, size);
    }
    if (transport_.network() != nullptr && address < kBootstrapEnd) {
        return transport_.network()->registers().write(address, data, size);
    }
    if (liesIn(address, size, kLutBase, sizeof(LookUpTable))) {
        return lut_.write(address - kLutBase, data, size);
    }
    if (liesIn(address, size, kFileBufferBase, kFileBufferSize)) {
        files_.write(address - kFileBufferBase, data, size);
        return gentl::err::kSuccess;
    }
    return memory_.write(address, data, size);
}

std::int32_t CameraModel::read(std::uint64_t address, void* data, std::size_t size)
{
    for (const auto& [base, text] :
         {std::pair<std::uint64_t, const std::string&>{kXmlBase, table_.xml()},
          std::pair<std::uint64_t, const std::string&>{kArchiveBase, archive_}}) {
        if (readText(address, data, size, base, text)) {
            return gentl::err::kSuccess;
        }
    }
    return run([&] {
        const std::int32_t refused = faults_.nextAccess();
        return refused != 0 ? refused : readMemory(address, data, size);
    });
}

std::int32_t CameraModel::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (liesIn(address, size, kXmlBase, table_.xml().size()) ||
        liesIn(address, size, kArchiveBase, archive_.size())) {
        return gentl::err::kAccessDenied;
    }
    return run([&] {
        const std::int32_t refused = faults_.nextAccess();
        return refused != 0 ? refused : writeMemory(address, data, size);
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
        NetworkSection* const network = transport_.network();
        return network == nullptr ? gentl::err::kInvalidAddress
                                  : network->registers().read(address, data, size);
    });
}

bool CameraModel::isReadOnly(std::uint64_t address)
{
    return run([&] {
        NetworkSection* const network = transport_.network();
        const bool isRegister = network != nullptr && network->registers().isReadOnly(address);
        return isRegister || liesIn(address, 1, kXmlBase, table_.xml().size()) ||
               liesIn(address, 1, kArchiveBase, archive_.size()) ||
               liesIn(address, 1, kFactoryMemoryBase, kFactoryMemorySize);
    });
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
    ptp_.restart();
    files_.closeAll();
    transport_.restart();
    userSets_.loadDefault();
}

void CameraModel::latch(FramePlan& plan)
{
    const double exposureUs = acquisition_.plannedUs();
    if (context_.pictureIsStale || renderer_ == nullptr ||
        renderer_->settings().exposureUs != exposureUs) {
        PictureSettings settings;
        image_.fill(settings);
        analog_.fill(settings);
        lut_.fill(settings);
        settings.exposureUs = exposureUs;
        settings.seed = context_.config.seed;
        renderer_ = std::make_shared<PictureRenderer>(settings, scenes_);
        context_.pictureIsStale = false;
    }
    const PictureSettings& settings = renderer_->settings();
    LatchedFrame frame;
    frame.renderer = renderer_;
    frame.chunks = chunks_.enabled();
    frame.values = {plan.frameId,         context_.stamp(plan.startNs),
                    settings.exposureUs,  settings.gainDb,
                    settings.width,       settings.height,
                    settings.offsetX,     settings.offsetY,
                    settings.format->code};
    autos_.adjust(*renderer_, plan.frameId); // What it changes is for the next frame.
    plan.settings = nextHandle_++;
    latched_.emplace(plan.settings, std::move(frame));
    if (latched_.size() > kMostLatched) {
        latched_.erase(latched_.begin());
    }
}

FramePlan CameraModel::nextFrame()
{
    return run([this] {
        FramePlan plan = acquisition_.next();
        if (plan.expose) {
            latch(plan);
        }
        return plan;
    });
}

void CameraModel::frameStarted(const FramePlan& plan)
{
    run([&] {
        const auto it = latched_.find(plan.settings);
        if (it != latched_.end() && !it->second.isExposing) {
            it->second.isExposing = true;
            acquisition_.started(plan);
        }
    });
}

void CameraModel::endExposure(const FramePlan& plan)
{
    const auto it = latched_.find(plan.settings);
    if (it != latched_.end() && it->second.isExposing) {
        it->second.isExposing = false;
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
    LatchedFrame frame;
    const bool known = run([&] {
        const auto it = latched_.find(plan.settings);
        if (it == latched_.end()) {
            return false;
        }
        frame = it->second;
        return true;
    });
    if (!known) {
        return gentl::err::kInvalidParameter;
    }
    const PictureSettings& settings = frame.renderer->settings();
    *layout = {};
    layout->imageSize = frame.renderer->imageBytes();
    layout->chunkLayoutId = frame.chunks;
    layout->size = chunks_.payload(layout->imageSize, frame.chunks);
    layout->chunkBytes = chunks_.chunkBytes(layout->imageSize, frame.chunks);
    layout->pixelFormat = settings.format->code;
    layout->width = settings.width;
    layout->height = settings.height;
    layout->offsetX = settings.offsetX;
    layout->offsetY = settings.offsetY;
    layout->timestampNs = frame.values.timestampNs;

    const auto draw = [&](unsigned char* target) {
        frame.renderer->render(plan.frameId, target);
        chunks_.write(frame.values, layout->imageSize, frame.chunks, target);
    };
    if (capacity >= layout->size) {
        draw(static_cast<unsigned char*>(memory));
        return gentl::err::kSuccess;
    }
    std::vector<unsigned char> aside(layout->size);
    draw(aside.data());
    std::memcpy(memory, aside.data(), capacity);
    return gentl::err::kBufferTooSmall;
}

std::size_t CameraModel::chunks(const FrameLayout& layout, ChunkPlace* places, std::size_t capacity)
{
    return chunks_.places(layout.imageSize, layout.chunkLayoutId, places, capacity);
}

void CameraModel::endFrame(const FramePlan& plan, bool dropped)
{
    run([&] {
        endExposure(plan);
        if (latched_.erase(plan.settings) == 0) {
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

std::size_t CameraModel::actionCommand(std::uint32_t deviceKey, std::uint32_t groupKey,
                                       std::uint32_t groupMask)
{
    return run([=] { return actions_.command(deviceKey, groupKey, groupMask); });
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
