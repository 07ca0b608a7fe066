// Keeps what a stream and a device report.
#pragma once

#include "core/transport.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

/// Any thread.
class Recorder final : public core::StreamSink, public core::DeviceSink
{
public:
    void bufferDone(core::BufferToken token, core::FrameInfo info) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        frames_.emplace_back(token, std::move(info));
        changed_.notify_all();
    }
    void streamBroken(ZelCamErr reason) override { note(&broken_, reason); }
    void event(std::uint64_t, const void*, std::size_t) override {}
    void featuresInvalidated() override {}
    void deviceLost(ZelCamErr reason) override { note(&lost_, reason); }

    bool next(std::pair<core::BufferToken, core::FrameInfo>* frame, std::chrono::milliseconds wait)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!changed_.wait_for(lock, wait, [this] { return !frames_.empty(); })) {
            return false;
        }
        *frame = std::move(frames_.front());
        frames_.pop_front();
        return true;
    }
    bool waitLost(std::chrono::milliseconds wait)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, wait, [this] { return lost_ != 0 && broken_ != 0; });
    }

private:
    void note(ZelCamErr* where, ZelCamErr reason)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        *where = reason;
        changed_.notify_all();
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::pair<core::BufferToken, core::FrameInfo>> frames_;
    ZelCamErr lost_ = 0;
    ZelCamErr broken_ = 0;
};
