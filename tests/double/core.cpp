#include "core.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <set>

namespace zel_double
{
namespace
{

struct Store {
    std::mutex mutex;
    std::map<std::string, std::deque<Json>> scripts;
    Json calls = Json::array();
    bool recording = true;
    std::set<std::string> bytes;
};

// Never destroyed: libraries and event threads still call when the process ends.
Store& store()
{
    static auto* const instance = new Store;
    return *instance;
}

bool holdsInterpreterLock()
{
    using Check = int (*)();
    static const auto check = reinterpret_cast<Check>(dlsym(RTLD_DEFAULT, "PyGILState_Check"));
    return check == nullptr || check() != 0;
}

// One line per call in the file that ZELDOUBLE_LOG names, for what happens at or after exit.
void appendToFile(const Json& entry)
{
    static const char* const path = std::getenv("ZELDOUBLE_LOG");
    if (path == nullptr) {
        return;
    }
    if (std::FILE* const file = std::fopen(path, "a")) {
        std::fprintf(file, "%s\n", entry.dump().c_str());
        std::fclose(file);
    }
}

} // namespace

std::string bytesFromJson(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80 || i + 1 == text.size()) {
            bytes += text[i];
            continue;
        }
        const auto next = static_cast<unsigned char>(text[++i]);
        bytes += static_cast<char>(((byte & 0x03U) << 6U) | (next & 0x3FU));
    }
    return bytes;
}

std::string bytesToJson(const std::string& bytes)
{
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x80) {
            text += character;
        } else {
            text += static_cast<char>(0xC0U | (byte >> 6U));
            text += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return text;
}

const std::string& keepBytes(const std::string& bytes)
{
    const std::lock_guard lock(store().mutex);
    return *store().bytes.insert(bytes).first;
}

Answer ask(std::initializer_list<std::string> keys, const std::string& call,
           const std::string& name, Json arguments)
{
    const bool locked = holdsInterpreterLock();
    const std::lock_guard lock(store().mutex);
    if (store().recording) {
        Json entry = {{"call", call},
                      {"on", name},
                      {"args", std::move(arguments)},
                      {"locked", locked},
                      {"thread", static_cast<std::int64_t>(gettid())}};
        appendToFile(entry);
        store().calls.push_back(std::move(entry));
    }
    for (const std::string& key : keys) {
        const auto found = store().scripts.find(key);
        if (found == store().scripts.end()) {
            continue;
        }
        Json answer = found->second.front();
        if (found->second.size() > 1) {
            found->second.pop_front();
        }
        return Answer(std::move(answer));
    }
    return Answer(Json::object());
}

} // namespace zel_double

using zel_double::Json;
using zel_double::store;

extern "C" {

/// Sets the answers of an operation: a JSON list of one or more answer objects.
ZEL_API void zeldouble_script(const char* key, const char* answers)
{
    const Json list = Json::parse(answers);
    const std::lock_guard lock(store().mutex);
    store().scripts[key] = std::deque<Json>(list.begin(), list.end());
}

/// Forgets all scripts and calls.
ZEL_API void zeldouble_reset()
{
    const std::lock_guard lock(store().mutex);
    store().scripts.clear();
    store().calls = Json::array();
    store().recording = true;
}

/// Stops or resumes the log; long loops need none.
ZEL_API void zeldouble_record(int on)
{
    const std::lock_guard lock(store().mutex);
    store().recording = on != 0;
}

/// The calls from this number on as a JSON list; the text is good until the same thread asks again.
ZEL_API const char* zeldouble_calls(int first)
{
    thread_local std::string text;
    const std::lock_guard lock(store().mutex);
    const Json& calls = store().calls;
    Json wanted = Json::array();
    for (std::size_t i = static_cast<std::size_t>(first); i < calls.size(); ++i) {
        wanted.push_back(calls[i]);
    }
    text = wanted.dump();
    return text.c_str();
}
}
