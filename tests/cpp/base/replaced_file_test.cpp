// Files that are replaced whole: what stays of an earlier one, and what killed writers leave.
#include "base/replaced_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace
{

class ReplacedFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = (fs::temp_directory_path() / "zelXXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory_ = pattern;
    }
    void TearDown() override { fs::remove_all(directory_); }

    std::string path(const std::string& name) const { return directory_ + "/" + name; }

    std::string get(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }

    ZelCamErr put(const std::string& name, const std::string& text) const
    {
        base::ReplacedFile file;
        ZelCamErr code = file.open(path(name));
        code = code == 0 ? file.write(text.data(), text.size()) : code;
        code = code == 0 ? file.close() : code;
        return code == 0 ? file.publish() : code;
    }

    /// A process that dies with `name` half written.
    void dieWriting(const std::string& name) const
    {
        const pid_t child = ::fork();
        if (child == 0) {
            base::ReplacedFile file;
            ::_exit(file.open(path(name)) == 0 && file.write("half", 4) == 0 ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }

    std::size_t files() const
    {
        const fs::directory_iterator all(directory_);
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    std::string directory_;
};

} // namespace

TEST_F(ReplacedFileTest, LinksModesAndLongNames)
{
    const auto mode = [&](const char* name) { return fs::status(path(name)).permissions(); };
    ASSERT_EQ(put("a", "1"), 0);
    fs::permissions(path("a"), fs::perms(0600));
    fs::create_symlink("a", path("b"));
    fs::create_symlink("b", path("c"));
    EXPECT_EQ(put("c", "2"), 0);
    EXPECT_EQ(get("a"), "2");
    EXPECT_TRUE(fs::is_symlink(path("b")) && fs::is_symlink(path("c")));
    EXPECT_EQ(mode("a"), fs::perms(0600));
    fs::create_symlink("new", path("dangling"));
    EXPECT_EQ(put("dangling", "3"), 0);
    EXPECT_EQ(get("new"), "3");
    fs::create_symlink("loop", path("loop"));
    EXPECT_EQ(put("loop", "4"), -40003);
    EXPECT_TRUE(fs::is_symlink(path("loop")));
    EXPECT_EQ(put(std::string(255, 'n'), "5"), 0);
    EXPECT_EQ(put("none/none", "6"), -40002);
    if (::geteuid() != 0) {
        fs::permissions(path("a"), fs::perms(0444));
        EXPECT_EQ(put("a", "7"), -40003);
        EXPECT_EQ(get("a"), "2");
    }
}

TEST_F(ReplacedFileTest, TheNextSaveRemovesWhatKilledWritersLeft)
{
    ASSERT_EQ(put("a", "1"), 0);
    dieWriting("a");
    dieWriting("other");
    ASSERT_EQ(files(), 3U);
    EXPECT_EQ(get("a"), "1");
    EXPECT_EQ(put("a", "2"), 0);
    EXPECT_EQ(files(), 2U) << "another file's left-over is not its business";
    EXPECT_EQ(put("other", "3"), 0);
    EXPECT_EQ(files(), 2U);

    // One that was killed while another was writing the same file.
    auto first = std::make_unique<base::ReplacedFile>();
    ASSERT_EQ(first->open(path("a")), 0);
    dieWriting("a");
    first.reset();
    ASSERT_EQ(files(), 3U);
    EXPECT_EQ(put("a", "4"), 0);
    EXPECT_EQ(files(), 2U);
}

TEST_F(ReplacedFileTest, WritersOfOneFileKeepOutOfEachOthersWay)
{
    base::ReplacedFile file;
    ASSERT_EQ(file.open(path("a")), 0);
    ASSERT_EQ(file.write("first", 5), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        file.~ReplacedFile(); // As when a forked script ends.
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_EQ(put("a", "second"), 0);
    EXPECT_EQ(get("a"), "second");
    EXPECT_EQ(file.publish(), 0);
    EXPECT_EQ(file.write(" more", 5), 0) << "may go on under its name";
    EXPECT_EQ(get("a"), "first more");
    EXPECT_EQ(file.close(), 0);

    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, text = std::string(1000, static_cast<char>('0' + t))] {
            for (int i = 0; i < 200; ++i) {
                EXPECT_EQ(put("b", text), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string text = get("b");
    EXPECT_EQ(text, std::string(1000, text.at(0)));
    EXPECT_EQ(files(), 2U);
}
