// Loading producers from files, and the library as a whole: strangers, broken files, the end.
#include "gentl/loader.h"
#include "zel_camera_api.h"
#include "zel_gen_param_api.h"

#include <elf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace
{

namespace fs = std::filesystem;

class LoaderTest : public ::testing::Test
{
protected:
    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }

    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(folder / name) << content;
        return (folder / name).string();
    }

    const fs::path producer =
        fs::path(std::getenv("ZEL_PYTHON_DIR") != nullptr ? std::getenv("ZEL_PYTHON_DIR") : "") /
        "zelcam_simulator.cti";
    const fs::path folder =
        fs::path(::testing::TempDir()) / ("producers" + std::to_string(getpid()));
};

TEST_F(LoaderTest, WhatIsNoProducerIsRefusedWithACode)
{
    gentl::Loader loader;
    gentl::Providers providers;
    EXPECT_EQ(loader.load((folder / "absent.cti").string(), &providers), ZelErr::kFileNotFound);
    EXPECT_EQ(loader.load(folder.string(), &providers), ZelErr::kFileNotFound) << "empty folder";
    const std::string text = write("text.cti", "not a library");
    EXPECT_EQ(loader.load(text, &providers), ZelErr::kFileRead);
    const fs::path other = producer.parent_path() / "libZelCameraApi.so";
    ASSERT_TRUE(fs::exists(other)) << other;
    EXPECT_EQ(loader.load(other.string(), &providers), ZelErr::kFileRead)
        << "a library without the functions";
    EXPECT_EQ(loader.load(folder.string(), &providers), ZelErr::kFileRead);
    EXPECT_TRUE(providers.empty());
}

/// Bytes of a library up to the end of its last segment.
std::uintmax_t endOfSegments(const fs::path& library)
{
    std::ifstream file(library, std::ios::binary);
    Elf64_Ehdr header{};
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    std::uintmax_t end = 0;
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment{};
        file.read(reinterpret_cast<char*>(&segment), sizeof segment);
        if (segment.p_type == PT_LOAD) {
            end = std::max<std::uintmax_t>(end, segment.p_offset + segment.p_filesz);
        }
    }
    return end;
}

TEST_F(LoaderTest, WhatWouldHangOrKillTheLoaderIsNotGivenToIt)
{
    gentl::Loader loader;
    gentl::Providers providers;
    const fs::path pipe = folder / "pipe.cti";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(loader.load(pipe.string(), &providers), ZelErr::kFileRead);
    EXPECT_EQ(loader.load("/dev/zero", &providers), ZelErr::kFileRead);
    const std::string sparse = write("sparse.cti", "");
    fs::resize_file(sparse, std::uintmax_t{1} << 40U);
    EXPECT_EQ(loader.load(sparse, &providers), ZelErr::kFileRead);
    // A copy that is under way. What lies behind the segments is not loaded.
    const fs::path half = folder / "half.cti";
    const std::uintmax_t loaded = endOfSegments(producer);
    for (const std::uintmax_t size :
         {std::uintmax_t{0}, std::uintmax_t{17}, std::uintmax_t{64}, std::uintmax_t{300},
          std::uintmax_t{5000}, loaded / 2, loaded - 1}) {
        fs::copy_file(producer, half, fs::copy_options::overwrite_existing);
        fs::resize_file(half, size);
        EXPECT_EQ(loader.load(half.string(), &providers), ZelErr::kFileRead) << size;
    }
    EXPECT_EQ(loader.load(folder.string(), &providers), ZelErr::kFileRead);
    EXPECT_TRUE(providers.empty());
}

TEST_F(LoaderTest, AProducerIsLoadedOnceByAnyName)
{
    ASSERT_TRUE(fs::exists(producer)) << producer;
    write("broken.cti", "not a library");
    fs::create_symlink(producer, folder / "link.cti");
    fs::create_symlink(producer, folder / "another.cti");
    gentl::Loader loader;
    gentl::Providers providers;
    loader.loadList("/nowhere:" + folder.string() + "::" + producer.string(), &providers);
    EXPECT_EQ(providers.size(), 1U) << "the broken one does not stop the other";
    EXPECT_EQ(loader.load(producer.string(), &providers), ZelErr::kOk);
    EXPECT_EQ(providers.size(), 1U);
    EXPECT_FALSE(providers[0]->updateInterfaces().empty());
}

// In a process of its own, as the system is one per process.
void useStrangerAndLeave(const char* path)
{
    ZelCam::System* const system = ZelCam_GetSystem();
    const auto interfaces = [&] {
        int count = 0;
        ZelCam::InterfaceList* const list = system->GetInterfaceList(255);
        for (auto* entry = list->GetFirst(); entry != nullptr; entry = list->GetNext()) {
            ++count;
        }
        list->Release();
        return count;
    };
    const int before = interfaces();
    if (system->RegisterGenTLProvider(path) != ZelErr::kOk ||
        system->RegisterGenTLProvider(path) != ZelErr::kOk || interfaces() != before + 5) {
        std::_Exit(2);
    }
    // The stranger's camera is a real one as far as we can tell, so it is the default.
    ZelCamErr code = ZelErr::kUnknown;
    ZelCam::Device* const device = ZelCam_CreateDevice(nullptr, 2, &code);
    ZelCam::Stream* const stream = device != nullptr ? device->GetStreamByIndex(0) : nullptr;
    if (stream == nullptr || stream->AllocBufferQueue(nullptr, 3) != ZelErr::kOk ||
        stream->StartAcquisition(ZelCam::kInfinite, 0) != ZelErr::kOk) {
        std::_Exit(3);
    }
    device->RegisterEvent(
        1, [](const void*, std::uint64_t, void*) {}, nullptr);
    ZelCam::Buffer* const buffer = stream->GetBuffer(10'000, &code);
    if (buffer == nullptr || buffer->GetBufferSize() != stream->GetBufferSize()) {
        std::_Exit(4);
    }
    std::exit(0); // While it streams.
}

TEST_F(LoaderTest, AStrangerStreamsAndTheProcessEndsCleanly)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    setenv("ZELCAM_VISION", "off", 1);
    ASSERT_TRUE(fs::exists(producer)) << producer;
    EXPECT_EXIT(useStrangerAndLeave(producer.c_str()), ::testing::ExitedWithCode(0), "");
}

} // namespace
