// Loads producers from files.
#pragma once

#include "core/transport.h"
#include "gentl_abi/functions.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace gentl
{

using Providers = std::vector<std::unique_ptr<core::TransportProvider>>;

/// Remembers what was loaded, by real path and library, and never unloads. Not thread safe.
/// Failures are told on standard error, with the loader's own words, for the code alone says
/// little.
class Loader
{
public:
    /// A file, or every *.cti of a folder. A producer that is loaded already is a success and not
    /// loaded again. -40002 no such file, or a folder without producers; -40003 not a producer; the
    /// producer's code when it refuses to start. Of a folder the others are loaded all the same;
    /// the code is that of the first failure, or 0 when at least one could be loaded.
    ZelCamErr load(const std::string& path, Providers* providers);

    /// Files and folders, separated by colons.
    void loadList(const std::string& paths, Providers* providers);

private:
    ZelCamErr loadFile(const std::string& path, Providers* providers);
    ZelCamErr loadFolder(const std::string& path, Providers* providers);

    std::set<std::string> loaded_;
    std::set<void*> libraries_;
};

/// Fills the table from a loaded library. Null when the mandatory functions are there, else the
/// name of the first that is missing.
const char* resolve(void* library, FunctionTable* table);

} // namespace gentl
