#include "bench/floor.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

struct FloorStore
{
    sqlite3* database;
    void** buffers;
    size_t count;
    size_t capacity;
};

enum
{
    kPathSize = 128,
    kFirstCapacity = 64,
    kCopyBufferSize = 16384
};

struct Place
{
    char const* folder;
    char const* file;
    mode_t folderMode;
    mode_t fileMode;
};

static struct Place const places[] = {{"/Zelko/vesk", "/vesk.db", 0755, 0644},
                                      {"/Zelko/vesk", "/pdb.db", 0755, 0644},
                                      {"/Zelko/Zelko PCD", "/pcd.db", 0755, 0644},
                                      {"/Zelko/Zelko PCD/cache", "/cache.db", 01777, 0666}};

static char const backupFolder[] = "/Zelko/backup";

/// The base folder is a service of the platform, which is asked at each call and writes the text where it is told to.
///
/// @return the end of the text
static __attribute__((noinline)) char* copyBaseFolder(char* out)
{
    static char const base[] = "/Library/Application Support";
    memcpy(out, base, sizeof base);
    return out + sizeof base - 1;
}

/// Ends the path with two terminators: SQLite's file layer expects an empty list of parameters behind a name.
static void formPath(char* out, char const* folder, char const* file)
{
    char* const end = stpcpy(stpcpy(copyBaseFolder(out), folder), file);
    end[1] = '\0';
}

// Queries. Each takes a text of sqlite3_mprintf over.

static void* keep(struct FloorStore* store, void* buffer)
{
    if (buffer != NULL && store->count == store->capacity) {
        size_t const capacity = store->capacity == 0 ? kFirstCapacity : 2 * store->capacity;
        void** const larger = realloc(store->buffers, capacity * sizeof *larger);
        if (larger == NULL) {
            free(buffer);
            return NULL;
        }
        store->buffers = larger;
        store->capacity = capacity;
    }
    if (buffer != NULL) {
        store->buffers[store->count++] = buffer;
    }
    return buffer;
}

static char const* keepText(struct FloorStore* store, char const* text, size_t size)
{
    char* const copy = keep(store, malloc(size + 1));
    if (copy != NULL) {
        memcpy(copy, text, size);
        copy[size] = '\0';
    }
    return copy;
}

static int compile(struct FloorStore* store, char* text, sqlite3_stmt** statement)
{
    char const* tail = NULL;
    int const code = text == NULL
                         ? SQLITE_NOMEM
                         : sqlite3_prepare(store->database, text, (int)strlen(text), statement, &tail);
    sqlite3_free(text);
    return code;
}

static int run(struct FloorStore* store, char* text)
{
    sqlite3_stmt* statement = NULL;
    int const code = compile(store, text, &statement);
    if (code != SQLITE_OK) {
        return code;
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
    }
    return sqlite3_finalize(statement);
}

static int change(struct FloorStore* store, char* text)
{
    if (sqlite3_get_autocommit(store->database) != 0) {
        int const code = run(store, sqlite3_mprintf("BEGIN"));
        if (code != SQLITE_OK) {
            sqlite3_free(text);
            return code;
        }
    }
    return run(store, text);
}

static int readText(struct FloorStore* store, char* text, char const** value)
{
    *value = NULL;
    sqlite3_stmt* statement = NULL;
    int code = compile(store, text, &statement);
    if (code != SQLITE_OK) {
        return code;
    }
    if (sqlite3_step(statement) == SQLITE_ROW) {
        char const* const read = (char const*)sqlite3_column_text(statement, 0);
        *value = read == NULL ? NULL : keepText(store, read, (size_t)sqlite3_column_bytes(statement, 0));
    }
    code = sqlite3_finalize(statement);
    return code == SQLITE_OK && *value == NULL ? SQLITE_NOTFOUND : code;
}

static int readList(struct FloorStore* store, char* text, char const*** out)
{
    static char const* const nothing[] = {NULL};
    *out = (char const**)nothing;
    sqlite3_stmt* statement = NULL;
    int code = compile(store, text, &statement);
    if (code != SQLITE_OK) {
        return code;
    }
    char const** list = NULL;
    size_t count = 0;
    size_t capacity = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        int const columns = sqlite3_column_count(statement);
        for (int column = 0; column < columns; ++column) {
            if (count + 1 >= capacity) {
                capacity = capacity == 0 ? kFirstCapacity : 2 * capacity;
                char const** const larger = realloc(list, capacity * sizeof *larger);
                if (larger == NULL) {
                    free(list);
                    sqlite3_finalize(statement);
                    return SQLITE_NOMEM;
                }
                list = larger;
            }
            char const* const read = (char const*)sqlite3_column_text(statement, column);
            list[count++] =
                read == NULL ? NULL : keepText(store, read, (size_t)sqlite3_column_bytes(statement, column));
        }
    }
    code = sqlite3_finalize(statement);
    if (code != SQLITE_OK || count == 0) {
        free(list);
        return code != SQLITE_OK ? code : SQLITE_NOTFOUND;
    }
    list[count] = NULL;
    if (keep(store, list) == NULL) {
        return SQLITE_NOMEM;
    }
    *out = list;
    return SQLITE_OK;
}

// Sessions.

static void setAccess(char const* path, mode_t mode)
{
    struct stat status;
    (void)!(geteuid() == 0 ? lstat(path, &status) : stat(path, &status));
    (void)!chmod(path, mode);
}

static int closeAndFree(struct FloorStore* store)
{
    int const code = sqlite3_close(store->database);
    for (size_t index = 0; index < store->count; ++index) {
        free(store->buffers[index]);
    }
    free(store->buffers);
    free(store);
    return code;
}

/// Whether nothing planted stands at the names that SQLite may open, in a folder that others may write.
static int isUnplanted(char const* path)
{
    static char const* const endings[] = {"", "-journal", "-wal", "-shm"};
    char name[kPathSize];
    struct stat status;
    char* const end = stpcpy(name, path);
    for (int index = 0; index < 4; ++index) {
        strcpy(end, endings[index]);
        if (lstat(name, &status) == 0 && (!S_ISREG(status.st_mode) || status.st_nlink != 1)) {
            return 0;
        }
    }
    strcpy(end, endings[1]);
    return open(name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC) < 0; // nobody has left a journal
}

static int stopQuery(void* context)
{
    (void)context;
    return 1;
}

struct FloorStore* floorOpen(enum FloorDatabase which)
{
    char folder[kPathSize];
    char path[kPathSize];
    struct stat status;
    char const* version;
    struct Place const* const place = &places[which];
    struct FloorStore* const store = calloc(1, sizeof *store);
    if (store == NULL) {
        return NULL;
    }
    formPath(folder, place->folder, "");
    formPath(path, place->folder, place->file);
    int mayOpen = stat(path, &status) == 0;
    if (mayOpen && geteuid() == 0 && stat(folder, &status) == 0 &&
        (status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)) {
        mayOpen = isUnplanted(path);
    }
    if (!mayOpen || sqlite3_open(path, &store->database) != SQLITE_OK) {
        closeAndFree(store);
        return NULL;
    }
    sqlite3_busy_timeout(store->database, 2000);
    sqlite3_progress_handler(store->database, 1000000, stopQuery, NULL);
    for (int row = 0; row < 2; ++row) {
        char* const text = sqlite3_mprintf(
            row == 0 ? "SELECT value FROM pcd_meta WHERE key = 'schema_version'"
                     : "SELECT value FROM pcd_meta WHERE key = 'schema_compatibility_version'");
        if (readText(store, text, &version) != SQLITE_OK || strtol(version, NULL, 10) > 2) {
            closeAndFree(store);
            return NULL;
        }
    }
    sqlite3_progress_handler(store->database, 0, NULL, NULL);
    if (which == kFloorMaster || which == kFloorCache) {
        // These two stay at version 1, so that each opening runs their empty version 2.
        if (run(store, sqlite3_mprintf("BEGIN")) != SQLITE_OK || floorCommit(store) != SQLITE_OK) {
            closeAndFree(store);
            return NULL;
        }
    }
    setAccess(folder, place->folderMode);
    setAccess(path, place->fileMode);
    if (which == kFloorMaster) {
        struct FloorStore* const cache = floorOpen(kFloorCache);
        if (cache != NULL) {
            floorClose(cache);
        }
    }
    return store;
}

int floorClose(struct FloorStore* store)
{
    floorCommit(store);
    return closeAndFree(store);
}

int floorClosePayloads(struct FloorStore* store)
{
    floorCommitPayloads(store);
    return closeAndFree(store);
}

int floorCommit(struct FloorStore* store)
{
    return sqlite3_get_autocommit(store->database) != 0 ? SQLITE_OK : run(store, sqlite3_mprintf("COMMIT"));
}

int floorRollback(struct FloorStore* store)
{
    return sqlite3_get_autocommit(store->database) != 0 ? SQLITE_OK : run(store, sqlite3_mprintf("ROLLBACK"));
}

static int copyBytes(sqlite3_file* source, off_t size, int target)
{
    char buffer[kCopyBufferSize];
    for (off_t offset = 0; offset < size;) {
        size_t const count = size - offset < kCopyBufferSize ? (size_t)(size - offset) : kCopyBufferSize;
        if (source->pMethods->xRead(source, buffer, (int)count, offset) != SQLITE_OK ||
            write(target, buffer, count) != (ssize_t)count) {
            return SQLITE_IOERR;
        }
        offset += (off_t)count;
    }
    return SQLITE_OK;
}

/// The copy of the catalogue that every commit of a payload session makes. A stranger's link in place of the copy is not
/// followed.
static int backUp(struct Place const* place)
{
    char source[kPathSize];
    char folder[kPathSize];
    char target[kPathSize];
    struct stat status;
    struct stat other;
    formPath(source, place->folder, place->file);
    formPath(folder, backupFolder, "");
    formPath(target, backupFolder, place->file);
    // Looked at twice, as a program does that asks whether to copy and one that copies.
    if (stat(source, &status) != 0 || stat(folder, &other) != 0 || stat(source, &status) != 0) {
        return SQLITE_NOTFOUND;
    }
    sqlite3_vfs* const vfs = sqlite3_vfs_find(NULL);
    sqlite3_file* const file = malloc((size_t)vfs->szOsFile);
    if (file == NULL) {
        return SQLITE_NOMEM;
    }
    int code = vfs->xOpen(vfs, source, file, SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB, NULL);
    if (code == SQLITE_OK) {
        int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK;
        if (!(lstat(target, &other) == 0 && S_ISLNK(other.st_mode)) && geteuid() == 0) {
            flags |= O_NOFOLLOW;
        }
        int const descriptor = open(target, flags, status.st_mode & 0777);
        code = descriptor < 0 ? SQLITE_CANTOPEN : copyBytes(file, status.st_size, descriptor);
        if (descriptor >= 0) {
            (void)!fchmod(descriptor, 0644);
            close(descriptor);
        }
        file->pMethods->xClose(file);
    }
    free(file);
    return code;
}

int floorCommitPayloads(struct FloorStore* store)
{
    int const code = floorCommit(store);
    return code != SQLITE_OK ? code : backUp(&places[kFloorCatalogue]);
}

// Payloads.

int floorAddPayload(struct FloorStore* store, char const* payload, char const* family, char const* name,
                    char const* version, char const* signature)
{
    int const code = change(
        store, sqlite3_mprintf("INSERT OR REPLACE INTO payloads (payloadID, productFamily, productName, "
                               "version, signature) VALUES ('%q', '%q', '%q', '%q', '%q')",
                               payload, family, name, version, signature));
    return code != SQLITE_OK
               ? code
               : change(store,
                        sqlite3_mprintf("UPDATE payloads SET installState = '%d', installTime = '%ld' where "
                                        "PayloadID = '%q'",
                                        0, (long)time(NULL), payload));
}

int floorGetPayload(struct FloorStore* store, char const* payload, struct PdbPayloadInfo* out)
{
    char* const text =
        sqlite3_mprintf("SELECT payloadID, productFamily, productName, version, signature, installState, "
                        "installTime FROM payloads WHERE PayloadID = '%q'",
                        payload);
    char** cells = NULL;
    int rows = 0;
    int columns = 0;
    int code =
        text == NULL ? SQLITE_NOMEM : sqlite3_get_table(store->database, text, &cells, &rows, &columns, NULL);
    sqlite3_free(text);
    if (code == SQLITE_OK && rows == 0) {
        code = SQLITE_NOTFOUND;
    }
    if (code == SQLITE_OK) {
        char const* texts[5];
        char** const row = cells + columns;
        for (int column = 0; column < 5; ++column) {
            texts[column] = keepText(store, row[column], strlen(row[column]));
        }
        *out = (struct PdbPayloadInfo){texts[0],
                                       texts[1],
                                       texts[2],
                                       texts[3],
                                       texts[4],
                                       (int32_t)strtol(row[5], NULL, 10),
                                       (int32_t)strtol(row[6], NULL, 10)};
    }
    sqlite3_free_table(cells);
    return code;
}

int floorGetPayloads(struct FloorStore* store, char const*** out)
{
    return readList(store, sqlite3_mprintf("SELECT DISTINCT PayloadID FROM payloads ORDER BY installTime"),
                    out);
}

int floorGetInstalledPayloads(struct FloorStore* store, char const*** out)
{
    return readList(
        store,
        sqlite3_mprintf("SELECT DISTINCT PayloadID FROM payloads WHERE installState = %d ORDER BY "
                        "installTime",
                        2),
        out);
}

static int readState(struct FloorStore* store, char const* payload, int* state)
{
    char const* value;
    int const code = readText(
        store, sqlite3_mprintf("SELECT installState FROM payloads WHERE payloadID = '%q'", payload), &value);
    *state = value != NULL ? (int)strtol(value, NULL, 10) : 0;
    return code;
}

static int recordUpgrade(struct FloorStore* store, char const* original, char const* upgraded)
{
    return change(store, sqlite3_mprintf("INSERT OR REPLACE INTO upgraded_payloads (payloadIDOriginal, "
                                         "payloadIDUpgraded) VALUES ('%q', '%q')",
                                         original, upgraded));
}

int floorMarkInstalled(struct FloorStore* store, char const* payload)
{
    static char const* const readers[] = {
        "SELECT payloadID FROM dependencies WHERE payloadIDb = '%q' AND type=%d",
        "SELECT payloadIDb FROM dependencies WHERE payloadID = '%q' AND type=%d"};
    for (int type = kPdbConflicts; type <= kPdbUpgrades; ++type) {
        for (int declared = 0; declared < 2; ++declared) {
            char const** other = NULL;
            int code = readList(store, sqlite3_mprintf(readers[declared], payload, type), &other);
            for (; code == SQLITE_OK && *other != NULL; ++other) {
                int state;
                int const found = readState(store, *other, &state);
                if (found == SQLITE_NOTFOUND) {
                    continue;
                }
                code = found != SQLITE_OK      ? found
                       : type == kPdbConflicts ? SQLITE_CONSTRAINT
                       : declared != 0         ? recordUpgrade(store, *other, payload)
                                               : recordUpgrade(store, payload, *other);
                if (declared == 0) {
                    break;
                }
            }
            if (code != SQLITE_OK && code != SQLITE_NOTFOUND) {
                return code;
            }
        }
    }
    return change(store, sqlite3_mprintf("UPDATE payloads SET installState ='%d', installTime = '%ld' WHERE "
                                         "PayloadID = '%q'",
                                         2, (long)time(NULL), payload));
}

static int deletePayload(struct FloorStore* store, char const* payload)
{
    return change(store, sqlite3_mprintf("DELETE FROM payloads WHERE payloadID = '%q'", payload));
}

int floorRemovePayload(struct FloorStore* store, char const* payload)
{
    char const** pair;
    int code = readList(
        store, sqlite3_mprintf("SELECT payloadIDOriginal,payloadIDUpgraded FROM upgraded_payloads"), &pair);
    for (; code == SQLITE_OK && *pair != NULL; pair += 2) {
        code = strcmp(pair[1], payload) == 0 ? deletePayload(store, pair[0]) : SQLITE_OK;
    }
    return code != SQLITE_OK && code != SQLITE_NOTFOUND ? code : deletePayload(store, payload);
}

int floorSetPayloadData(struct FloorStore* store, char const* payload, int domain, char const* key,
                        char const* value)
{
    return change(
        store, sqlite3_mprintf("INSERT OR REPLACE INTO payload_data (PayloadID, domain, key, value) VALUES "
                               "('%q', %d, '%q', '%q')",
                               payload, domain, key, value));
}

int floorGetPayloadData(struct FloorStore* store, char const* payload, int domain, char const* key,
                        char const** value)
{
    return readText(store,
                    sqlite3_mprintf("SELECT value FROM payload_data WHERE payloadID = '%q' AND domain = %d "
                                    "AND key = '%q'",
                                    payload, domain, key),
                    value);
}

// Settings.

int floorSetDomainData(struct FloorStore* store, int domain, char const* subdomain, char const* key,
                       char const* value)
{
    return change(store,
                  sqlite3_mprintf("INSERT OR REPLACE INTO domain_data (domain, subdomain, key, value) VALUES "
                                  "(%d, '%q', '%q', '%q')",
                                  domain, subdomain, key, value));
}

int floorGetDomainData(struct FloorStore* store, int domain, char const* subdomain, char const* key,
                       char const** value)
{
    return readText(store,
                    sqlite3_mprintf("SELECT value FROM domain_data WHERE domain = %d AND subdomain = '%q' "
                                    "AND key = '%q'",
                                    domain, subdomain, key),
                    value);
}

int floorGetDomainDataKeys(struct FloorStore* store, int domain, char const* subdomain, char const*** keys)
{
    return readList(store,
                    sqlite3_mprintf("SELECT key FROM domain_data WHERE domain = %d AND subdomain = '%q'",
                                    domain, subdomain),
                    keys);
}

// The hook.

int floorPreSystemCheck(HookLogCallback log)
{
    char path[kPathSize];
    struct stat status;
    char const** identifiers;
    log("::FT::In InstallPreSystemCheckProc");
    log("::FT::CUSTOM ACTION: Opening PDB Session");
    formPath(path, places[kFloorPayloads].folder, places[kFloorPayloads].file);
    struct FloorStore* const store = stat(path, &status) == 0 ? floorOpen(kFloorPayloads) : NULL;
    if (store == NULL) {
        return SQLITE_CANTOPEN;
    }
    log("::FT::CUSTOM ACTION: Uninstall FendrialTessarinVorlaAgent | Supressing error messages");
    log("::FT::CUSTOM ACTION: Getting List of Installed Payloads.");
    int code = floorGetInstalledPayloads(store, &identifiers);
    log("::FT::CUSTOM ACTION: Iterate through Installed Payload IDs");
    for (; code == SQLITE_OK && *identifiers != NULL; ++identifiers) {
        struct PdbPayloadInfo payload;
        code = floorGetPayload(store, *identifiers, &payload);
        if (code == SQLITE_OK && strcmp(payload.productName, "Fendrial 12 Tessarine") == 0 &&
            strcmp(payload.productFamily, "Halvorick") == 0) {
            code = SQLITE_MISUSE;
        }
    }
    log("::FT::CUSTOM ACTION: Closing PDB Session");
    int const closed = floorClosePayloads(store);
    return code != SQLITE_OK ? code : closed;
}
