// The public face of a simulated camera.
#include "simulator/camera_model.h"

#include "simulator/camera_state.h"

namespace simulator
{

CameraModel::CameraModel(const CameraConfig& config) : state_(std::make_unique<CameraState>(config))
{
}

CameraModel::~CameraModel() = default;

void CameraModel::setObserver(CameraObserver* observer) { state_->setObserver(observer); }

const std::string& CameraModel::xml() const { return state_->xml(); }

std::uint64_t CameraModel::xmlAddress() const { return kXmlBase; }

std::int32_t CameraModel::read(std::uint64_t address, void* data, std::size_t size)
{
    return state_->read(address, data, size);
}

std::int32_t CameraModel::write(std::uint64_t address, const void* data, std::size_t size)
{
    return state_->write(address, data, size);
}

const CameraConfig& CameraModel::config() const { return state_->config(); }

std::string CameraModel::userDefinedName() { return state_->userDefinedName(); }

IpConfig CameraModel::ip() { return state_->ip(); }

void CameraModel::forceIp(const IpConfig& ip) { state_->forceIp(ip); }

std::uint64_t CameraModel::now() const { return state_->now(); }

std::uint64_t CameraModel::payloadSize() { return state_->payloadSize(); }

void CameraModel::setTransportLocked(bool locked) { state_->setTransportLocked(locked); }

void CameraModel::sessionClosed() { state_->sessionClosed(); }

FramePlan CameraModel::nextFrame() { return state_->nextFrame(); }

void CameraModel::frameStarted(const FramePlan& plan) { state_->frameStarted(plan); }

void CameraModel::exposureEnded(const FramePlan& plan) { state_->exposureEnded(plan); }

std::int32_t CameraModel::render(const FramePlan& plan, void* memory, std::size_t capacity,
                                 FrameLayout* layout)
{
    return state_->render(plan, memory, capacity, layout);
}

std::size_t CameraModel::chunks(const FrameLayout& layout, ChunkPlace* places, std::size_t capacity)
{
    return ChunkSection::places(layout.imageSize, layout.chunkLayoutId, places, capacity);
}

void CameraModel::frameDropped(const FramePlan& plan) { state_->endFrame(plan, true); }

void CameraModel::frameDone(const FramePlan& plan) { state_->endFrame(plan, false); }

} // namespace simulator
