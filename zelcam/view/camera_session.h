// A camera that is shown: opened, streaming, reopened when it comes back after it was gone.
#pragma once

#include "common/acquisition.h"
#include "common/feature.h"
#include "common/movie_writer.h"
#include "common/open_camera.h"
#include "common/picture.h"
#include "view/raw_frame.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace view
{

/// How a client wants its pictures.
struct Wish {
    bool png = false;
    int quality = 80;         ///< Of JPEG, 1 to 100.
    std::uint32_t shrink = 1; ///< One of so many pixels, both ways.
};

/// A picture for a client.
struct Shown {
    std::shared_ptr<const RawFrame> frame;
    std::shared_ptr<const std::string> file;
};

/// Every operation may be called from any thread; none of them waits for a client. Frames are
/// copied only while somebody asks for them.
class CameraSession
{
public:
    /// `settings` are written at the first opening; `folder` is where snapshots and movies go.
    CameraSession(const common::FoundCamera& camera, const std::vector<std::string>& settings,
                  std::string folder);
    ~CameraSession();
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    std::string serial() const { return serial_; }
    std::string display() const { return display_; }

    /// The newest picture after this sequence number; empty when none came within the time.
    Shown picture(std::uint64_t after, const Wish& wish, int timeoutMs);
    /// The values of a pixel of the newest frame as the camera sent them, colours for Bayer and
    /// packed formats; Failure when there is no such pixel or no frame.
    common::Json pixel(std::uint32_t x, std::uint32_t y);
    /// Connection, counters, recording and the last events, for the page.
    common::Json state();

    /// The camera, open as long as the pointer lives; Failure while it is gone.
    std::shared_ptr<common::OpenCamera> camera();
    void setRunning(bool running);
    /// Writes a feature given as text; one that is locked while frames come is written with the
    /// acquisition stopped for a moment. Failure when the camera refuses.
    void setFeature(const std::string& name, const std::string& text);
    /// Saves the newest frame with its full depth; returns the file's name.
    std::string snapshot();
    /// Starts or ends a movie; returns the file's name.
    std::string startRecording(const std::string& codec, const std::string& extension);
    std::string stopRecording();
    std::string saveSettings();
    void loadSettings(const std::string& text);

private:
    struct Cached {
        std::uint64_t sequence;
        Wish wish;
        std::shared_ptr<const std::string> file;
    };

    void run();
    void stream();
    bool reopen();
    bool isOpen();
    common::FrameCounts counts();
    void watchEvents();
    void take(ZelCam::Buffer& buffer, const common::FrameCounts& counts);
    void record(const ZelImage* image);
    /// Runs `work` while no acquisition runs; Failure when it does not end in time.
    void whileStopped(const std::function<void()>& work);
    void setStreaming(bool streaming);
    void say(const std::string& message);
    std::shared_ptr<const RawFrame> newest(std::uint64_t after, int timeoutMs);
    std::string newFileName(const std::string& extension) const;
    static void onEvent(const void* data, std::uint64_t size, void* context);

    const common::FoundCamera found_;
    const std::string serial_;
    const std::string display_;
    const std::string folder_;

    std::mutex mutex_; ///< For what follows, up to the next mutex.
    std::condition_variable changed_;
    std::shared_ptr<common::OpenCamera> camera_;
    std::shared_ptr<RawFrame> newest_;
    std::shared_ptr<RawFrame> spare_;
    std::string message_;
    common::FrameCounts counts_;
    std::deque<std::chrono::steady_clock::time_point> arrivals_;
    std::chrono::steady_clock::time_point wantedUntil_{};
    std::uint64_t sequence_ = 0;
    bool running_ = true;
    bool streaming_ = false;
    int pauses_ = 0; ///< Callers of whileStopped().
    bool ending_ = false;

    std::mutex encoding_; ///< For what follows; never taken under mutex_.
    common::PictureMaker maker_;
    const ZelImage* made_ = nullptr;
    std::shared_ptr<const RawFrame> madeOf_;
    std::deque<Cached> cache_;

    std::mutex recordMutex_;
    std::unique_ptr<common::MovieWriter> recording_;
    bool recordWanted_ = false;
    std::string recordFile_;
    std::string recordCodec_;
    std::string recordError_;
    common::PictureMaker recordMaker_;

    struct EventSource {
        CameraSession* session;
        std::string name;
    };
    std::mutex eventMutex_;
    std::deque<EventSource> sources_;
    std::deque<common::Json> events_;
    std::uint64_t eventCount_ = 0;

    std::thread thread_;
};

} // namespace view
