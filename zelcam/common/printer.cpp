#include "common/printer.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace common
{

namespace
{

/// Columns that a UTF-8 text takes, counted by characters.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
}

void write(const std::string& text)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace

void Printer::line(const std::string& text) const
{
    if (!json_) {
        write(printable(text) + "\n");
    }
}

void Printer::table(const std::vector<std::vector<std::string>>& rows) const
{
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    for (const auto& row : rows) {
        std::string text;
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += row[i];
            if (i + 1 < row.size()) {
                text += std::string(widths[i] - widthOf(row[i]) + 2, ' ');
            }
        }
        text.erase(text.find_last_not_of(' ') + 1);
        line(text);
    }
}

void Printer::item(const Json& object) const
{
    if (json_) {
        write(dump(object) + "\n");
    }
}

void Printer::result(const std::string& command, const Json& fields) const
{
    if (json_) {
        Json all = {{"command", command}, {"ok", true}};
        all.update(fields);
        write(dump(all) + "\n");
    }
}

void Printer::note(const std::string& text) const
{
    if (verbose_) {
        std::fprintf(stderr, "%s\n", printable(text).c_str());
    }
}

void Printer::failure(const std::string& command, const Failure& failure) const
{
    std::fprintf(stderr, "zelcam: %s\n", printable(failure.what()).c_str());
    item({{"command", command},
          {"ok", false},
          {"error",
           {{"exit", static_cast<int>(failure.exit())},
            {"code", failure.code()},
            {"text", failure.what()}}}});
}

std::string dump(const Json& value, int indent)
{
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

std::string printable(const std::string& text)
{
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F; },
        '?');
    return result;
}

std::string format(const char* pattern, ...)
{
    va_list arguments;
    va_start(arguments, pattern);
    char text[512];
    const int needed = std::vsnprintf(text, sizeof text, pattern, arguments);
    va_end(arguments);
    return needed < 0 ? std::string() : std::string(text);
}

} // namespace common
