// Where the system gets its transport providers from.
#pragma once

#include "core/transport.h"

#include <memory>
#include <vector>

namespace core
{

/// Tells the system which transports there are. Implemented by whoever puts the library together;
/// called under a lock of the system, one call at a time.
class ProviderLoader
{
public:
    virtual ~ProviderLoader() = default;
    /// The transports that need no asking: built-in ones and those that the environment names.
    /// Called once. What cannot be loaded is left out and said in the log.
    virtual std::vector<std::unique_ptr<TransportProvider>> loadDefaults() = 0;
    /// Loads a producer, or all of a folder, into `*providers`: what is loaded already is not
    /// loaded again and is a success. -40002 no such file or no producer in the folder, -40003 not
    /// loadable, the producer's own code when it refuses to start.
    virtual ZelCamErr load(const char* path,
                           std::vector<std::unique_ptr<TransportProvider>>* providers) = 0;
};

} // namespace core
