/// The data store: one SQLite database file, its schema versions, its write transaction, its queries and the
/// memory of their results.
#ifndef LIBDOLMVESK_DATABASE_H
#define LIBDOLMVESK_DATABASE_H

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// The statements that bring a database to one version, run in order; ends with null.
using StatementList = char const* const*;

/// A schema family: the statement lists of versions 1, 2, ... of one kind of database; ends with null.
using SchemaFamily = StatementList const*;

/// Fixes the newest schema version that a store knows. Any other value counts as standard.
enum schemaType : uint32_t
{
    kSchemaTypeStandard = 0, ///< version 2
    kSchemaTypePayload = 1,  ///< version 1
    kSchemaTypeReserved = 2  ///< version 1
};

/// The newest schema version of a type.
int32_t newestSchemaVersion(schemaType type);

/// How long a statement waits for another connection's lock.
constexpr int busyTimeoutMilliseconds = 2000;

/// The values of a single text and of a list before a query has run: an empty text, and a list that has only its
/// terminator. Shared by all stores and never written to.
extern char const* const empty_string;
extern char const** const empty_list;

/// Turns an SQLite result code into a status of this library.
///
/// @param sqliteCode  primary result code
/// @return kVeskOK for SQLITE_OK, SQLITE_ROW and SQLITE_DONE; else the status of the failure
int32_t veskiSQLiteErrorMap(int sqliteCode);

/// Reads the decimal number that a text begins with.
///
/// @return the number, or the nearest one that 32 bits can hold; 0 if the text begins with none
int32_t veskiDecimalNumber(char const* text);

/// Owns every buffer that a store has given to its callers. Buffers are only freed all at once.
class VeskiPool
{
public:
    VeskiPool() = default;
    VeskiPool(VeskiPool const&) = delete;
    VeskiPool& operator=(VeskiPool const&) = delete;
    /// Frees every buffer.
    ~VeskiPool();

    /// @param size  bytes, more than 0
    /// @return a buffer that lives as long as the pool; null if there is no memory
    void* malloc(unsigned long size);

    /// Takes ownership of a buffer; null is kept as an entry, too.
    ///
    /// @param buffer  from std::malloc, or null; freed if it cannot be kept
    /// @return whether it is kept; false if there is no memory
    bool keep(void* buffer);

    /// The buffers kept so far, oldest first; valid until the next one is kept.
    std::vector<void*> const& kept() const { return buffers; }

private:
    std::vector<void*> buffers; // in the order of allocation
};

/// One SQLite database file, open or not. One session owns a store and uses it from one thread.
///
/// Texts and lists that queries return are kept in the store's pool: callers may read them until the store is
/// destroyed, even after dbClose.
///
/// Formats are those of SQLite's own printf with its %q conversion, which doubles single quotes. The query functions
/// have no format attribute: compilers take the q of %q for a length modifier and reject texts as its arguments.
class VeskiDataStore
{
public:
    /// 0: open. 1: not open. Else: the status with which opening failed.
    int32_t status = 1;
    sqlite3* db = nullptr;    ///< null when not open
    bool noAutoBegin = false; ///< true: queries open no transactions; nothing in the library sets it
    VeskiPool pool;
    std::string directory;
    std::string fileName;
    SchemaFamily schemaLists = nullptr;
    bool checkSchema = false; ///< whether dbOpen brings the schema up to date
    ::schemaType schemaType = kSchemaTypeStandard;
    std::string path; ///< of the file; formed once, by dbOpen, so that a commit allocates nothing

    /// A store that is not open, on which every operation does nothing.
    VeskiDataStore();

    /// Opens a database with dbOpen and sets owner and modes of its folder and file; `status` holds the outcome.
    ///
    /// Throws nothing but std::bad_alloc, and that only before anything is opened.
    ///
    /// @param databaseDirectory  folder of the file
    /// @param databaseFileName   name of the file in it
    /// @param schemas            the file's schema family; outlives the store
    /// @param sharedAccess       whether every user may write: see veskiSetDbAccess
    /// @param skipAccess         whether owner and modes are left unchanged
    /// @param type               fixes the newest version
    VeskiDataStore(std::string const& databaseDirectory, std::string const& databaseFileName,
                   SchemaFamily schemas, bool sharedAccess, bool skipAccess, ::schemaType type);
    VeskiDataStore(VeskiDataStore const&) = delete;
    VeskiDataStore& operator=(VeskiDataStore const&) = delete;
    /// Rolls back an open transaction, closes the database and frees every result.
    ~VeskiDataStore();

    /// Opens the file, creating it and its folder if they are missing, and brings its schema up to date, each version
    /// in a transaction of its own. Called by the constructor only.
    ///
    /// Deliberate: if the first version to apply fails, the store stays open; a file that has the tables but not the
    /// version rows is usable.
    ///
    /// @return kVeskOK; kVeskInvalidArgument (the path is too long); kVeskFailed (the path exists but is not a regular
    ///         file, or a later version failed); kVeskAccessDenied (also if veskiOpenConnection refuses the file);
    ///         kVeskSchemaTooNew; kVeskNotFound (a file that needs no new version lacks a version row); a status of
    ///         veskiCreatePath or veskiSQLiteErrorMap. A failure leaves nothing open; versions applied so far stay.
    int32_t dbOpen();

    /// Runs the statements of one schema version in one transaction: all of them or none.
    ///
    /// @param version  1 or more
    /// @return kVeskOK; kVeskFailed (not open, or a statement failed); kVeskInvalidArgument (0 or less);
    ///         kVeskNeedsRestore (the family has no such version); else the status of the commit. A failure
    ///         leaves no transaction open.
    int32_t loadSchema(int version);

    /// Commits the open transaction, if there is one.
    ///
    /// @return kVeskOK (even if not open); else the status of the COMMIT, and the transaction stays open
    ///         unless SQLite itself has rolled it back
    int32_t commit();

    /// Rolls back the open transaction, if there is one.
    ///
    /// @return kVeskOK (even if not open); else the status of the ROLLBACK
    int32_t rollback();

    /// Closes the connection; it cannot be reopened. An open transaction is rolled back. Results stay readable.
    ///
    /// @return kVeskOK (even if not open); else the status of the close; the store is not open even then
    int32_t dbClose();

    /// Formats and compiles one statement. If it begins with "INSERT ", "UPDATE " or "DELETE ", in upper case, and no
    /// transaction is open, it opens one, which lasts until commit or rollback.
    ///
    /// @param statement  receives the statement, which the caller must finalize; null or untouched on failure
    /// @return kVeskOK; kVeskNoMemory; if the store is not open, kVeskNotFound for a text that begins with "SELECT",
    ///         otherwise `status`; else the status of the compilation or of the BEGIN
    int32_t prepare(sqlite3_stmt** statement, char const* format, va_list arguments);

    /// Runs a statement to its end and discards its rows.
    ///
    /// @return kVeskOK; kVeskConstraint (a key or trigger refused a row; the transaction stays open); else the
    ///         status of prepare or of the first failure
    int32_t queryNR(char const* format, ...);

    /// Reads the first column of the first row.
    ///
    /// @param value  receives the text; empty_string if the statement does not compile, null if there is no row, the
    ///               value is NULL or a step fails
    /// @return kVeskOK; kVeskInvalidArgument (null pointer, nothing run); kVeskNotFound (no row, or an SQL
    ///         NULL); kVeskNoMemory; else the status of prepare or of the failure
    int32_t querySingle(char const** value, char const* format, ...);

    /// Reads all columns of all rows.
    ///
    /// @param values  receives a list of all values in row order, an SQL NULL as a null entry, ended by a null
    ///                entry; empty_list on failure, never a part of the rows
    /// @return kVeskOK; kVeskInvalidArgument (null pointer, nothing run); kVeskNotFound (no row);
    ///         kVeskNoMemory; else the status of prepare or of the first failure
    int32_t queryList(char const*** values, char const* format, ...);

    /// Allocates a buffer for a result that the caller assembles itself.
    ///
    /// @param size  bytes, more than 0
    /// @return a buffer that lives as long as the store; null if there is no memory
    void* allocBuffer(unsigned long size) { return pool.malloc(size); }

private:
    std::unique_ptr<class RestrictedVfs> restrictedVfs; ///< in a folder that others may write; else null
    std::shared_ptr<void> keptDescriptors;              ///< see veskiKeepDescriptors

    int32_t readVersions(int32_t& current, int32_t& compatible);
    int32_t applySchemas();
    int32_t textOfColumn(sqlite3_stmt* statement, int column, char const*& text);
};

#endif
