// hookhost: calls an installer's custom-hook plug-in as the installer would.
#include "tools/hookhost_options.h"
#include "tools/hookhost_output.h"
#include "tools/hookhost_run.h"
#include "tools/standard_descriptors.h"

#include <csignal>
#include <exception>

namespace {

int run(Options const& options)
{
    if (options.list) {
        return listPlugin(options);
    }
    return options.dryRun ? showRun(options) : runPhases(options);
}

} // namespace

int main(int argc, char** argv)
{
    occupyStandardDescriptors();
    outliveReaders();
    std::signal(SIGCHLD, SIG_DFL); // inherited as ignored, child processes could not be waited for
    try {
        auto const options = readOptions(argc, argv);
        return options ? run(*options) : 0;
    } catch (Refusal const& refusal) {
        complain(refusal.what());
        return refusal.exitStatus;
    } catch (std::exception const& error) {
        complain(error.what());
        return kExitHostError;
    }
}
