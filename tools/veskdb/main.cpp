// veskdb: looks after the installer's records.
#include "tools/common/alternate_root.h"
#include "tools/common/standard_descriptors.h"
#include "tools/veskdb/command_line.h"
#include "tools/veskdb/id_mappings.h"
#include "tools/veskdb/message.h"
#include "tools/veskdb/record_reader.h"
#include "tools/veskdb/refusal.h"

#include <csignal>
#include <fcntl.h>
#include <sqlite3.h>

using namespace veskdb;

namespace {

int openWithoutBlocking(char const* path, int flags, int mode)
{
    return open(path, flags | O_NONBLOCK | O_NOCTTY, mode);
}

/// In a folder that other users may write to, a FIFO may take a database's place at the moment when SQLite opens it.
void keepSQLiteFromBlocking()
{
    sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
    files->xSetSystemCall(files, "open", reinterpret_cast<sqlite3_syscall_ptr>(openWithoutBlocking));
}

} // namespace

int main(int argc, char** argv)
{
    common::occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is an error like any other,
    std::signal(SIGXFSZ, SIG_IGN); // and so is the limit on file sizes
    keepSQLiteFromBlocking();
    try {
        auto const command = readCommandLine(argc, argv);
        if (!command) {
            return kExitDone;
        }
        readIdMappings();
        if (command->prepare != nullptr) {
            command->prepare(command->options);
        }
        if (command->options.root) {
            common::alternate_root::enter(*command->options.root);
        }
        return command->run(command->options);
    } catch (Refusal const& refusal) {
        printMessage({refusal.what()});
        return refusal.exitStatus;
    } catch (Unreadable const& unreadable) {
        printMessage(
            {unreadable.what(), unreadable.nextStep.empty() ? "" : "; ", unreadable.nextStep.c_str()});
        return kExitError;
    } catch (std::exception const& error) {
        printMessage({error.what()});
        return kExitError;
    }
}
