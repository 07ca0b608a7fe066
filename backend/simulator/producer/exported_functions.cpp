// The simulated cameras as a loadable producer.
#include "simulator/producer/exported_functions.h"

#include "simulator/producer/system_module.h"
#include "simulator/producer_table.h"

namespace simulator::producer
{

const gentl::FunctionTable& exportedFunctions()
{
    static const gentl::FunctionTable& table = [&]() -> const gentl::FunctionTable& {
        showCamerasWhenOff();
        return producerTable();
    }();
    return table;
}

} // namespace simulator::producer
