#include "tools/veskdb/backup_restore.h"

#include "libdolmvesk/plat_utils.h"
#include "tools/veskdb/consent.h"
#include "tools/veskdb/databases.h"
#include "tools/veskdb/file_lock.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/held_signals.h"
#include "tools/veskdb/message.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/record_reader.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/replacement.h"
#include "tools/veskdb/soundness.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <memory>

namespace veskdb {

namespace {

[[noreturn]] void refuse(std::string const& message)
{
    throw Refusal(kExitError, message);
}

/// Creates the folder of a database or of the backups if it is missing, as the library does.
void requireFolder(std::string const& folder)
{
    int32_t const created = veskiCreatePath(folder);
    if (created != kVeskOK) {
        refuse(fmt::format("'{}': {}", folder, describeStatus(created)));
    }
}

/// Refuses a file that has a journal: a change is under way or was interrupted.
void requireNoJournal(std::string const& path, Database const& database)
{
    for (char const* const suffix : {"-journal", "-wal"}) {
        if (statusOf(path + suffix)) {
            bool const live = path == pathOf(database);
            refuse(fmt::format(
                "'{0}' has a journal, '{0}{1}': a change is under way or was interrupted; wait for its "
                "end, or roll it back: {2}",
                path, suffix,
                ownCommand(
                    fmt::format("recover {}{}", database.name, live ? "" : " --file " + quotedWord(path)))));
        }
    }
}

/// Refuses a file that is not this database or is damaged.
Findings requireSound(std::string const& path, Database const& database, char const* what)
{
    Findings found = examine(path, database);
    if (!found.faults.empty()) {
        throw Refusal(kExitNotFound, fmt::format("{} '{}' is not usable; nothing was replaced: {}", what,
                                                 path, escaped(found.faults.front().what)));
    }
    return found;
}

/// Wrong rows in a sound file stop neither a backup nor a restore.
void warn(std::string const& path, Findings const& found)
{
    for (Fault const& fault : found.contentFaults) {
        printMessage({"warning: '", path.c_str(), "': ", fault.what.c_str()});
    }
}

void reportReplaced(std::string const& path, std::string const& aside)
{
    std::string const kept = aside.empty() ? "" : fmt::format("; the file before is kept as '{}'", aside);
    printMessage({"'", path.c_str(), "' is in place", kept.c_str()});
}

/// The file that a path leads to: replacing a link would leave the file itself unchanged.
std::string resolved(std::string const& path)
{
    std::unique_ptr<char, void (*)(void*)> const real(realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : path;
}

/// Removes the temporary files of a killed backup or restore of this database.
void removeLeftovers(Database const& database)
{
    removeTemporaryFilesOf(pathOf(database));
    removeTemporaryFilesOf(backupPathOf(database));
}

/// Refuses the target of --to unless it does not exist, is empty or is a copy of the same database.
void requireOwnTarget(std::string const& target, Database const& database)
{
    for (Database const& each : databases) {
        bool const own = &each == &database;
        if (target == pathOf(each) || (!own && each.store->hasBackup && target == backupPathOf(each))) {
            refuse(fmt::format("--to '{}' is {} itself{}; give the path of a new file", target, each.title,
                               target == pathOf(each) ? "" : ", its backup"));
        }
    }
    struct stat status = {};
    if (lstat(target.c_str(), &status) != 0) {
        return;
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(fmt::format("'{}' is {}; give the path of a new file", target,
                           S_ISLNK(status.st_mode) ? "a link" : "not a file"));
    }
    for (Database const& each : databases) {
        auto const other = statusOf(pathOf(each));
        if (other && isSameFile(status, *other)) {
            refuse(fmt::format("--to '{}' is {} itself; give the path of a new file", target, each.title));
        }
    }
    if (status.st_size != 0 && !isKindOf(target, database)) {
        refuse(fmt::format("--to '{}' is neither empty nor a copy of {}; give the path of a new file", target,
                           database.title));
    }
}

void backUpOne(Database const& database, std::optional<std::string> const& to)
{
    std::string const source = pathOf(database);
    if (!statusOf(source)) {
        throw Refusal(kExitNotFound,
                      fmt::format("{}, '{}': {}", database.title, source, describeStatus(kVeskNotFound)));
    }
    if (to) {
        requireOwnTarget(*to, database);
    }
    std::string const target = to ? *to : resolved(backupPathOf(database));
    auto const replaced = statusOf(target);
    requireFile(target, replaced);
    requireNoJournal(source, database);
    requireNoJournal(target, database);
    warn(source, requireSound(source, database, "the database"));
    HeldSignals const signals;
    if (!to) {
        requireFolder(folderPart(target));
    }
    removeLeftovers(database);
    removeTemporaryFilesOf(target);
    Replacement copy(target);
    copy.copyFrom(RecordReader(source));
    requireSound(copy.path(), database, "the new copy");
    if (to && replaced) {
        copy.setAccess(replaced->st_uid, replaced->st_gid, replaced->st_mode & 07777U);
    } else {
        copy.setAccess(geteuid(), getegid(), databaseAccess(false).file);
    }
    signals.requireNone();
    std::string const kept = copy.replaceTarget();
    signals.ignore();
    reportReplaced(target, kept);
}

} // namespace

int backUp(Options const& options)
{
    std::vector<Database const*> chosen = options.named;
    for (Database const& database : databases) {
        if (options.named.empty() && database.store->hasBackup && statusOf(pathOf(database))) {
            chosen.push_back(&database);
        }
    }
    if (chosen.empty()) {
        throw Refusal(kExitNotFound, "there is no database to back up: nothing has been recorded yet");
    }
    int exitStatus = 0;
    for (Database const* const database : chosen) {
        try {
            backUpOne(*database, options.to);
        } catch (Refusal const& refusal) {
            printMessage({refusal.what()});
            exitStatus = std::max<int>(exitStatus, refusal.exitStatus);
        } catch (Unreadable const& unreadable) {
            printMessage({unreadable.what()});
            exitStatus = kExitError;
        }
    }
    return exitStatus;
}

int restore(Options const& options)
{
    Database const& database = options.database();
    std::string const target = resolved(pathOf(database));
    std::string const source = options.from.value_or(backupPathOf(database));
    auto const copy = statusOf(source);
    if (!copy) {
        throw Refusal(kExitNotFound, fmt::format("the copy '{}': {}", source, describeStatus(kVeskNotFound)));
    }
    auto const live = statusOf(target);
    if (live && isSameFile(*live, *copy)) {
        refuse(fmt::format("--from '{}' is the database itself; give a copy of it", source));
    }
    requireFile(target, live);
    requireNoJournal(source, database);
    requireSafe(target);
    requireNoJournal(target, database);
    warn(source, requireSound(source, database, "the copy"));
    requireConsent(fmt::format("{} {}, '{}', {} '{}' of {}?", live ? "Replace" : "Bring back", database.title,
                               target, live ? "by" : "from", source, isoTime(copy->st_mtime)),
                   options.yes);

    HeldSignals const signals;
    requireFolder(folderOf(database));
    auto const lock = live ? std::make_unique<FileLock>(target, FileLock::Kind::kExclusive) : nullptr;
    requireNoJournal(target, database);
    removeLeftovers(database);
    Replacement restored(target);
    restored.copyFrom(RecordReader(source));
    requireSound(restored.path(), database, "the new copy");
    DatabaseAccess const& access = databaseAccess(database.store->sharedAccess);
    restored.setAccess(access.owner, access.group, access.file);
    signals.requireNone();
    std::string const kept = restored.replaceTarget();
    signals.ignore();
    veskiSetDbAccess(folderOf(database), database.store->file, database.store->sharedAccess);
    reportReplaced(target, kept);
    return kExitDone;
}

} // namespace veskdb
