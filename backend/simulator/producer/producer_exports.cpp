// A producer's functions as the C symbols of a loadable file.
#include "simulator/producer/exported_functions.h"
#include "zel_export.h"

using namespace gentl; // NOLINT: the C names of a foreign interface

extern "C" {

#define ZEL_EXPORT(need, name, parameters, arguments)                                              \
    ZEL_API Error name parameters                                                                  \
    {                                                                                              \
        return simulator::producer::exportedFunctions().name arguments;                            \
    }
ZEL_GENTL_FUNCTIONS(ZEL_EXPORT)
#undef ZEL_EXPORT
}
