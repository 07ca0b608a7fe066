// The producer that lies as a loadable file. Its lies follow from the environment:
// ZELCAM_HOSTILE_SEED picks the sequence of chances, ZELCAM_HOSTILE_RATE says how many of a
// thousand calls are spoilt, ZELCAM_HOSTILE_INIT is what the initialisation answers instead of
// beginning.
#include "hostile_producer.h"
#include "simulator/producer/exported_functions.h"
#include "simulator/producer/system_module.h"
#include "simulator/producer_table.h"

#include <cstdlib>

namespace
{

std::int64_t setting(const char* name, std::int64_t otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoll(text, nullptr, 10) : otherwise;
}

gentl::Error initialise()
{
    const auto code = static_cast<gentl::Error>(setting("ZELCAM_HOSTILE_INIT", 0));
    return code != gentl::err::kSuccess ? code : simulator::producerTable().GCInitLib();
}

gentl::FunctionTable makeTable()
{
    simulator::producer::showCamerasWhenOff();
    gentl::FunctionTable table = gentl_test::hostileTable(simulator::producerTable());
    table.GCInitLib = &initialise;
    gentl_test::setHostility(static_cast<std::uint32_t>(setting("ZELCAM_HOSTILE_RATE", 20)),
                             static_cast<std::uint64_t>(setting("ZELCAM_HOSTILE_SEED", 1)));
    return table;
}

} // namespace

namespace simulator::producer
{

const gentl::FunctionTable& exportedFunctions()
{
    static const gentl::FunctionTable table = makeTable();
    return table;
}

} // namespace simulator::producer
