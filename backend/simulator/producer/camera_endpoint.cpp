// Presence, ownership and session of a simulated camera.
#include "simulator/producer/camera_endpoint.h"

#include "simulator/producer/failure.h"

#include <utility>

namespace simulator::producer
{

CameraEndpoint::CameraEndpoint(std::string id, std::string tlType, const CameraConfig& config)
    : id_(std::move(id)), tlType_(std::move(tlType)), config_(config)
{
}

CameraEndpoint::~CameraEndpoint()
{
    if (model_ != nullptr) {
        model_->setObserver(nullptr);
    }
}

CameraModel& CameraEndpoint::model()
{
    if (CameraModel* known = made_; known != nullptr) {
        return *known;
    }
    const std::lock_guard lock(making_);
    if (model_ == nullptr) {
        auto fresh = std::make_unique<CameraModel>(config_);
        fresh->setObserver(this);
        model_ = std::move(fresh);
        made_ = model_.get();
    }
    return *model_;
}

std::string CameraEndpoint::userDefinedName()
{
    CameraModel* known = made_;
    return known != nullptr ? known->userDefinedName() : config_.userDefinedName;
}

IpConfig CameraEndpoint::ip()
{
    CameraModel* known = made_;
    return known != nullptr ? known->ip() : config_.ip;
}

std::string CameraEndpoint::displayName()
{
    const std::string user = userDefinedName();
    return config_.vendor + ' ' + config_.model + " (" +
           (user.empty() ? config_.serialNumber : user) + ')';
}

bool CameraEndpoint::isPresent() const
{
    const std::lock_guard lock(mutex_);
    return Clock::now() >= backAt_;
}

gentl::DeviceAccessStatus CameraEndpoint::status() const
{
    const std::lock_guard lock(mutex_);
    if (Clock::now() < backAt_) {
        return gentl::kStatusNoAccess;
    }
    if (openAccess_ != gentl::kDeviceAccessNone) {
        return openAccess_ == gentl::kDeviceAccessReadOnly ? gentl::kStatusOpenReadOnly
                                                           : gentl::kStatusOpenReadWrite;
    }
    switch (otherHost_.load()) {
    case gentl::kDeviceAccessControl:
        return gentl::kStatusReadOnly;
    case gentl::kDeviceAccessExclusive:
        return gentl::kStatusBusy;
    default:
        return gentl::kStatusReadWrite;
    }
}

void CameraEndpoint::attach(const std::shared_ptr<CameraSession>& session,
                            gentl::DeviceAccess access)
{
    const std::lock_guard lock(mutex_);
    if (Clock::now() < backAt_) {
        throw Failure(gentl::err::kInvalidId, "the device is unplugged");
    }
    if (openAccess_ != gentl::kDeviceAccessNone) {
        throw Failure(gentl::err::kResourceInUse, "the device is open already");
    }
    const gentl::DeviceAccess other = otherHost_;
    if (other == gentl::kDeviceAccessExclusive ||
        (other == gentl::kDeviceAccessControl && access != gentl::kDeviceAccessReadOnly)) {
        throw Failure(gentl::err::kAccessDenied, "another host holds the device");
    }
    openAccess_ = access;
    session_ = session;
}

void CameraEndpoint::detach()
{
    try {
        model().sessionClosed(); // before a next session can begin
    } catch (const std::bad_alloc&) {
        // what it would have told somebody is lost; the camera is free all the same
    }
    const std::lock_guard lock(mutex_);
    session_.reset();
    openAccess_ = gentl::kDeviceAccessNone;
}

std::shared_ptr<CameraSession> CameraEndpoint::session() const
{
    const std::lock_guard lock(mutex_);
    return session_.lock();
}

void CameraEndpoint::acquisitionStarted()
{
    if (const auto open = session()) {
        open->frameDue();
    }
}

void CameraEndpoint::acquisitionStopped()
{
    if (const auto open = session()) {
        open->acquisitionStopped();
    }
}

void CameraEndpoint::triggered() { acquisitionStarted(); }

void CameraEndpoint::event(std::uint64_t eventId, const void* data, std::size_t size)
{
    if (const auto open = session()) {
        open->cameraEvent(eventId, data, size);
    }
}

void CameraEndpoint::identityChanged()
{
    if (const auto open = session()) {
        open->identityChanged();
    }
}

void CameraEndpoint::featureChanged(const char* name)
{
    if (const auto open = session()) {
        open->featureChanged(name);
    }
}

void CameraEndpoint::unplugged(std::uint64_t backAfterMs)
{
    constexpr std::uint64_t kForGood = 365ULL * 24 * 3600 * 1000;
    std::shared_ptr<CameraSession> lost;
    {
        const std::lock_guard lock(mutex_);
        backAt_ = backAfterMs > kForGood ? Clock::time_point::max()
                                         : Clock::now() + std::chrono::milliseconds(backAfterMs);
        lost = session_.lock();
        session_.reset();
    }
    if (lost) {
        lost->cameraLost();
    }
}

} // namespace simulator::producer
