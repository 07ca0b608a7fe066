// One movie being recorded.
#pragma once

#include "../picture.h"
#include "base/fork_guard.h"
#include "encoder.h"
#include "movie_file.h"
#include "movie_frame.h"
#include "movie_functions.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace movie
{

/// Converts pictures in the caller's thread, encodes and writes them in one of its own, with a
/// short queue between: the caller waits only when the encoder is that far behind.
///
/// start(), append() and finish() are called in that order, by one thread at a time; only finish()
/// may also come from another, when the process ends meanwhile. The encoder and the file belong to
/// the recorder's thread from start() until it ends; `mutex_` guards the queue and the flags.
///
/// In a forked child a recorder is beyond use, even for destruction: its thread and perhaps its
/// locks belong to the parent. isInherited() tells, and nothing else may be called then.
class Recorder
{
public:
    Recorder() = default;
    /// Finishes the movie if nobody did.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    bool isInherited() const { return made_.isInherited(); }

    ZelCamErr start(const Settings& settings, const serializer::Picture& first);
    /// -40051 after finish().
    ZelCamErr append(const serializer::Picture& picture);
    /// Calls after the first give its code again.
    ZelCamErr finish();

private:
    enum class Wake { kFrame, kIdle, kClosing };

    ZelCamErr startThread();
    void run();
    void encodeAll();
    void keepError(ZelCamErr code);
    Wake waitForFrame(Frame* frame);

    base::ForkStamp made_;

    Encoder encoder_;
    MovieFile file_;
    std::unique_ptr<FrameMaker> frames_;
    serializer::Picture shape_ = {}; // Size and kind of all pictures; its pixels are not used.

    std::mutex joining_; // Held while thread_ is joined.
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Frame> queue_;
    bool closing_ = false;
    ZelCamErr error_ = ZelErr::kOk;
};

} // namespace movie
