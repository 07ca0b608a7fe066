// The commands in the order in which help shows them.
#include "commands/config_command.h"
#include "commands/doctor_command.h"
#include "commands/events_command.h"
#include "commands/features_command.h"
#include "commands/forceip_command.h"
#include "commands/get_command.h"
#include "commands/grab_command.h"
#include "commands/info_command.h"
#include "commands/list_command.h"
#include "commands/memory_command.h"
#include "commands/record_command.h"
#include "commands/run_command.h"
#include "commands/serve_command.h"
#include "commands/set_command.h"
#include "commands/stats_command.h"
#include "commands/view_command.h"

namespace commands
{

namespace
{

template <class... Kinds> std::vector<std::unique_ptr<Command>> makeAll(CLI::App& parent)
{
    std::vector<std::unique_ptr<Command>> all;
    (all.push_back(std::make_unique<Kinds>(parent)), ...);
    return all;
}

} // namespace

std::vector<std::unique_ptr<Command>> allCommands(CLI::App& parent)
{
    return makeAll<ListCommand, InfoCommand, FeaturesCommand, GetCommand, SetCommand, RunCommand,
                   GrabCommand, RecordCommand, StatsCommand, ConfigCommand, EventsCommand,
                   ForceIpCommand, MemoryCommand, ServeCommand, DoctorCommand, ViewCommand>(parent);
}

} // namespace commands
