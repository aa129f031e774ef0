#include "tools/veskdb/verify.h"

#include "libdolmvesk/plat_utils.h"
#include "tools/common/alternate_root.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/foreign_files.h"
#include "tools/veskdb/id_mappings.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/record_reader.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/replacement.h"
#include "tools/veskdb/soundness.h"
#include "tools/veskdb/status_name.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>

namespace veskdb {

using common::alternate_root::quotedFromOutside;

namespace {

/// The rows that verify prints.
class Report
{
public:
    void fault(Database const& database, std::string const& file, std::string const& what,
               std::string const& step)
    {
        ++faults;
        add("fault", database, file, what, step);
    }

    void add(char const* result, Database const& database, std::string const& file, std::string const& what,
             std::string const& step)
    {
        rows.push_back({std::string(result), std::string(database.name), file, what, step});
    }

    std::size_t faults = 0;
    std::set<std::string> parents; ///< the folders above the databases that were checked
    std::vector<Row> rows;
};

/// @param backupSound  whether the library's own backup can be restored
std::string restoreStep(Database const& database, bool backupSound)
{
    std::string const restore = ownCommand(fmt::format("restore {}", database.name));
    std::string const path = quotedFromOutside(pathOf(database));
    return backupSound
               ? restore
               : fmt::format("{} --from FILE, a sound copy; if there is none, as root: mv {} {}.damaged, and "
                             "the installer starts a new one",
                             restore, path, path);
}

/// Whether a difference in owner is a fault: this process cannot distinguish users that it does not see.
bool isOwnerVisible(struct stat const& status, uid_t owner, gid_t group)
{
    return isUserVisible(status.st_uid) && isGroupVisible(status.st_gid) && isUserVisible(owner) &&
           isGroupVisible(group);
}

char const hiddenOwner[] = "; this user namespace hides the owners of files";

void checkAccess(Database const& database, std::string const& path, struct stat const& status, Report& report)
{
    bool const folder = S_ISDIR(status.st_mode);
    DatabaseAccess const& access = databaseAccess(database.store->sharedAccess);
    mode_t const mode = folder ? access.folder : access.file;
    if (status.st_uid != access.owner || status.st_gid != access.group) {
        std::string const what =
            fmt::format("its owner is {}, not {}:{}", ownerOf(status), access.owner, access.group);
        if (isOwnerVisible(status, access.owner, access.group)) {
            report.fault(
                database, path, what,
                fmt::format("as root: chown {}:{} {}", access.owner, access.group, quotedFromOutside(path)));
        } else {
            report.add("note", database, path, what + hiddenOwner, "verify outside the user namespace");
        }
    }
    if ((status.st_mode & 07777U) != mode) {
        report.fault(database, path, fmt::format("its mode is {}, not {:04o}", modeOf(status), mode),
                     fmt::format("as root: chmod {:04o} {}", mode, quotedFromOutside(path)));
    }
}

/// A user who may write to a folder above a database can replace the database.
void checkParents(Database const& database, std::string const& folder, Report& report)
{
    constexpr uid_t superUser = 0;
    for (std::string path = folder; path != "/" && path != ".";) {
        path = folderPart(path);
        auto const status = statusOf(path);
        if (!status || !report.parents.insert(path).second) {
            continue;
        }
        if (status->st_uid != superUser) {
            bool const visible = isUserVisible(status->st_uid);
            std::string const what = fmt::format(
                "a folder above the database belongs to user {}, who can replace it", status->st_uid);
            if (visible) {
                report.fault(database, path, what,
                             fmt::format("as root: chown 0 {}", quotedFromOutside(path)));
            } else {
                report.add("note", database, path, what + hiddenOwner, "verify outside the user namespace");
            }
        }
        if ((status->st_mode & S_IWOTH) != 0 && (status->st_mode & S_ISVTX) == 0) {
            report.fault(
                database, path,
                fmt::format(
                    "every user may write a folder above the database, and so replace it: its mode is "
                    "{}",
                    modeOf(*status)),
                fmt::format("as root: chmod o-w {}", quotedFromOutside(path)));
        }
    }
}

/// Notes the temporary files of killed programs and the dated copies next to a file.
void noteLeftovers(Database const& database, std::string const& path, std::string const& cleaning,
                   Report& report)
{
    Leftovers const temporary = temporaryFilesOf(path);
    Leftovers const dated = datedCopiesOf(path);
    if (temporary.number > 0) {
        report.add("note", database, path,
                   fmt::format("temporary files of an interrupted backup or restore: {}, {} bytes",
                               temporary.number, temporary.bytes),
                   "the next one removes them, such as: " + cleaning);
    }
    if (dated.number > 0) {
        report.add(
            "note", database, path, fmt::format("dated copies: {}, {} bytes", dated.number, dated.bytes),
            fmt::format("remove those that are no longer needed: ls -l {}.2*", quotedFromOutside(path)));
    }
}

/// Restoring a backup that other users may write to would restore their records.
void checkBackupAccess(Database const& database, std::string const& path, Report& report)
{
    auto const status = statusOf(path);
    uid_t const owner = databaseAccess(database.store->sharedAccess).owner;
    bool const foreign = status && status->st_uid != owner;
    if (status && ((foreign && isUserVisible(status->st_uid)) || (status->st_mode & S_IWOTH) != 0)) {
        report.fault(database, path,
                     fmt::format("others may write it: its owner is {}, its mode {}", ownerOf(*status),
                                 modeOf(*status)),
                     fmt::format("as root: chown {0} {1}; chmod o-w {1}", owner, quotedFromOutside(path)));
    }
}

/// Reports what was found in a file; the next steps differ between the live file and its backup.
void reportFindings(Database const& database, std::string const& path, Findings const& found,
                    std::string const& prefix, std::string const& usualStep, Report& report)
{
    for (auto const* const faults : {&found.faults, &found.contentFaults}) {
        for (Fault const& fault : *faults) {
            report.fault(database, path, prefix + fault.what,
                         fault.nextStep.empty() ? usualStep : fault.nextStep);
        }
    }
    for (std::string const& note : found.notes) {
        report.add("note", database, path, note, "");
    }
}

void checkLiveFile(Database const& database, std::string const& path, struct stat const& status,
                   bool backupSound, Report& report)
{
    checkAccess(database, path, status, report);
    Findings const found = examine(path, database);
    reportFindings(database, path, found, "", restoreStep(database, backupSound), report);
    noteLeftovers(database, path, ownCommand(fmt::format("restore {}", database.name)), report);
    if (found.faults.empty() && statusOf(path + "-journal")) {
        report.add("note", database, path + "-journal", "a change is under way, or left this behind",
                   "verify again later");
    }
}

void checkDatabase(Database const& database, Report& report)
{
    std::string const path = pathOf(database);
    std::string const backup = backupPathOf(database);
    bool const hasBackup = database.store->hasBackup && statusOf(backup);
    Findings const inBackup = hasBackup ? examine(backup, database) : Findings();
    bool const backupSound = hasBackup && inBackup.faults.empty();

    std::size_t const before = report.faults;
    requireSafe(path);
    if (auto const folder = statusOf(folderOf(database))) {
        checkAccess(database, folderOf(database), *folder, report);
    }
    checkParents(database, folderOf(database), report);
    struct stat link = {};
    bool recorded = false;
    if (auto const status = statusOf(path)) {
        checkLiveFile(database, path, *status, backupSound, report);
        recorded = true;
    } else if (lstat(path.c_str(), &link) == 0) {
        report.fault(database, path, "it is a dangling link",
                     fmt::format("as root: rm {}", quotedFromOutside(path)));
    } else if (hasBackup) {
        report.fault(database, path, describeStatus(kVeskNeedsRestore), restoreStep(database, backupSound));
    } else {
        report.add("note", database, path, "nothing has been recorded yet", "");
    }
    bool const sound = report.faults == before;
    if (sound && recorded) {
        report.add("ok", database, path, "sound", "");
    }
    if (hasBackup) {
        std::size_t const beforeBackup = report.faults;
        std::string const anew = ownCommand(fmt::format("backup {}", database.name));
        reportFindings(database, backup, inBackup, "the backup is not usable: ",
                       sound ? anew : "after the database itself is sound: " + anew, report);
        noteLeftovers(database, backup, anew, report);
        checkBackupAccess(database, folderPart(backup), report);
        checkBackupAccess(database, backup, report);
        if (report.faults == beforeBackup) {
            report.add("ok", database, backup, "sound", "");
        }
    }
}

/// Notes what another user may have put there while every user could write to the folder of all databases.
void noteForeignFiles(Report& report)
{
    ForeignFiles const found = foreignFiles();
    if (found.number > 0) {
        report.add(
            "note", databases.front(), found.first,
            fmt::format("not root's: {} files or folders below the folder of all databases, such as this one",
                        found.number),
            "find out who made them and what for, before the next install");
    }
}

} // namespace

int verify(Options const& options)
{
    Report report;
    for (Database const& database : databases) {
        bool const named =
            std::find(options.named.begin(), options.named.end(), &database) != options.named.end();
        if (named || options.named.empty()) {
            try {
                checkDatabase(database, report);
            } catch (Unreadable const& unreadable) {
                report.fault(database, pathOf(database), unreadable.what(), unreadable.nextStep);
            } catch (std::exception const& error) {
                report.fault(database, pathOf(database), error.what(),
                             "run this as a user who may look there");
            }
        }
    }
    noteForeignFiles(report);
    Presenter presenter(options.json);
    presenter.begin({"",
                     false,
                     {{"result", "RESULT"},
                      {"database", "DB"},
                      {"file", "FILE"},
                      {"finding", "FINDING"},
                      {"next", "NEXT STEP"}}});
    for (Row const& row : report.rows) {
        presenter.add(row);
    }
    presenter.print();
    return report.faults == 0 ? kExitDone : kExitNotFound;
}

} // namespace veskdb
