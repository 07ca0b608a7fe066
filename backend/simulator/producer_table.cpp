// The simulated cameras as a GenTL producer, reached without a file.
#include "simulator/producer_table.h"

#include "simulator/producer/producer_functions.h"

namespace simulator
{

const gentl::FunctionTable& producerTable()
{
    static const gentl::FunctionTable table = [] {
        gentl::FunctionTable functions;
#define ZEL_ENTER(need, name, parameters, arguments) functions.name = &producer::api::name;
        ZEL_GENTL_FUNCTIONS(ZEL_ENTER)
#undef ZEL_ENTER
        return functions;
    }();
    return table;
}

} // namespace simulator
