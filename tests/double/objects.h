// Objects of the double by name.
#pragma once

#include "core.h"

#include <map>
#include <memory>
#include <mutex>

namespace zel_double
{

/// The object with this name, made on first use, alive until the process ends; null for null.
template <class T> T* named(const Json& name)
{
    if (!name.is_string()) {
        return nullptr;
    }
    static std::mutex mutex;
    static auto* const objects = new std::map<std::string, std::unique_ptr<T>>;
    const std::lock_guard lock(mutex);
    std::unique_ptr<T>& object = (*objects)[name.get<std::string>()];
    if (object == nullptr) {
        object = std::make_unique<T>(name.get<std::string>());
    }
    return object.get();
}

} // namespace zel_double
