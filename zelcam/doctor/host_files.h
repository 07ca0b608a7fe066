// The files of /proc and /sys in which a host tells how it is set up.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace doctor
{

/// Reads below a folder that stands for the root of the host: "" for this host, a copy otherwise.
class HostFiles
{
public:
    explicit HostFiles(std::string root) : root_(std::move(root)) {}

    bool isThisHost() const { return root_.empty(); }
    /// First line of a file; nothing when it cannot be read. At most 4096 bytes.
    std::optional<std::string> line(const std::string& path) const;
    std::optional<long> number(const std::string& path) const;
    /// Names in a folder, sorted, without hidden ones; none when it cannot be read.
    std::vector<std::string> names(const std::string& path) const;
    std::string path(const std::string& path) const { return root_ + path; }

private:
    std::string root_;
};

} // namespace doctor
