// hookhost: calls an installer's custom-hook plug-in as the installer would.
#include "tools/common/standard_descriptors.h"
#include "tools/hookhost/dry_run.h"
#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/options.h"
#include "tools/hookhost/run.h"

#include <csignal>
#include <exception>

namespace hookhost {

namespace {

int run(Options const& options)
{
    if (options.list) {
        return listPlugin(options);
    }
    return options.dryRun ? showRun(options) : runPhases(options);
}

} // namespace

} // namespace hookhost

using namespace hookhost;

int main(int argc, char** argv)
{
    common::occupyStandardDescriptors();
    outliveReaders();
    std::signal(SIGCHLD, SIG_DFL); // inherited as ignored, child processes could not be waited for
    if (asksForJson(argc, argv)) { // a usage error is JSON too
        printMessagesAsJson();
    }
    try {
        auto const options = readOptions(argc, argv);
        return options ? run(*options) : 0;
    } catch (Refusal const& refusal) {
        complain(refusal);
        return refusal.exitStatus;
    } catch (std::exception const& error) {
        complain(Refusal(kExitHostError, error.what()));
        return kExitHostError;
    }
}
