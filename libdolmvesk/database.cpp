#include "libdolmvesk/database.h"

#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/shared_folder.h"
#include "libdolmvesk/vesk_status.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <sqlite3.h>

namespace {

char const* const emptyListEntries[] = {nullptr};

struct SQLiteDeleter
{
    void operator()(void* text) const { sqlite3_free(text); }
};
using SQLiteText = std::unique_ptr<char, SQLiteDeleter>;

/// Owns a compiled statement for the length of one query.
class Statement
{
public:
    Statement() = default;
    Statement(Statement const&) = delete;
    Statement& operator=(Statement const&) = delete;
    ~Statement() { sqlite3_finalize(handle); }

    /// Ends the statement. After sqlite3_prepare, only finalizing returns the actual error of a failed step, so its
    /// status wins.
    ///
    /// @param stepped  the status of the last step
    /// @return the status of the query
    int32_t finalize(int32_t stepped)
    {
        int const code = sqlite3_finalize(handle);
        handle = nullptr;
        return code != SQLITE_OK ? veskiSQLiteErrorMap(code) : stepped;
    }

    sqlite3_stmt* handle = nullptr;
};

/// While it lives, limits the time and memory that reading the versions of a file takes, and the file's schema, which
/// SQLite reads first: a crafted file must not block opening.
class VersionReading
{
public:
    /// @param shared  whether other users may have crafted the file. Only then are views, functions, long values and
    ///                large schemas restricted, too: an administrator's own views must not prevent a file's upgrade
    VersionReading(sqlite3* database, bool shared) : db(database), restricted(shared)
    {
        auto* const interrupt = +[](void*) { return 1; };
        sqlite3_progress_handler(db, shared ? mostInstructionsOfShared : mostInstructionsOfOwn, interrupt,
                                 nullptr);
        if (restricted) {
            exchangeLimits();
            sqlite3_db_config(db, enableViews, 0, nullptr); // for good: the library uses none
        }
    }
    VersionReading(VersionReading const&) = delete;
    VersionReading& operator=(VersionReading const&) = delete;
    ~VersionReading()
    {
        sqlite3_progress_handler(db, 0, nullptr, nullptr);
        if (restricted) {
            exchangeLimits();
        }
    }

private:
    // The most that one statement may run. Reading the versions of an intact file takes some hundred VDBE
    // instructions. Of a schema, a row takes about ten, but its text is parsed between two of them and can take fifty
    // times its length in memory.
    static int const mostInstructionsOfOwn = 1'000'000;
    static int const mostInstructionsOfShared = 2'000;
    static int const enableViews = 1015; // SQLITE_DBCONFIG_ENABLE_VIEW; older SQLite versions ignore it

    struct Limit
    {
        int category;
        int value; // to set, then the one to restore
    };

    void exchangeLimits()
    {
        for (auto& limit : limits) {
            limit.value = sqlite3_limit(db, limit.category, limit.value);
        }
    }

    sqlite3* const db;
    bool const restricted;
    std::array<Limit, 4> limits = {{{SQLITE_LIMIT_LENGTH, 1'000'000},
                                    {SQLITE_LIMIT_SQL_LENGTH, 2'000},
                                    {SQLITE_LIMIT_FUNCTION_ARG, 0},
                                    {SQLITE_LIMIT_VDBE_OP, 10'000}}};
};

/// A write transaction of a store. The destructor rolls it back unless it has been committed.
class Transaction
{
public:
    explicit Transaction(VeskiDataStore& owner) : store(owner) { store.queryNR("BEGIN"); }
    Transaction(Transaction const&) = delete;
    Transaction& operator=(Transaction const&) = delete;
    ~Transaction() { store.rollback(); }

    int32_t commit() { return store.queryNR("COMMIT"); }

private:
    VeskiDataStore& store;
};

bool beginsWith(char const* text, char const* keyword)
{
    return std::strncmp(text, keyword, std::strlen(keyword)) == 0;
}

bool changesRows(char const* text)
{
    return beginsWith(text, "INSERT ") || beginsWith(text, "UPDATE ") || beginsWith(text, "DELETE ");
}

} // namespace

char const* const empty_string = "";
char const** const empty_list = const_cast<char const**>(emptyListEntries);

int32_t newestSchemaVersion(schemaType type)
{
    return type == kSchemaTypePayload || type == kSchemaTypeReserved ? 1 : 2;
}

int32_t veskiSQLiteErrorMap(int sqliteCode)
{
    switch (sqliteCode) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return kVeskOK;
    case SQLITE_NOMEM:
        return kVeskNoMemory;
    case SQLITE_IOERR:
    case SQLITE_CORRUPT:
    case SQLITE_FULL:
    case SQLITE_NOTADB:
        return kVeskIOError;
    case SQLITE_CONSTRAINT:
        return kVeskConstraint;
    case SQLITE_NOTFOUND:
    case SQLITE_EMPTY:
        return kVeskNotFound;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_AUTH:
        return kVeskAccessDenied;
    case SQLITE_BUSY:
        return kVeskBusy;
    default:
        // Deliberate: SQLITE_LOCKED is not kVeskBusy; it is a conflict within one connection, which waiting cannot end.
        return kVeskError;
    }
}

int32_t veskiDecimalNumber(char const* text)
{
    return static_cast<int32_t>(std::clamp<long>(std::strtol(text, nullptr, 10), INT32_MIN, INT32_MAX));
}

VeskiPool::~VeskiPool()
{
    for (void* buffer : buffers) {
        std::free(buffer);
    }
}

void* VeskiPool::malloc(unsigned long size)
{
    void* const buffer = std::malloc(size);
    return keep(buffer) ? buffer : nullptr;
}

bool VeskiPool::keep(void* buffer)
{
    try {
        buffers.push_back(buffer);
    } catch (std::bad_alloc const&) {
        std::free(buffer);
        return false;
    }
    return true;
}

VeskiDataStore::VeskiDataStore(std::string const& databaseDirectory, std::string const& databaseFileName,
                               SchemaFamily schemas, bool sharedAccess, bool skipAccess, ::schemaType type)
    : directory(databaseDirectory), fileName(databaseFileName), schemaLists(schemas), checkSchema(true),
      schemaType(type)
{
    try {
        status = dbOpen();
        if (status == kVeskOK && !skipAccess) {
            veskiSetDbAccess(directory, fileName, sharedAccess);
        }
    } catch (std::bad_alloc const&) {
        dbClose();
        status = kVeskNoMemory;
    }
}

VeskiDataStore::VeskiDataStore() = default;

VeskiDataStore::~VeskiDataStore()
{
    dbClose();
}

int32_t VeskiDataStore::dbOpen()
{
    if (!veskiPathAppend(directory, fileName, path)) {
        return kVeskInvalidArgument;
    }
    if (!veskiFileExists(path)) {
        if (veskiPathExists(path)) {
            return kVeskFailed;
        }
        int32_t const created = veskiCreatePath(directory);
        if (created != kVeskOK) {
            return created;
        }
    }
    keptDescriptors = veskiKeepDescriptors();
    int const opened =
        veskiOpenConnection(directory, path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, restrictedVfs, &db);
    if (opened != SQLITE_OK) {
        sqlite3_close(db); // SQLite allocates a connection even for most failures
        db = nullptr;
        return veskiSQLiteErrorMap(opened);
    }
    sqlite3_busy_timeout(db, busyTimeoutMilliseconds);
    status = kVeskOK;
    if (!checkSchema) {
        return kVeskOK;
    }
    int32_t const applied = applySchemas();
    if (applied != kVeskOK) {
        dbClose();
    }
    return applied;
}

/// Reads the file's version and the oldest library version that may use it; leaves unchanged what is missing.
int32_t VeskiDataStore::readVersions(int32_t& current, int32_t& compatible)
{
    char const* value = nullptr;
    int32_t result = querySingle(&value, "SELECT value FROM pcd_meta WHERE key = 'schema_version'");
    if (result == kVeskOK) {
        current = veskiDecimalNumber(value);
        result = querySingle(&value, "SELECT value FROM pcd_meta WHERE key = 'schema_compatibility_version'");
        if (result == kVeskOK) {
            compatible = veskiDecimalNumber(value);
        }
    }
    return result;
}

int32_t VeskiDataStore::applySchemas()
{
    int32_t const newest = newestSchemaVersion(schemaType);
    int32_t current = 0;
    int32_t compatible = 0;
    int32_t result = kVeskOK;
    bool const shared = restrictedVfs != nullptr;
    std::optional<VersionReading> bounds(std::in_place, db, shared);
    result = readVersions(current, compatible);
    if (!shared) { // an upgrade of many rows may take long; in the shared store, it reads the schema once more
        bounds.reset();
    }
    if (compatible > newest) {
        return kVeskSchemaTooNew;
    }
    for (int applied = current; applied < newest; ++applied) {
        result = loadSchema(applied + 1);
        if (result != kVeskOK) {
            return applied == current ? kVeskOK : result;
        }
    }
    // If no version was applied, this is the status of reading the versions: a file that lacks a version row is
    // refused.
    return result;
}

int32_t VeskiDataStore::loadSchema(int version)
{
    if (db == nullptr) {
        return kVeskFailed;
    }
    if (version <= 0) {
        return kVeskInvalidArgument;
    }
    for (int index = 0; index < version; ++index) {
        if (schemaLists[index] == nullptr) {
            return kVeskNeedsRestore;
        }
    }
    Transaction transaction(*this);
    for (StatementList statement = schemaLists[version - 1]; *statement != nullptr; ++statement) {
        if (queryNR(*statement) != kVeskOK) {
            return kVeskFailed; // Deliberate: one status for all; applySchemas needs to know only that it failed
        }
    }
    return transaction.commit();
}

int32_t VeskiDataStore::commit()
{
    if (status != kVeskOK) {
        return kVeskOK;
    }
    if (sqlite3_get_autocommit(db) == 0) {
        int32_t const committed = queryNR("COMMIT");
        if (committed != kVeskOK) {
            return committed;
        }
    }
    veskiFlushFileBuffers(path);
    return kVeskOK;
}

int32_t VeskiDataStore::rollback()
{
    if (status != kVeskOK || sqlite3_get_autocommit(db) != 0) {
        return kVeskOK;
    }
    return queryNR("ROLLBACK");
}

int32_t VeskiDataStore::dbClose()
{
    if (status != kVeskOK || db == nullptr) {
        return kVeskOK;
    }
    int const code = sqlite3_close(db);
    db = nullptr;
    status = kVeskFailed;
    return veskiSQLiteErrorMap(code);
}

int32_t VeskiDataStore::prepare(sqlite3_stmt** statement, char const* format, va_list arguments)
{
    SQLiteText const text(sqlite3_vmprintf(format, arguments));
    if (!text) {
        return kVeskNoMemory;
    }
    if (status != kVeskOK) {
        return beginsWith(text.get(), "SELECT") ? kVeskNotFound : status;
    }
    int32_t result = kVeskOK;
    if (sqlite3_get_autocommit(db) != 0 && !noAutoBegin && changesRows(text.get())) {
        result = queryNR("BEGIN");
    }
    // Not sqlite3_prepare_v2, which may recompile a statement silently.
    char const* tail = nullptr;
    int const code =
        sqlite3_prepare(db, text.get(), static_cast<int>(std::strlen(text.get())), statement, &tail);
    if (code != SQLITE_OK) {
        return veskiSQLiteErrorMap(code);
    }
    if (result != kVeskOK) {
        sqlite3_finalize(*statement);
        *statement = nullptr;
    }
    return result;
}

int32_t VeskiDataStore::queryNR(char const* format, ...)
{
    Statement statement;
    va_list arguments;
    va_start(arguments, format);
    int32_t result = prepare(&statement.handle, format, arguments);
    va_end(arguments);
    if (result != kVeskOK) {
        return result;
    }
    int code = SQLITE_ROW;
    while (code == SQLITE_ROW) {
        code = sqlite3_step(statement.handle);
    }
    // Deliberate: no second step after SQLITE_ERROR. SQLite would run the statement again: after a full disk has rolled
    // back the transaction, this one statement alone would then be committed and reported as success.
    return statement.finalize(veskiSQLiteErrorMap(code));
}

int32_t VeskiDataStore::querySingle(char const** value, char const* format, ...)
{
    if (value == nullptr) {
        return kVeskInvalidArgument;
    }
    *value = empty_string;
    Statement statement;
    va_list arguments;
    va_start(arguments, format);
    int32_t result = prepare(&statement.handle, format, arguments);
    va_end(arguments);
    if (result != kVeskOK) {
        return result;
    }
    *value = nullptr;
    int const code = sqlite3_step(statement.handle);
    if (code == SQLITE_ROW) {
        result = textOfColumn(statement.handle, 0, *value);
        if (result == kVeskOK && *value == nullptr) {
            result = kVeskNotFound;
        }
    } else {
        result = code == SQLITE_DONE ? kVeskNotFound : veskiSQLiteErrorMap(code);
    }
    return statement.finalize(result);
}

int32_t VeskiDataStore::queryList(char const*** values, char const* format, ...)
{
    if (values == nullptr) {
        return kVeskInvalidArgument;
    }
    *values = empty_list;
    Statement statement;
    va_list arguments;
    va_start(arguments, format);
    int32_t result = prepare(&statement.handle, format, arguments);
    va_end(arguments);
    if (result != kVeskOK) {
        return result;
    }
    // The list's entries are what the pool keeps from here on: a buffer for each text, null for each SQL NULL.
    size_t const first = pool.kept().size();
    int code = sqlite3_step(statement.handle);
    for (; code == SQLITE_ROW; code = sqlite3_step(statement.handle)) {
        int const columns = sqlite3_column_count(statement.handle);
        for (int column = 0; column < columns; ++column) {
            char const* text = nullptr;
            result = textOfColumn(statement.handle, column, text);
            if (result == kVeskOK && text == nullptr && !pool.keep(nullptr)) {
                result = kVeskNoMemory;
            }
            if (result != kVeskOK) {
                return statement.finalize(result);
            }
        }
    }
    result = statement.finalize(veskiSQLiteErrorMap(code));
    if (result != kVeskOK) {
        return result;
    }
    size_t const count = pool.kept().size() - first;
    if (count == 0) {
        return kVeskNotFound;
    }
    auto* const list = static_cast<char const**>(pool.malloc((count + 1) * sizeof(char const*)));
    if (list == nullptr) {
        return kVeskNoMemory;
    }
    std::memcpy(list, pool.kept().data() + first, count * sizeof(char const*));
    list[count] = nullptr;
    *values = list;
    return kVeskOK;
}

/// Copies the text of a column into the pool; null for an SQL NULL.
int32_t VeskiDataStore::textOfColumn(sqlite3_stmt* statement, int column, char const*& text)
{
    auto const* const value = reinterpret_cast<char const*>(sqlite3_column_text(statement, column));
    if (value == nullptr) {
        text = nullptr;
        return sqlite3_column_type(statement, column) == SQLITE_NULL ? kVeskOK : kVeskNoMemory;
    }
    // Not sqlite3_column_bytes: it locks the connection for each text, and callers read only up to the first zero.
    size_t const size = std::strlen(value) + 1;
    void* const copy = pool.malloc(size);
    text = copy != nullptr ? static_cast<char const*>(std::memcpy(copy, value, size)) : nullptr;
    return text != nullptr ? kVeskOK : kVeskNoMemory;
}
