#include "doctor/host_files.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>

namespace doctor
{

std::optional<std::string> HostFiles::line(const std::string& path) const
{
    std::ifstream file(root_ + path, std::ios::binary);
    char text[4096];
    file.read(text, sizeof text);
    if (file.gcount() <= 0) {
        return std::nullopt;
    }
    std::string all(text, static_cast<std::size_t>(file.gcount()));
    return all.substr(0, all.find('\n'));
}

std::optional<long> HostFiles::number(const std::string& path) const
{
    const auto text = line(path);
    long value = 0;
    if (!text ||
        std::from_chars(text->data(), text->data() + text->size(), value).ec != std::errc()) {
        return std::nullopt;
    }
    return value;
}

std::vector<std::string> HostFiles::names(const std::string& path) const
{
    std::vector<std::string> result;
    std::error_code error;
    for (std::filesystem::directory_iterator at(root_ + path, error), end; !error && at != end;
         at.increment(error)) {
        std::string name = at->path().filename();
        if (name.front() != '.') {
            result.push_back(std::move(name));
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace doctor
