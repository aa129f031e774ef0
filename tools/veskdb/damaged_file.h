/// Reads a database file that is damaged.
#ifndef TOOLS_VESKDB_DAMAGED_FILE_H
#define TOOLS_VESKDB_DAMAGED_FILE_H

#include "tools/veskdb/schema.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace veskdb {

/// What could be read of a table.
struct SalvagedTable
{
    std::map<int64_t, Row> rows;   ///< by rowid
    bool damaged = false;          ///< whether a part of the table could not be read
    bool misplaced = false;        ///< whether some rows were not in the order of their rowids
    std::vector<std::string> lost; ///< keys of rows of which nothing else could be read
};

/// A private copy of a damaged database file, in memory.
class DamagedFile
{
public:
    /// Repairs in the copy what prevents SQLite from opening it: a wrong number of pages, and a schema that is not the
    /// database's own.
    ///
    /// @param bytes  of the file
    DamagedFile(std::string bytes, Database const& database);

    /// Reads all rows of a table that SQLite can reach: by rowid, from both ends and around the damage, and by its key.
    SalvagedTable read(Table const& table);

private:
    class Rows;

    void open();
    bool hasOwnSchema();
    void overlaySchema();
    static bool keep(Table const& table, int64_t rowid, Row const& row, SalvagedTable& salvaged);
    void readFrom(Table const& table, std::string const& order, SalvagedTable& salvaged);
    void readEach(Table const& table, SalvagedTable& salvaged);
    void readRound(Table const& table, SalvagedTable& salvaged);
    void readByKey(Table const& table, SalvagedTable& salvaged);
    std::unique_ptr<Rows> query(std::string const& text);

    struct Closer
    {
        void operator()(sqlite3* connection) const;
    };
    Database const& database;
    std::string image;
    std::unique_ptr<sqlite3, Closer> connection;
    std::chrono::steady_clock::time_point end;
};

} // namespace veskdb

#endif
