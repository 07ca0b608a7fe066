#include "params/value_texts.h"

#include <cstddef>
#include <mutex>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace params
{

namespace
{

class ThreadTexts;

/// The threads that hold texts. Never destroyed: threads may outlive static objects. Needs no
/// memory, so that arrays can be destroyed when there is none.
struct Registry {
    std::mutex mutex;
    std::unordered_set<ThreadTexts*> threads;
};

Registry& registry()
{
    alignas(Registry) static std::byte memory[sizeof(Registry)];
    static auto* const instance = new (memory) Registry;
    return *instance;
}

class ThreadTexts
{
public:
    ThreadTexts()
    {
        const std::lock_guard lock(registry().mutex);
        registry().threads.insert(this);
    }

    ~ThreadTexts()
    {
        const std::lock_guard lock(registry().mutex);
        registry().threads.erase(this);
    }

    ThreadTexts(const ThreadTexts&) = delete;
    ThreadTexts& operator=(const ThreadTexts&) = delete;

    const char* keep(const void* owner, const void* key, std::string text)
    {
        const std::lock_guard lock(mutex_);
        std::string& kept = owners_[owner][key];
        kept = std::move(text);
        return kept.c_str();
    }

    void forget(const void* owner)
    {
        const std::lock_guard lock(mutex_);
        owners_.erase(owner);
    }

private:
    std::mutex mutex_;
    std::unordered_map<const void*, std::unordered_map<const void*, std::string>> owners_;
};

} // namespace

const char* keepValueText(const void* owner, const void* key, std::string text)
{
    thread_local ThreadTexts texts;
    return texts.keep(owner, key, std::move(text));
}

void forgetValueTexts(const void* owner)
{
    const std::lock_guard lock(registry().mutex);
    for (ThreadTexts* const thread : registry().threads)
        thread->forget(owner);
}

} // namespace params
