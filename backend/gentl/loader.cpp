// Loads producers from files.
#include "gentl/loader.h"

#include "base/log.h"
#include "gentl/elf_check.h"
#include "gentl/gentl_provider.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>

namespace gentl
{

namespace fs = std::filesystem;

ZelCamErr Loader::load(const std::string& path, Providers* providers)
{
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    if (error) {
        base::warn(base::LogChannel::GenTL, "%s: %s", path.c_str(), error.message().c_str());
        return ZelErr::kFileNotFound;
    }
    return fs::is_directory(real, error) ? loadFolder(real.string(), providers)
                                         : loadFile(real.string(), providers);
}

void Loader::loadList(const std::string& paths, Providers* providers)
{
    for (std::size_t begin = 0; begin <= paths.size();) {
        const std::size_t end = std::min(paths.find(':', begin), paths.size());
        if (end > begin) {
            static_cast<void>(load(paths.substr(begin, end - begin), providers));
        }
        begin = end + 1;
    }
}

ZelCamErr Loader::loadFile(const std::string& path, Providers* providers)
{
    if (loaded_.count(path) != 0) {
        return ZelErr::kOk;
    }
    if (const std::string reason = whyNotLoadable(path); !reason.empty()) {
        base::warn(base::LogChannel::GenTL, "%s is not loaded: %s", path.c_str(), reason.c_str());
        return ZelErr::kFileRead;
    }
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const reason = dlerror();
        base::warn(base::LogChannel::GenTL, "%s is not loaded: %s", path.c_str(),
                   reason != nullptr ? reason : "unknown reason");
        return ZelErr::kFileRead;
    }
    // Never closed again, not even after a failure: producers leave threads behind.
    if (libraries_.count(library) != 0) {
        return ZelErr::kOk; // The same file under a second name, such as a hard link.
    }
    FunctionTable table;
    if (const char* const missing = resolve(library, &table)) {
        base::warn(base::LogChannel::GenTL, "%s is no GenTL producer: it lacks %s", path.c_str(),
                   missing);
        return ZelErr::kFileRead;
    }
    std::unique_ptr<core::TransportProvider> provider;
    const ZelCamErr code = GentlProvider::create(table, path, false, &provider);
    if (code != ZelErr::kOk) {
        base::warn(base::LogChannel::GenTL, "%s does not start: %d", path.c_str(), code);
        return code;
    }
    loaded_.insert(path);
    libraries_.insert(library);
    providers->push_back(std::move(provider));
    return ZelErr::kOk;
}

ZelCamErr Loader::loadFolder(const std::string& path, Providers* providers)
{
    std::vector<std::string> files;
    std::error_code error;
    for (fs::directory_iterator entry(path, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (entry->path().extension() == ".cti") {
            const fs::path real = fs::canonical(entry->path(), error);
            files.push_back(error ? entry->path().string() : real.string());
            error.clear();
        }
    }
    std::sort(files.begin(), files.end());
    ZelCamErr first = ZelErr::kFileNotFound;
    for (const std::string& file : files) {
        const ZelCamErr code = loadFile(file, providers);
        if (code == ZelErr::kOk) {
            first = code;
        } else if (first == ZelErr::kFileNotFound) {
            first = code;
        }
    }
    return first;
}

} // namespace gentl
