#include "tools/veskdb/backup_restore.h"

#include "libdolmvesk/plat_utils.h"
#include "platform/descriptor.h"
#include "tools/veskdb/consent.h"
#include "tools/veskdb/databases.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/held_signals.h"
#include "tools/veskdb/message.h"
#include "tools/veskdb/record_reader.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/soundness.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace veskdb {

namespace {

constexpr int busyPause = 50; // milliseconds

[[noreturn]] void refuse(std::string const& message)
{
    throw Refusal(kExitError, message);
}

void require(bool done, std::string const& path, char const* what)
{
    if (!done) {
        refuse(fmt::format("'{}': {}: {}", path, what, std::strerror(errno)));
    }
}

/// Makes the folder of a database or of the backups when it is missing, as the library does.
void requireFolder(std::string const& folder)
{
    int32_t const created = veskiCreatePath(folder);
    if (created != kVeskOK) {
        refuse(fmt::format("'{}': {}", folder, describeStatus(created)));
    }
}

void requireNoJournal(std::string const& path)
{
    for (char const* const suffix : {"-journal", "-wal"}) {
        if (statusOf(path + suffix)) {
            refuse(fmt::format(
                "'{0}' has a journal, '{0}{1}': a change is under way or was interrupted; wait for "
                "its end, or see 'veskdb verify'",
                path, suffix));
        }
    }
}

void requireSound(std::string const& path, Database const& database, char const* what)
{
    Findings const found = examine(path, database);
    if (!found.faults.empty()) {
        throw Refusal(kExitNotFound, fmt::format("{} '{}' is not usable; nothing was replaced: {}", what,
                                                 path, escaped(found.faults.front().what)));
    }
}

/// Refuses to replace a file that somebody else owns in a sticky folder of somebody else's.
void requireReplaceable(std::string const& path)
{
    auto const file = statusOf(path);
    auto const folder = statusOf(folderPart(path));
    uid_t const user = geteuid();
    if (file && folder && (folder->st_mode & S_ISVTX) != 0 && user != 0 && user != file->st_uid &&
        user != folder->st_uid) {
        errno = EPERM;
        require(false, path, "it cannot be replaced");
    }
}

/// Copies a file, under its own name and the time: "pdb.db.20090213T233130Z". Nothing is
/// overwritten. Not a hard link: the library does not accept a database with two names.
///
/// @return the path of the copy; empty when there is no such file
std::string keepAside(std::string const& path)
{
    auto const file = statusOf(path);
    if (!file) {
        return "";
    }
    time_t const now = std::time(nullptr);
    tm utc = {};
    char stamp[32] = "";
    strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", gmtime_r(&now, &utc));
    for (int attempt = 0;; ++attempt) {
        std::string aside =
            fmt::format("{}.{}{}", path, stamp, attempt == 0 ? "" : fmt::format(".{}", attempt));
        platform::Descriptor const made(open(aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (made.isOpen()) {
            auto const copied = veskiCopyDatabaseFile(path, aside) ? statusOf(aside) : std::nullopt;
            if (!copied || copied->st_size != file->st_size || fsync(made.get()) != 0) {
                unlink(aside.c_str());
                refuse(fmt::format("'{}': it cannot be kept aside as '{}'; is the disk full?", path, aside));
            }
            return aside;
        }
        require(errno == EEXIST, path, "it cannot be kept aside");
    }
}

void reportReplaced(std::string const& path, std::string const& aside)
{
    std::string const kept = aside.empty() ? "" : fmt::format("; the file before is kept as '{}'", aside);
    printMessage({"'", path.c_str(), "' is in place", kept.c_str()});
}

/// A new file beside the target, removed with the object unless it has taken the target's place.
class NewFile
{
public:
    explicit NewFile(std::string const& targetPath) : target(targetPath), path(targetPath + ".XXXXXX")
    {
        int const descriptor = mkstemp(path.data());
        require(descriptor >= 0, folderPart(target), "no file can be created there");
        close(descriptor);
    }
    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;
    ~NewFile() { unlink(path.c_str()); }

    /// @return the name under which the file before is kept; empty when there was none
    std::string replaceTarget() const
    {
        sync(path);
        requireReplaceable(target);
        std::string aside = keepAside(target);
        if (rename(path.c_str(), target.c_str()) != 0) {
            int const error = errno;
            unlink(aside.c_str());
            errno = error;
            require(false, target, "it cannot be replaced");
        }
        sync(folderPart(target));
        return aside;
    }

    std::string const target;
    std::string path;

private:
    static void sync(std::string const& path)
    {
        int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        bool const synced = descriptor >= 0 && fsync(descriptor) == 0;
        int const error = errno;
        close(descriptor);
        errno = error;
        require(synced, path, "it cannot be synced to disk");
    }
};

/// SQLite's own exclusive lock on a database file, whatever the file holds: a damaged one has to be replaced
/// as safely as a sound one.
class ExclusiveLock
{
public:
    explicit ExclusiveLock(std::string const& path)
    {
        sqlite3* opened = nullptr;
        int code = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
        connection.reset(opened);
        if (code == SQLITE_OK && sqlite3_db_readonly(opened, "main") != 0) {
            code = SQLITE_READONLY;
        }
        if (code == SQLITE_OK) {
            code = sqlite3_file_control(opened, "main", SQLITE_FCNTL_FILE_POINTER, &file);
        }
        for (int waited = 0; code == SQLITE_OK; waited += busyPause) {
            code = file->pMethods->xLock(file, SQLITE_LOCK_SHARED);
            code = code == SQLITE_OK ? file->pMethods->xLock(file, SQLITE_LOCK_EXCLUSIVE) : code;
            if (code == SQLITE_OK) {
                return;
            }
            file->pMethods->xUnlock(file, SQLITE_LOCK_NONE);
            if (code == SQLITE_BUSY && waited < busyTimeoutMilliseconds) {
                sqlite3_sleep(busyPause);
                code = SQLITE_OK;
            }
        }
        refuse(
            fmt::format("'{}' cannot be locked: {}", path, describeStatus(veskiSQLiteErrorMap(code & 0xFF))));
    }
    ExclusiveLock(ExclusiveLock const&) = delete;
    ExclusiveLock& operator=(ExclusiveLock const&) = delete;
    ~ExclusiveLock() { file->pMethods->xUnlock(file, SQLITE_LOCK_NONE); }

private:
    struct Closer
    {
        void operator()(sqlite3* each) const { sqlite3_close(each); }
    };
    std::unique_ptr<sqlite3, Closer> connection;
    sqlite3_file* file = nullptr;
};

/// Copies a sound database to a new file and checks the copy, too.
void copyChecked(std::string const& source, NewFile const& copy, Database const& database)
{
    RecordReader const lock(source);
    if (!veskiCopyDatabaseFile(source, copy.path)) {
        refuse(
            fmt::format("'{}' cannot be copied to '{}'; is the disk full?", source, folderPart(copy.target)));
    }
    requireSound(copy.path, database, "the new copy");
}

void backUpOne(Database const& database, std::optional<std::string> const& to)
{
    std::string const source = pathOf(database);
    std::string const target = to.value_or(backupPathOf(database));
    auto const live = statusOf(source);
    if (!live) {
        throw Refusal(kExitNotFound,
                      fmt::format("{}, '{}': {}", database.title, source, describeStatus(kVeskNotFound)));
    }
    auto const replaced = statusOf(target);
    if (replaced && !S_ISREG(replaced->st_mode)) {
        refuse(fmt::format("'{}' is not a file; give the path of a new file", target));
    }
    for (Database const& each : databases) {
        auto const other = statusOf(pathOf(each));
        if (replaced && other && isSameFile(*replaced, *other)) {
            refuse(fmt::format("--to '{}' is {} itself; give the path of a new file", target, each.title));
        }
    }
    requireNoJournal(source);
    requireNoJournal(target);
    requireSound(source, database, "the database");
    HeldSignals const signals;
    if (!to) {
        requireFolder(folderPart(target));
    }
    NewFile const copy(target);
    copyChecked(source, copy, database);
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
    std::string const target = pathOf(database);
    std::string const folder = folderOf(database);
    std::string const source = options.from.value_or(backupPathOf(database));
    auto const copy = statusOf(source);
    if (!copy) {
        throw Refusal(kExitNotFound, fmt::format("the copy '{}': {}", source, describeStatus(kVeskNotFound)));
    }
    auto const live = statusOf(target);
    if (live && isSameFile(*live, *copy)) {
        refuse(fmt::format("--from '{}' is the database itself; give a copy of it", source));
    }
    if (live && !S_ISREG(live->st_mode)) {
        refuse(fmt::format("'{}' is not a file; move it away", target));
    }
    requireNoJournal(source);
    requireSafe(target);
    requireNoJournal(target);
    requireSound(source, database, "the copy");
    requireConsent(fmt::format("{} {}, '{}', by '{}' of {}?", live ? "Replace" : "Bring back", database.title,
                               target, source, isoTime(copy->st_mtime)),
                   options.yes);

    HeldSignals const signals;
    requireFolder(folder);
    std::unique_ptr<ExclusiveLock> const lock = live ? std::make_unique<ExclusiveLock>(target) : nullptr;
    requireNoJournal(target);
    NewFile const restored(target);
    copyChecked(source, restored, database);
    veskiSetDbAccess(folder, restored.path.substr(restored.path.rfind('/') + 1),
                     database.store->sharedAccess);
    signals.requireNone();
    std::string const kept = restored.replaceTarget();
    signals.ignore();
    reportReplaced(target, kept);
    return kExitDone;
}

} // namespace veskdb
