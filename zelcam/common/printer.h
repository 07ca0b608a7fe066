// Where results go: text for people or JSON for programs, both on standard output.
#pragma once

#include "common/failure.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace common
{

/// Keys keep the order in which they were put in.
using Json = nlohmann::ordered_json;

/// One thread at a time, but for item() and line(), which any thread may call.
class Printer
{
public:
    Printer(bool json, bool verbose) : json_(json), verbose_(verbose) {}

    bool json() const { return json_; }
    /// A line of text; nothing with --json.
    void line(const std::string& text) const;
    /// Lines in columns as wide as they need; the first row is the heading. Nothing with --json.
    void table(const std::vector<std::vector<std::string>>& rows) const;
    /// One more object of a command that runs on: a line of JSON. Nothing without --json.
    void item(const Json& object) const;
    /// The result of the command, `{"command": ..., "ok": true, ...}`. Nothing without --json.
    void result(const std::string& command, const Json& fields) const;
    /// A line on standard error for those who asked with -v.
    void note(const std::string& text) const;
    /// The one line of an error on standard error; with --json also
    /// `{"command": ..., "ok": false, "error": {...}}` on standard output.
    void failure(const std::string& command, const Failure& failure) const;

private:
    bool json_;
    bool verbose_;
};

/// The text of a JSON value; bytes that are no UTF-8 become U+FFFD.
std::string dump(const Json& value, int indent = -1);
/// Text for a terminal: control characters, which a camera could send, become '?'.
std::string printable(const std::string& text);
/// printf for std::string.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

} // namespace common
