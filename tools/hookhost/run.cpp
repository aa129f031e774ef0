#include "tools/hookhost/run.h"

#include "tools/common/alternate_root.h"
#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/host.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/plugin.h"
#include "tools/hookhost/plugin_file.h"
#include "tools/hookhost/tree_walk.h"
#include "tools/hookhost/worker.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hookhost {

Run::Run(Options const& chosenOptions, std::string const& modeName, std::vector<std::string> stepNames)
    : options(chosenOptions), mode(modeName), steps(std::move(stepNames)),
      state(newRunState(steps.size(), options.expectations.size())),
      report(options.format, mode, steps, *state)
{
}

namespace {

/// The folder of --keep: new or empty. One that is made here is removed again if there is no run.
class KeptFolder
{
public:
    /// @throws Refusal
    explicit KeptFolder(std::string const& folder) : made(mkdir(folder.c_str(), 0700) == 0)
    {
        auto const names = namesIn(AT_FDCWD, folder);
        char resolved[PATH_MAX];
        if (!names || realpath(folder.c_str(), resolved) == nullptr) {
            throw Refusal(kExitHostError, fmt::format("--keep '{}': {}; give a new or empty folder", folder,
                                                      std::strerror(errno)));
        }
        if (!names->empty()) {
            throw Refusal(kExitHostError,
                          fmt::format("--keep '{}' is not empty; give a new or empty folder", folder));
        }
        absolutePath = resolved;
    }
    KeptFolder(KeptFolder const&) = delete;
    KeptFolder& operator=(KeptFolder const&) = delete;
    ~KeptFolder()
    {
        if (made) {
            rmdir(absolutePath.c_str());
        }
    }

    std::string const& path() const { return absolutePath; }

    void leave() { made = false; }

private:
    bool made;
    std::string absolutePath;
};

/// Refuses to compare the machine's own root: other programs change it all the time.
void requireOtherRoot(std::string const& root)
{
    struct stat machine = {};
    struct stat other = {};
    if (stat("/", &machine) == 0 && stat(root.c_str(), &other) == 0 && machine.st_dev == other.st_dev &&
        machine.st_ino == other.st_ino) {
        throw Refusal(
            kExitHostError,
            fmt::format("--changes cannot watch the machine itself, which --root '{}' is; add --overlay or "
                        "give another root",
                        root));
    }
}

} // namespace

int runPhases(Options const& options)
{
    requireRunnable(options);
    std::vector<std::string> steps = {"load", "open-entry"};
    for (HookNumber const& phase : options.phases) {
        steps.push_back(phase.name);
    }
    steps.insert(steps.end(), {"close-entry", "unload"});
    std::optional<KeptFolder> kept;
    if (options.keep) {
        kept.emplace(*options.keep);
    }
    Run run(options, options.mode.name, std::move(steps));
    if (options.overlay) {
        run.overlay = makeOverlay(options.root.value_or("/"));
    } else if (options.changes) {
        run.folder = std::make_unique<FolderTree>(*options.root);
    }
    if (options.changes) {
        run.changes.emplace(options.overlay ? static_cast<TreeSource&>(*run.overlay) : *run.folder,
                            run.steps.size());
    }
    if (options.capture && options.format != OutputFormat::kRaw) {
        run.output.emplace(*run.state);
    }
    return runInWorker(run, callPlugin, [&] {
        if (kept) {
            kept->leave();
            run.overlay->copyChangesTo(kept->path());
            notice(fmt::format("what the run changed is left in '{}'", *options.keep));
        }
    });
}

int listPlugin(Options const& options)
{
    requirePluginFile(options.plugin);
    Run run(options, "list", {"load"});
    return runInWorker(
        run,
        [](Run& listing) {
            // What a constructor of the plug-in prints is not part of the list.
            RecordWriter writer(*listing.state);
            dup2(STDERR_FILENO, STDOUT_FILENO);
            bool complete = false;
            std::string const lines = describePlugin(listing.options.plugin, complete);
            RecordWriter::Turn(writer).write(lines);
            return complete ? 0 : static_cast<int>(kExitSymbolMissing);
        },
        [] {});
}

void requireRunnable(Options const& options)
{
    requirePluginFile(options.plugin);
    if (options.root) {
        common::alternate_root::requireUsable(*options.root);
    }
    if (options.changes && !options.overlay) {
        requireOtherRoot(*options.root);
    }
}

} // namespace hookhost
