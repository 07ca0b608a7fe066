// Movies decoded again: count, size, rate, content; what a recording survives and what it refuses.
#include "movie_reader.h"
#include "serializer_fixture.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <thread>

// One encoder library keeps a few hundred bytes of every session.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265.so"; }

// Encoders that were not built for this look count references and wait on each other in ways that
// it cannot see.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions()
{
    return "race:libavcodec.so\nrace:libx265.so\nrace:libx264.so\nrace:libSvtAv1Enc.so\nrace:"
           "libvpx.so";
}

namespace
{

const std::set<std::string> kLossless = {"uncompressed", "ffv1", "huffyuv", "png"};

const std::map<std::string, std::set<std::string>> kFitting = {
    {"avi", {"uncompressed", "mjpeg", "mpeg4", "h264", "ffv1", "huffyuv", "png", "vp9", "av1"}},
    {"mkv", {"mjpeg", "mpeg4", "h264", "h265", "ffv1", "png", "vp9", "av1"}},
    {"mp4", {"mjpeg", "mpeg4", "h264", "h265", "vp9", "av1"}},
    {"mov", {"uncompressed", "mjpeg", "mpeg4", "h264", "h265"}},
    {"webm", {"vp9", "av1"}},
};

class MovieTest : public SerializerTest
{
protected:
    std::vector<std::string> compressors() const
    {
        char text[256];
        std::uint32_t length = sizeof text;
        EXPECT_EQ(params_->GetString("movie.compressors", text, &length), 0);
        std::vector<std::string> names;
        std::string rest = text;
        for (std::size_t bar; (bar = rest.find('|')) != std::string::npos;) {
            names.push_back(rest.substr(0, bar));
            rest.erase(0, bar + 1);
        }
        EXPECT_EQ(rest, "") << "every name ends with a bar";
        return names;
    }

    void record(const std::string& name, const char* compressor, TestImage& image, unsigned count,
                double rate) const
    {
        ASSERT_EQ(start(image, name, compressor, rate), 0);
        for (unsigned i = 0; i < count; ++i) {
            ASSERT_EQ(append(image.fillScene(i)), 0);
        }
        ASSERT_EQ(ZelImageSerializer_FinishRecord(serializer_), 0);
    }

    /// Records a scene and compares every frame of what comes back.
    void roundTrip(const std::string& compressor, const std::string& container, ZelPixelType type,
                   std::uint32_t width, std::uint32_t height) const
    {
        constexpr unsigned kFrames = 9;
        const bool colour = type != ZelPixel::kMono8;
        const std::string name = compressor + "." + container;
        SCOPED_TRACE(name + (colour ? " colour " : " gray ") + std::to_string(width));
        TestImage image(type, width, height, 7);
        ASSERT_NO_FATAL_FAILURE(record(name, compressor.c_str(), image, kFrames, 29.97));
        const Movie movie = readMovie(path(name), colour);
        ASSERT_EQ(movie.frames.size(), kFrames);
        EXPECT_TRUE(movie.width == int(width) || movie.width == int(width + (width & 1)));
        EXPECT_TRUE(movie.height == int(height) || movie.height == int(height + (height & 1)));
        // Matroska counts milliseconds.
        EXPECT_NEAR(movie.rate, 29.97, container == "mkv" || container == "webm" ? 0.2 : 0.001);
        // Quarter-size chroma costs colour pictures two decibels.
        const double least = kLossless.count(compressor) != 0 ? 98.0 : colour ? 33.0 : 35.0;
        for (unsigned i = 0; i < kFrames; ++i) {
            image.fillScene(i);
            EXPECT_GT(psnr(image.rgb(), movie.frames[i], width, height,
                           static_cast<std::size_t>(movie.width), colour ? 3 : 1),
                      least)
                << "frame " << i;
        }
    }
};

/// A recording of a process of its own.
class Own
{
public:
    Own(const std::string& file, const char* compressor, double rate)
        : serializer_(ZelImageSerializer_CreateComponent(1))
    {
        ZelImageSerializer_GetComponent(serializer_)->SetString("movie.compressor", compressor);
        ZelImageSerializer_StartMovieRecord(serializer_, image_.get(), file.c_str(), rate);
    }
    void append(unsigned count) const
    {
        for (unsigned i = 0; i < count; ++i) {
            ZelImageSerializer_Save(serializer_, image_.fillScene(i).get(), nullptr);
        }
    }

private:
    mutable TestImage image_{ZelPixel::kMono8, 160, 120};
    ZelImageSerializer* serializer_;
};

} // namespace

TEST_F(MovieTest, EveryCompressorInEveryContainer)
{
    const std::vector<std::string> all = compressors();
    ASSERT_FALSE(all.empty());
    TestImage image(ZelPixel::kMono8, 96, 80);
    for (const auto& [container, fitting] : kFitting) {
        for (const std::string& compressor : all) {
            if (fitting.count(compressor) == 0) {
                EXPECT_EQ(start(image, "no." + container, compressor.c_str()), -40007)
                    << compressor << container;
                continue;
            }
            roundTrip(compressor, container, ZelPixel::kMono8, 96, 80);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(path("no.avi")));
}

TEST_F(MovieTest, ColoursAndOddSizesComeBackRight)
{
    for (const std::string& compressor : compressors()) {
        const char* container = kFitting.at("avi").count(compressor) != 0 ? "avi" : "mkv";
        roundTrip(compressor, container, ZelPixel::kBGR8, 97, 81);
        roundTrip(compressor, container, ZelPixel::kRGB8, 128, 96);
    }
    roundTrip("uncompressed", "mov", ZelPixel::kBGR8, 97, 81);
    roundTrip("mjpeg", "avi", ZelPixel::kBGR8, 20480, 2);
    for (const char* smallest : {"mjpeg", "mpeg4", "ffv1", "png", "uncompressed"}) {
        TestImage pixel(ZelPixel::kMono8, 1, 1);
        ASSERT_NO_FATAL_FAILURE(record("one.avi", smallest, pixel, 3, 25));
        EXPECT_EQ(readMovie(path("one.avi"), false).frames.size(), 3U) << smallest;
    }
    // Flat colours, where a wrong matrix or range shows at once.
    TestImage flat(ZelPixel::kRGB8, 64, 64);
    for (std::uint32_t y = 0; y < 64; ++y) {
        for (std::size_t x = 0; x < 64; ++x) {
            flat.row(y)[3 * x] = 220;
            flat.row(y)[3 * x + 1] = 40;
            flat.row(y)[3 * x + 2] = 90;
        }
    }
    for (const char* name : {"mjpeg", "mpeg4", "h264"}) {
        ASSERT_EQ(start(flat, "flat.mkv", name), 0);
        ASSERT_EQ(append(flat), 0);
        ASSERT_EQ(ZelImageSerializer_FinishRecord(serializer_), 0);
        const Movie movie = readMovie(path("flat.mkv"), true);
        ASSERT_EQ(movie.frames.size(), 1U) << name;
        EXPECT_NEAR(movie.frames[0][0], 220, 4) << name;
        EXPECT_NEAR(movie.frames[0][1], 40, 4) << name;
        EXPECT_NEAR(movie.frames[0][2], 90, 4) << name;
    }
}

TEST_F(MovieTest, SettingsReachTheFile)
{
    TestImage image(ZelPixel::kMono8, 160, 120);
    const auto size = [&](std::int32_t quantizer, const char* compressor) {
        EXPECT_EQ(params_->SetInteger("min.quantizer", quantizer), 0);
        EXPECT_EQ(params_->SetInteger("max.quantizer", quantizer), 0);
        record("a.mkv", compressor, image, 8, 25);
        return std::filesystem::file_size(path("a.mkv"));
    };
    for (const std::string& name : compressors()) {
        if (kLossless.count(name) == 0) {
            EXPECT_GT(size(2, name.c_str()), size(31, name.c_str())) << name;
        }
    }
    // From best to worst: a range instead of one value.
    ASSERT_EQ(params_->SetInteger("min.quantizer", 2), 0);
    ASSERT_NO_FATAL_FAILURE(record("a.avi", "mpeg4", image, 8, 25));
    EXPECT_EQ(readMovie(path("a.avi"), false).frames.size(), 8U);
    ASSERT_EQ(params_->SetInteger("add.palette", 1), 0);
    ASSERT_NO_FATAL_FAILURE(record("p.avi", "", image, 3, 25));
    const Movie palette = readMovie(path("p.avi"), false);
    ASSERT_EQ(palette.frames.size(), 3U);
    EXPECT_EQ(palette.codec, "rawvideo");
    EXPECT_EQ(palette.frames[2], image.pixels());
    for (const double rate : {0.5, 1.0, 59.94, 999.0}) {
        ASSERT_NO_FATAL_FAILURE(record("r.mp4", "mpeg4", image, 4, rate));
        EXPECT_NEAR(readMovie(path("r.mp4"), false).rate, rate, rate * 1e-5);
        ASSERT_NO_FATAL_FAILURE(record("r.avi", "mjpeg", image, 4, rate));
        EXPECT_NEAR(readMovie(path("r.avi"), false).rate, rate, rate * 1e-5);
    }
}

TEST_F(MovieTest, RefusedStartsLeaveNoFile)
{
    TestImage image(ZelPixel::kBGR8, 64, 64);
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double rate : {0.0, -25.0, std::nan(""), infinity, -infinity, 1e-9, 1e9, 1001.0}) {
        EXPECT_EQ(start(image, "a.avi", "mjpeg", rate), -40007) << rate;
    }
    for (const char* compressor : {"MJPEG", "mjpeg|", "x264", "h265"}) {
        EXPECT_EQ(start(image, "a.avi", compressor), -40007) << compressor;
    }
    EXPECT_EQ(start(image, "a.png", ""), -40007);
    EXPECT_EQ(start(image, "a", ""), -40007);
    for (const std::string& compressor : compressors()) {
        const std::string container = compressor == "h265" ? "mkv" : "avi";
        EXPECT_EQ(start(image, "nowhere/a." + container, compressor.c_str()), -40002);
    }
    TestImage deep(ZelPixel::kMono12, 64, 64);
    EXPECT_EQ(start(deep, "a.avi", "ffv1"), -40007);
    TestImage wide(ZelPixel::kMono8, 8200, 2);
    EXPECT_EQ(start(wide, "a.avi", "mpeg4"), -40007);
    EXPECT_EQ(params_->SetInteger("min.quantizer", 16), 0);
    EXPECT_EQ(start(image, "a.avi", "mjpeg"), -40007) << "minimum above maximum";
    EXPECT_EQ(ZelImageSerializer_StartMovieRecord(serializer_, image.get(), nullptr, 25), -40007);
    EXPECT_EQ(ZelImageSerializer_StartMovieRecord(serializer_, nullptr, "a.avi", 25), -40007);
    EXPECT_EQ(append(image), -40051);
    EXPECT_EQ(ZelImageSerializer_FinishRecord(serializer_), -40051);
    EXPECT_TRUE(names().empty());
    std::filesystem::create_directory(path("dir.avi"));
    EXPECT_EQ(start(image, "dir.avi", ""), -40007) << "still minimum above maximum";
    EXPECT_EQ(params_->SetInteger("min.quantizer", 15), 0);
    EXPECT_EQ(start(image, "dir.avi", ""), -40003);
}

TEST_F(MovieTest, StatesOfARecording)
{
    TestImage image(ZelPixel::kBGR8, 64, 48);
    ASSERT_EQ(start(image, "first.avi", "mjpeg"), 0);
    ASSERT_EQ(append(image.fillScene(1)), 0);
    TestImage larger(ZelPixel::kBGR8, 65, 48);
    TestImage gray(ZelPixel::kMono8, 64, 48);
    TestImage otherOrder(ZelPixel::kRGB8, 64, 48);
    EXPECT_EQ(append(larger), -40007);
    EXPECT_EQ(append(gray), -40007);
    EXPECT_EQ(append(otherOrder), -40007);
    EXPECT_EQ(ZelImageSerializer_Save(serializer_, nullptr, nullptr), -40007);
    EXPECT_EQ(save(gray, "beside.png"), 0) << "pictures while a movie is recorded";
    ASSERT_EQ(append(image), 0);
    // A second start finishes the first movie; deleting the component finishes the second.
    ASSERT_EQ(start(image, "second.mp4", "mpeg4"), 0);
    EXPECT_EQ(readMovie(path("first.avi"), true).frames.size(), 2U);
    ASSERT_EQ(append(image), 0);
    ZelImageSerializer_DeleteComponent(serializer_);
    serializer_ = nullptr;
    EXPECT_EQ(readMovie(path("second.mp4"), true).frames.size(), 1U);
}

TEST_F(MovieTest, FullDiskIsReportedAndWhatWasWrittenPlays)
{
    TestImage image(ZelPixel::kMono8, 320, 240);
    image.fillNoise(3);
    for (const char* name : {"a.avi", "a.mkv", "a.mp4"}) {
        SCOPED_TRACE(name);
        rlimit earlier = {};
        ::getrlimit(RLIMIT_FSIZE, &earlier);
        rlimit small = earlier;
        small.rlim_cur = 1'000'000;
        ::setrlimit(RLIMIT_FSIZE, &small);
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const ZelCamErr started = start(image, name, "mjpeg");
        unsigned taken = 0;
        ZelCamErr code = 0;
        while (started == 0 && taken < 1000 && (code = append(image)) == 0) {
            ++taken;
        }
        EXPECT_EQ(code, -40003);
        EXPECT_EQ(append(image), -40003) << "and again";
        EXPECT_EQ(ZelImageSerializer_FinishRecord(serializer_), -40003);
        EXPECT_EQ(ZelImageSerializer_FinishRecord(serializer_), -40051);
        ::setrlimit(RLIMIT_FSIZE, &earlier);
        std::signal(SIGXFSZ, handler);
        const std::size_t played = readMovie(path(name), false).frames.size();
        EXPECT_GT(played, 10U);
        EXPECT_LE(played, taken);
    }
}

TEST_F(MovieTest, KilledRecordingsLoseASecondAtMost)
{
    constexpr unsigned kFrames = 90;
    constexpr unsigned kRate = 30;
    for (const auto& [name, compressor] :
         {std::pair("a.avi", "mjpeg"), std::pair("b.avi", "h264"), std::pair("a.mkv", "h265"),
          std::pair("a.mp4", "av1"), std::pair("a.mov", "mpeg4"), std::pair("a.webm", "vp9")}) {
        SCOPED_TRACE(name);
        int ready[2];
        ASSERT_EQ(::pipe(ready), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const Own own(path(name), compressor, kRate);
            own.append(kFrames);
            if (::write(ready[1], "r", 1) == 1) {
                ::pause();
            }
            ::_exit(1);
        }
        char byte = 0;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        // The queue is short; its encoder needs a moment.
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        ::kill(child, SIGKILL);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        ::close(ready[0]);
        ::close(ready[1]);
        EXPECT_GE(readMovie(path(name), false).frames.size(), kFrames - kRate);
    }
}

TEST_F(MovieTest, AProcessThatEndsFinishesItsMovie)
{
    for (const char* name : {"a.mp4", "a.mkv", "a.avi"}) {
        const pid_t child = ::fork();
        if (child == 0) {
            (new Own(path(name), "h264", 30))->append(10);
            std::exit(0);
        }
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        EXPECT_EQ(readMovie(path(name), false).frames.size(), 10U) << name;
    }
}

TEST_F(MovieTest, AForkedChildLeavesTheMovieToItsParent)
{
    TestImage image(ZelPixel::kMono8, 160, 120);
    ASSERT_EQ(start(image, "a.mkv", "mpeg4"), 0);
    ASSERT_EQ(append(image), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        bool right = true;
        for (int i = 0; i < 6; ++i) { // More than the queue holds.
            right = right && append(image) == -40051;
        }
        right = right && ZelImageSerializer_FinishRecord(serializer_) == -40051;
#if !defined(__SANITIZE_THREAD__) // Which ends a child that starts threads.
        right = right && start(image, "child.mkv", "mpeg4") == 0 && append(image) == 0 &&
                ZelImageSerializer_FinishRecord(serializer_) == 0;
#endif
        std::exit(right ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    ASSERT_EQ(append(image), 0);
    ASSERT_EQ(ZelImageSerializer_FinishRecord(serializer_), 0);
    EXPECT_EQ(readMovie(path("a.mkv"), false).frames.size(), 2U);
#if !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(readMovie(path("child.mkv"), false).frames.size(), 1U);
#endif
}

TEST_F(MovieTest, WithoutAFrameAnEarlierFileStays)
{
    TestImage image(ZelPixel::kBGR8, 96, 80);
    for (const auto& [container, fitting] : kFitting) {
        const std::string name = "a." + container;
        std::ofstream(path(name)) << "earlier";
        for (const std::string& compressor : fitting) {
            ASSERT_EQ(start(image, name, compressor.c_str()), 0) << compressor << container;
            EXPECT_EQ(ZelImageSerializer_FinishRecord(serializer_), 0);
        }
        // A disk that is full before the header, and one that is full before the first frame.
        for (const rlim_t size : {rlim_t{4}, rlim_t{6000}}) {
            rlimit earlier = {};
            ::getrlimit(RLIMIT_FSIZE, &earlier);
            const rlimit small = {size, earlier.rlim_max};
            ::setrlimit(RLIMIT_FSIZE, &small);
            const auto handler = std::signal(SIGXFSZ, SIG_IGN);
            const char* compressor = container == "webm" ? "vp9" : "mjpeg";
            ZelCamErr code = start(image.fillScene(1), name, compressor);
            if (code == 0) {
                append(image);
                code = ZelImageSerializer_FinishRecord(serializer_);
            }
            ::setrlimit(RLIMIT_FSIZE, &earlier);
            std::signal(SIGXFSZ, handler);
            if (size == 4 || container == "avi") {
                EXPECT_EQ(code, -40003) << name << size;
            }
            EXPECT_TRUE(code == 0 || std::filesystem::file_size(path(name)) == 7U) << name;
        }
    }
    EXPECT_EQ(names().size(), kFitting.size()) << "nothing is left beside";
}

TEST_F(MovieTest, LongRecordingsUseTheSameMemory)
{
    TestImage image(ZelPixel::kBGR8, 640, 480);
    const auto resident = [] {
        std::ifstream in("/proc/self/statm");
        std::size_t total = 0;
        std::size_t pages = 0;
        in >> total >> pages;
        return pages * 4;
    };
    ASSERT_EQ(start(image, "a.avi", "mjpeg"), 0);
    image.fillScene(1);
    std::size_t before = 0;
    for (int i = 0; i < 260; ++i) {
        ASSERT_EQ(append(image), 0);
        before = i == 60 ? resident() : before;
    }
    EXPECT_LT(resident(), before + 8000) << "about nine frames";
    EXPECT_EQ(ZelImageSerializer_FinishRecord(serializer_), 0);
}
