// veskdb: lists, shows, changes, verifies, backs up and restores the installer's records.
#include "tools/common/alternate_root.h"
#include "tools/common/descriptor_output.h"
#include "tools/common/standard_descriptors.h"
#include "tools/veskdb/change.h"
#include "tools/veskdb/copies.h"
#include "tools/veskdb/read.h"
#include "tools/veskdb/verify.h"

#include <csignal>
#include <unistd.h>

namespace veskdb {

namespace {

/// Everything is read, and every session closed, before a byte is written: output that is lost changes nothing.
int print(std::vector<Section> const& sections, bool json)
{
    Presentation const forPeople =
        isatty(STDOUT_FILENO) != 0 ? Presentation::kTable : Presentation::kTabSeparated;
    int const error =
        common::writeAll(STDOUT_FILENO, present(sections, json ? Presentation::kJson : forPeople));
    if (error != 0) {
        throw Refusal(kExitError, common::lossOf(error));
    }
    return 0;
}

int run(Options const& options)
{
    switch (options.command) {
    case Command::kListPayloads:
        return print(listPayloads(options), options.json);
    case Command::kListCatalogue:
        return print(listCatalogue(options), options.json);
    case Command::kListSettings:
        return print(listSettings(options), options.json);
    case Command::kShowPayload:
        return print(showPayload(options), options.json);
    case Command::kShowCatalogue:
        return print(showCatalogue(options), options.json);
    case Command::kInfo:
        return print(showDatabases(), options.json);
    case Command::kVerify: {
        bool sound = false;
        print(verify(options, sound), options.json);
        return sound ? 0 : kExitNotFound;
    }
    case Command::kBackup:
        return backUp(options);
    case Command::kAddPayload:
        addPayload(options);
        break;
    case Command::kSetPayload:
        setPayload(options);
        break;
    case Command::kSetSetting:
        setSetting(options);
        break;
    case Command::kRemovePayload:
        removePayload(options);
        break;
    case Command::kRemoveSettings:
        removeSettings(options);
        break;
    case Command::kRestore:
        restore(options);
        break;
    }
    return 0;
}

} // namespace

} // namespace veskdb

using namespace veskdb;

int main(int argc, char** argv)
{
    common::occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is an error like any other,
    std::signal(SIGXFSZ, SIG_IGN); // and so is a file that may not grow
    try {
        auto const options = readOptions(argc, argv);
        if (!options) {
            return 0;
        }
        if (options->root) {
            common::alternate_root::enter(*options->root);
        }
        return run(*options);
    } catch (Refusal const& refusal) {
        tell({refusal.what()});
        return refusal.exitStatus;
    } catch (Unreadable const& unreadable) {
        tell({unreadable.what(), unreadable.nextStep.empty() ? "" : "; ", unreadable.nextStep.c_str()});
        return kExitError;
    } catch (std::exception const& error) {
        tell({error.what()});
        return kExitError;
    }
}
