// One movie being recorded.
#pragma once

#include "../picture.h"
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
/// start(), append() and finish() are called by one thread at a time, in that order. The encoder
/// and the file belong to the recorder's thread from start() until it ends; `mutex_` guards the
/// queue and the flags.
class Recorder
{
public:
    Recorder() = default;
    /// Finishes the movie if nobody did.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    ZelCamErr start(const Settings& settings, const serializer::Picture& first);
    ZelCamErr append(const serializer::Picture& picture);
    ZelCamErr finish();

private:
    ZelCamErr startThread();
    void run();
    void keepError(ZelCamErr code);
    Frame waitForFrame();

    Encoder encoder_;
    MovieFile file_;
    std::unique_ptr<FrameMaker> frames_;
    serializer::Picture shape_ = {}; // Size and kind of all pictures; its pixels are not used.

    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Frame> queue_;
    bool closing_ = false;
    ZelCamErr error_ = ZelErr::kOk;
};

} // namespace movie
