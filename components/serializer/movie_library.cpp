#include "movie_library.h"

#include <dlfcn.h>

#include <cstdio>
#include <string>

namespace serializer
{

namespace
{

// An address inside this library, for dladdr().
constexpr char kHere = 0;

std::string libraryPath()
{
    Dl_info self = {};
    if (::dladdr(&kHere, &self) == 0 || self.dli_fname == nullptr) {
        return movie::kLibraryName;
    }
    const std::string own = self.dli_fname;
    const std::size_t slash = own.rfind('/');
    return (slash == std::string::npos ? std::string() : own.substr(0, slash + 1)) +
           movie::kLibraryName;
}

const movie::Functions* load()
{
    void* library = ::dlopen(libraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "Movies are not available: %s\n", ::dlerror());
        return nullptr;
    }
    const auto get = reinterpret_cast<movie::GetFunctions>(::dlsym(library, movie::kGetFunctions));
    return get == nullptr ? nullptr : get();
}

} // namespace

const movie::Functions* movieFunctions()
{
    static const movie::Functions* const functions = load();
    return functions;
}

} // namespace serializer
