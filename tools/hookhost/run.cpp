#include "tools/hookhost/run.h"

#include "tools/common/alternate_root.h"
#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/host.h"
#include "tools/hookhost/plugin.h"
#include "tools/hookhost/plugin_file.h"
#include "tools/hookhost/worker.h"

#include <unistd.h>

namespace hookhost {

Run::Run(Options const& chosenOptions, std::string const& modeName, std::vector<std::string> stepNames)
    : options(chosenOptions), mode(modeName), steps(std::move(stepNames)), state(newRunState()),
      report(options.format, mode, steps, *state)
{
}

int runPhases(Options const& options)
{
    requireRunnable(options);
    std::vector<std::string> steps = {"load", "open-entry"};
    for (HookNumber const& phase : options.phases) {
        steps.push_back(phase.name);
    }
    steps.insert(steps.end(), {"close-entry", "unload"});
    Run run(options, options.mode.name, std::move(steps));
    if (options.capture && options.format != OutputFormat::kRaw) {
        run.output.emplace(*run.state);
    }
    return runInWorker(run, callPlugin);
}

int listPlugin(Options const& options)
{
    requirePluginFile(options.plugin);
    Run run(options, "list", {"load"});
    return runInWorker(run, [](Run& listing) {
        // What a constructor of the plug-in prints is no part of the list.
        RecordWriter writer(*listing.state);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        bool complete = false;
        std::string const lines = describePlugin(listing.options.plugin, complete);
        RecordWriter::Turn(writer).write(lines);
        return complete ? 0 : static_cast<int>(kExitSymbolMissing);
    });
}

void requireRunnable(Options const& options)
{
    requirePluginFile(options.plugin);
    if (options.root) {
        common::alternate_root::requireUsable(*options.root);
    }
}

} // namespace hookhost
