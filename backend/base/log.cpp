// Diagnostic log of the backend.
#include "base/log.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>
#include <type_traits>

namespace base
{

namespace detail
{
std::atomic<std::uint32_t> openChannels{kUnread};
}

namespace
{

struct Name {
    LogChannel channel;
    const char* text;
};

constexpr Name kNames[] = {
    {LogChannel::Backend, "backend"}, {LogChannel::GenTL, "gentl"}, {LogChannel::GenApi, "genapi"},
    {LogChannel::Gige, "gige"},       {LogChannel::Usb3, "usb3"},
};

// Constant until used and never destroyed: lines may tell that memory has run out, and threads may
// log while the process exits.
struct Sink {
    std::mutex mutex;
    std::FILE* file = nullptr; // Standard error.
};
static_assert(std::is_trivially_destructible_v<Sink>);

Sink sink;

std::uint32_t parseChannels(std::string_view list)
{
    std::uint32_t channels = 0;
    std::size_t begin = 0;
    while (begin <= list.size()) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        const std::string_view word = list.substr(begin, end - begin);
        bool known = word.empty() || word == "all";
        for (const Name& name : kNames) {
            if (word == "all" || word == name.text) {
                channels |= static_cast<std::uint32_t>(name.channel);
                known = true;
            }
        }
        if (!known) { // Read once in a process, so told once.
            std::fprintf(stderr, "ZELCAM_LOG: there is no channel \"%.*s\"\n",
                         static_cast<int>(word.size()), word.data());
        }
        begin = end + 1;
    }
    return channels;
}

const char* nameOf(LogChannel channel)
{
    for (const Name& name : kNames) {
        if (name.channel == channel) {
            return name.text;
        }
    }
    return "?";
}

void writeLine(LogChannel channel, const char* format, std::va_list arguments)
{
    char text[2048];
    std::vsnprintf(text, sizeof text, format, arguments); // NOLINT(clang-analyzer-valist.*)
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    std::tm calendar{};
    gmtime_r(&now.tv_sec, &calendar);

    const std::lock_guard<std::mutex> lock(sink.mutex);
    std::FILE* const file = sink.file != nullptr ? sink.file : stderr;
    std::fprintf(file, "%02d:%02d:%02d.%06ld %s[%ld] %s\n", calendar.tm_hour, calendar.tm_min,
                 calendar.tm_sec, now.tv_nsec / 1000, nameOf(channel),
                 static_cast<long>(syscall(SYS_gettid)), text);
    std::fflush(file);
}

} // namespace

bool detail::readEnvironment(LogChannel channel)
{
    {
        const std::lock_guard<std::mutex> lock(sink.mutex);
        if ((openChannels.load() & kUnread) != 0) {
            const char* const setting = std::getenv("ZELCAM_LOG");
            const std::string_view text = setting != nullptr ? setting : "";
            const std::size_t colon = text.find(':');
            if (colon != std::string_view::npos && colon + 1 < text.size()) {
                sink.file = std::fopen(setting + colon + 1, "ae");
            }
            openChannels.store(parseChannels(text.substr(0, colon)));
        }
    }
    return logEnabled(channel);
}

void log(LogChannel channel, const char* format, ...)
{
    if (!logEnabled(channel)) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(channel, format, arguments);
    va_end(arguments);
}

void warn(LogChannel channel, const char* format, ...)
{
    static_cast<void>(logEnabled(channel));
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(channel, format, arguments);
    va_end(arguments);
}

} // namespace base
