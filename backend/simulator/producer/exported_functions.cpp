// The simulated cameras as a loadable producer.
#include "simulator/producer/exported_functions.h"

#include "simulator/function_table.h"
#include "simulator/producer/system_module.h"

namespace simulator::producer
{

const gentl::FunctionTable& exportedFunctions()
{
    static const gentl::FunctionTable& table = [&]() -> const gentl::FunctionTable& {
        showCamerasWhenOff();
        return functionTable();
    }();
    return table;
}

} // namespace simulator::producer
