// Checks of processors, USB, movie libraries and producers.
#include "common/interrupt.h"
#include "doctor/checks.h"
#include "zel_image_api.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace doctor
{

namespace
{

Finding governor(const HostFiles& host)
{
    std::string slow;
    for (const std::string& name : host.names("/sys/devices/system/cpu")) {
        const auto text =
            host.line("/sys/devices/system/cpu/" + name + "/cpufreq/scaling_governor");
        if (text && *text != "performance" && *text != "schedutil") {
            slow = *text;
        }
    }
    if (slow.empty()) {
        return {Level::Good, "processor speed", "no power saving that would matter", "", ""};
    }
    return {Level::Hint, "processor speed", "the governor is " + slow,
            "A processor that sleeps between frames wakes up late and loses packets.",
            "echo performance | sudo tee /sys/devices/system/cpu/cpu*/cpufreq/scaling_governor"};
}

struct Load {
    double busy = 0;
    double all = 0;
};

Load loadOf(const HostFiles& host)
{
    std::istringstream words(host.line("/proc/stat").value_or(""));
    std::string name;
    words >> name;
    Load load;
    double value = 0;
    constexpr int kIdle = 3;
    constexpr int kWaiting = 4;
    for (int i = 0; words >> value; ++i) {
        load.all += value;
        load.busy += i == kIdle || i == kWaiting ? 0 : value;
    }
    return load;
}

Finding busyProcessors(const HostFiles& host)
{
    constexpr int kSampleMs = 300;
    constexpr double kTooBusy = 80;
    const Load before = loadOf(host);
    common::sleepMs(kSampleMs);
    const Load after = loadOf(host);
    const double all = after.all - before.all;
    const double percent = all > 0 ? 100 * (after.busy - before.busy) / all : 0;
    const std::string found = common::format("%.0f %% busy", percent);
    if (percent < kTooBusy) {
        return {Level::Good, "processors", found, "", ""};
    }
    return {Level::Problem, "processors", found,
            "Frames are lost while nobody fetches them. `top` shows who takes the time.", ""};
}

/// Device nodes of USB3 Vision cameras: an interface of class EF, subclass 05.
std::vector<std::string> usbCameras(const HostFiles& host)
{
    std::vector<std::string> nodes;
    const std::string folder = "/sys/bus/usb/devices/";
    for (const std::string& name : host.names(folder)) {
        const std::string at = folder + name;
        if (host.line(at + "/bInterfaceClass").value_or("") != "ef" ||
            host.line(at + "/bInterfaceSubClass").value_or("") != "05") {
            continue;
        }
        const std::string device = folder + name.substr(0, name.find(':'));
        const auto bus = host.number(device + "/busnum");
        const auto number = host.number(device + "/devnum");
        if (bus && number) {
            nodes.push_back(common::format("/dev/bus/usb/%03ld/%03ld", *bus, *number));
        }
    }
    return nodes;
}

Findings usb(const HostFiles& host)
{
    Findings result;
    const auto cameras = usbCameras(host);
    for (const std::string& node : cameras) {
        const bool open = access(host.path(node).c_str(), R_OK | W_OK) == 0;
        result.push_back(
            open ? Finding{Level::Good, "USB permission", node + " can be opened", "", ""}
                 : Finding{Level::Problem, "USB permission", node + " cannot be opened",
                           "The camera is seen but not yours: a udev rule gives it to your group.",
                           "zelcam doctor --udev-rule | sudo tee /etc/udev/rules.d/70-u3v.rules && "
                           "sudo udevadm control --reload && sudo udevadm trigger"});
    }
    constexpr long kWantedMb = 256;
    const auto memory = host.number("/sys/module/usbcore/parameters/usbfs_memory_mb");
    if (memory && *memory != 0 && *memory < kWantedMb) {
        result.push_back({cameras.empty() ? Level::Hint : Level::Problem, "USB memory",
                          "usbfs_memory_mb is " + std::to_string(*memory),
                          "All transfers of all USB cameras together must fit into it.",
                          "echo 1000 | sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb"});
    } else if (memory) {
        result.push_back(
            {Level::Good, "USB memory", "usbfs_memory_mb is " + std::to_string(*memory), "", ""});
    }
    return result;
}

Finding movies()
{
    ZelImageSerializer* const serializer = ZelImageSerializer_CreateComponent(1);
    char text[1024] = "";
    std::uint32_t length = sizeof text;
    if (serializer != nullptr) {
        ZelImageSerializer_GetComponent(serializer)->GetString("movie.compressors", text, &length);
        ZelImageSerializer_DeleteComponent(serializer);
    }
    if (text[0] != '\0') {
        return {Level::Good, "movies", std::string("codecs: ") + text, "", ""};
    }
    return {Level::Hint, "movies", "no codec is there", "Movies cannot be recorded.",
            "sudo apt-get install ffmpeg"};
}

/// Why a file cannot be loaded; empty when it can. A stranger's code runs, so in a process of its
/// own.
std::string loadProblem(const std::string& file)
{
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        constexpr unsigned kPatience = 10;
        signal(SIGALRM, SIG_DFL);
        alarm(kPatience);
        void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        std::string problem;
        if (library == nullptr) {
            problem = dlerror();
        } else if (dlsym(library, "GCInitLib") == nullptr) {
            problem = "it is no GenTL producer: GCInitLib is missing";
        }
        const ssize_t written = write(ends[1], problem.data(), problem.size());
        _exit(written < 0 ? 1 : 0);
    }
    close(ends[1]);
    std::string problem;
    char text[512];
    for (ssize_t count = 0; (count = read(ends[0], text, sizeof text)) > 0;) {
        problem.append(text, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        problem = "loading it ends the process or takes longer than ten seconds";
    }
    return problem;
}

Finding producer(const std::string& file)
{
    const std::string problem = std::filesystem::is_regular_file(file)
                                    ? loadProblem(file)
                                    : std::string("it is no regular file");
    if (problem.empty()) {
        return {Level::Good, "producer", file, "", ""};
    }
    return {Level::Problem, "producer", file + ": " + problem,
            "Its cameras are not listed. `ldd` on the file shows libraries that are missing.", ""};
}

} // namespace

Findings checkSystem(const HostFiles& host)
{
    Findings result = {governor(host), busyProcessors(host)};
    const Findings more = usb(host);
    result.insert(result.end(), more.begin(), more.end());
    result.push_back(movies());
    return result;
}

Findings checkProducers()
{
    Findings result;
    const char* const path = std::getenv("GENICAM_GENTL64_PATH");
    std::istringstream parts(path != nullptr ? path : "");
    for (std::string part; std::getline(parts, part, ':');) {
        std::error_code error;
        if (part.empty()) {
            continue;
        }
        if (!std::filesystem::exists(part, error)) {
            result.push_back({Level::Problem, "producer", part + " does not exist",
                              "GENICAM_GENTL64_PATH names it.", ""});
        } else if (!std::filesystem::is_directory(part, error)) {
            result.push_back(producer(part));
        } else {
            for (const auto& entry : std::filesystem::directory_iterator(part, error)) {
                if (entry.path().extension() == ".cti") {
                    result.push_back(producer(entry.path()));
                }
            }
        }
    }
    return result;
}

const char* udevRule()
{
    return "# USB3 Vision cameras belong to the group plugdev and to whoever sits at the machine.\n"
           "SUBSYSTEM==\"usb\", ENV{ID_USB_INTERFACES}==\"*:ef0500:*\", MODE=\"0660\", "
           "GROUP=\"plugdev\", TAG+=\"uaccess\"\n";
}

} // namespace doctor
