// HTTP as it comes in at `zelcam view`: any bytes on the connection, before a camera that runs.
#include "common/camera_choice.h"
#include "input.h"
#include "view/requests.h"

#include <cstring>
#include <filesystem>
#include <fstream>

namespace
{

/// A connection whose other side has sent all that it will send, and reads everything.
class Connection final : public httplib::Stream
{
public:
    explicit Connection(std::string text) : text_(std::move(text)) {}
    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* data, size_t size) override
    {
        const std::size_t count = std::min(size, text_.size() - at_);
        std::memcpy(data, text_.data() + at_, count);
        at_ += count;
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char*, size_t size) override { return static_cast<ssize_t>(size); }
    void get_remote_ip_and_port(std::string& ip, int& port) const override
    {
        ip = "127.0.0.1";
        port = 1;
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override
    {
        get_remote_ip_and_port(ip, port);
    }
    socket_t socket() const override { return -1; }

private:
    std::string text_;
    std::size_t at_ = 0;
};

class Server : public httplib::Server
{
public:
    void take(httplib::Stream& connection)
    {
        bool isClosed = false;
        process_request(connection, true, isClosed, nullptr);
    }
};

/// The page of one small camera; its pictures and movies go into a folder that is removed.
class Page
{
public:
    Page()
    {
        char name[] = "/tmp/zelcam-fuzz-XXXXXX";
        fuzz::require(mkdtemp(name) != nullptr);
        folder_ = name;
        const std::string cameras = folder_ + "/cameras.json";
        std::ofstream(cameras) << R"({"interfaces": [{"type": "U3V", "cameras": [)"
                                  R"({"serialNumber": "F1", "width": 64, "height": 48}]}]})";
        setenv("ZELCAM_SIMULATOR", cameras.c_str(), 1);
        setenv("ZELCAM_VISION", "off", 1);
        const std::vector<common::FoundCamera> found = common::findCameras(1000);
        fuzz::require(found.size() == 1);
        sessions_.push_back(
            std::make_unique<view::CameraSession>(found[0], std::vector<std::string>{}, folder_));
        view::addRequests(server_, sessions_);
    }
    ~Page()
    {
        sessions_.clear();
        std::filesystem::remove_all(folder_);
    }
    void take(const std::string& text)
    {
        Connection connection(text);
        server_.take(connection);
    }

private:
    std::string folder_;
    view::Sessions sessions_;
    Server server_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Page page;
    page.take(fuzz::Input(data, size).rest());
    return 0;
}
