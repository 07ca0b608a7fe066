// Finds a producer's functions in a loaded library, one by one.
#include "gentl/loader.h"

#include <dlfcn.h>

namespace gentl
{

namespace
{

enum Need { kMandatory, kOptional };

/// Looks a function up; `*missing` gets the name of the first that was needed and is not there.
template <class Function>
void find(void* library, Need need, const char* name, Function* function, const char** missing)
{
    *function = reinterpret_cast<Function>(dlsym(library, name));
    if (*function == nullptr && need == kMandatory && *missing == nullptr) {
        *missing = name;
    }
}

} // namespace

const char* resolve(void* library, FunctionTable* table)
{
    const char* missing = nullptr;
#define ZEL_FIND(need, name, parameters, arguments)                                                \
    find(library, need, #name, &table->name, &missing);
    ZEL_GENTL_FUNCTIONS(ZEL_FIND)
#undef ZEL_FIND
    return missing;
}

} // namespace gentl
