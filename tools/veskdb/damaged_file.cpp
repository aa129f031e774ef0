#include "tools/veskdb/damaged_file.h"

#include "tools/veskdb/created_database.h"
#include "tools/veskdb/sqlite_values.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <set>
#include <sqlite3.h>

namespace veskdb {

namespace {

constexpr std::size_t headerSize = 100;
constexpr int instructionsBetweenLooks = 10000;
constexpr int64_t mebibyte = 1 << 20;

std::size_t numberAt(std::string const& image, std::size_t offset, std::size_t size)
{
    std::size_t number = 0;
    for (std::size_t each = 0; each < size; ++each) {
        number = number << 8U | static_cast<unsigned char>(image[offset + each]);
    }
    return number;
}

void setNumber(std::string& image, std::size_t offset, std::size_t number)
{
    for (std::size_t each = 4; each-- > 0; number >>= 8U) {
        image[offset + each] = static_cast<char>(number & 0xFFU);
    }
}

/// A database that the library has just created.
struct Fresh
{
    std::string image;
    /// First pages of tables and indexes, counted from 1; the other pages hold the schema.
    std::set<std::size_t> roots;
};

Fresh createFresh(Database const& database, std::size_t pageSize)
{
    VeskiDataStore store;
    createInMemory(store, database, newestSchemaVersion(database.store->type), static_cast<int>(pageSize));
    Fresh fresh;
    char const** list = nullptr;
    store.queryList(&list, "SELECT rootpage FROM sqlite_master WHERE rootpage > 0");
    for (; *list != nullptr; ++list) {
        fresh.roots.insert(static_cast<std::size_t>(veskiDecimalNumber(*list)));
    }
    sqlite3_int64 size = 0;
    std::unique_ptr<unsigned char, void (*)(void*)> const bytes(sqlite3_serialize(store.db, "main", &size, 0),
                                                                sqlite3_free);
    if (bytes) {
        fresh.image.assign(reinterpret_cast<char const*>(bytes.get()), static_cast<std::size_t>(size));
    }
    return fresh;
}

/// Whether a page of a table or index may begin at a place of an image: the first cell of a page is at its end, where the
/// content of an empty page begins, 65536 being written as 0.
bool isPage(std::string const& image, std::size_t at, std::size_t pageSize)
{
    if (at + pageSize > image.size()) {
        return false;
    }
    char const kind = image[at];
    std::size_t const cells = numberAt(image, at + 3, 2);
    std::size_t const pointers = at + (kind == 2 || kind == 5 ? 12 : 8);
    std::size_t highest = cells == 0 ? (numberAt(image, at + 5, 2) + 65535) % 65536 : 0;
    for (std::size_t each = 0; each < std::min(cells, pageSize / 4); ++each) {
        highest = std::max(highest, numberAt(image, pointers + 2 * each, 2));
    }
    bool const known = kind == 2 || kind == 5 || kind == 10 || kind == 13;
    return known && highest < pageSize && highest >= pageSize / 2;
}

/// How many of a fresh database's tables and indexes may have their first page at the same place of an image.
std::size_t rootsIn(std::string const& image, Fresh const& fresh, std::size_t pageSize)
{
    return static_cast<std::size_t>(
        std::count_if(fresh.roots.begin(), fresh.roots.end(),
                      [&](std::size_t page) { return isPage(image, (page - 1) * pageSize, pageSize); }));
}

/// The size of an image's pages: the header's if it is possible, else the one that fits best.
std::size_t pageSizeOf(std::string const& image, Database const& database)
{
    std::size_t const inHeader = numberAt(image, 16, 2) == 1 ? 65536 : numberAt(image, 16, 2);
    if (inHeader >= 512 && (inHeader & (inHeader - 1)) == 0) {
        return inHeader;
    }
    std::size_t best = 4096;
    for (std::size_t const size : {1024U, 512U, 2048U, 8192U, 16384U, 32768U, 65536U}) {
        if (rootsIn(image, createFresh(database, size), size) >
            rootsIn(image, createFresh(database, best), best)) {
            best = size;
        }
    }
    return best;
}

/// Whether a row may have been written like this: lost bytes were read as zeros.
bool isPlausible(Table const& table, Row const& row)
{
    bool const hasKey = std::none_of(table.key.begin(), table.key.end(), [&](std::size_t column) {
        return table.key.size() < table.columns.size() && std::holds_alternative<Null>(row[column]);
    });
    return hasKey && std::none_of(row.begin(), row.end(), [](Value const& value) {
               auto const* const text = std::get_if<std::string>(&value);
               return text != nullptr && text->find('\0') != std::string::npos;
           });
}

std::string columnsOf(Table const& table)
{
    return fmt::format("{}", fmt::join(table.columns, ", "));
}

std::string byRowid(Table const& table)
{
    return fmt::format("SELECT rowid, {} FROM {} NOT INDEXED WHERE rowid = ?1", columnsOf(table), table.name);
}

std::string keyColumnsOf(Table const& table)
{
    std::string columns;
    for (std::size_t const each : table.key) {
        columns += (columns.empty() ? "" : ", ") + table.columns[each];
    }
    return columns;
}

} // namespace

/// A query of a damaged copy; damage may end it early.
class DamagedFile::Rows
{
public:
    explicit Rows(sqlite3_stmt* compiled) : statement(compiled) {}
    Rows(Rows const&) = delete;
    Rows& operator=(Rows const&) = delete;
    ~Rows() { sqlite3_finalize(statement); }

    /// Whether the tables and columns of the query exist.
    bool isPossible() const { return statement != nullptr; }

    /// Starts the query again, with a parameter.
    void restart(int64_t parameter)
    {
        sqlite3_reset(statement);
        sqlite3_bind_int64(statement, 1, parameter);
    }

    /// @return whether there is a row; none at the end or at damage
    bool next()
    {
        code = statement != nullptr ? sqlite3_step(statement) : SQLITE_CORRUPT;
        return code == SQLITE_ROW;
    }

    /// Whether the rows have ended in damage.
    bool damaged() const { return code != SQLITE_DONE; }

    int64_t rowid() const { return sqlite3_column_int64(statement, 0); }

    /// The columns after the rowid.
    Row row() const
    {
        Row values(static_cast<std::size_t>(sqlite3_column_count(statement)) - 1);
        for (std::size_t each = 0; each < values.size(); ++each) {
            readValue(statement, static_cast<int>(each) + 1, values[each]);
        }
        return values;
    }

private:
    sqlite3_stmt* statement;
    int code = SQLITE_DONE;
};

void DamagedFile::Closer::operator()(sqlite3* each) const
{
    sqlite3_close(each);
}

DamagedFile::DamagedFile(std::string bytes, Database const& expected)
    : database(expected), image(std::move(bytes))
{
    image.resize(std::max(image.size(), headerSize), '\0');
    open();
    if (!hasOwnSchema()) {
        overlaySchema();
        open();
    }
}

/// Opens the copy, after correcting the number of pages in its header.
void DamagedFile::open()
{
    std::size_t const pageSize = pageSizeOf(image, database);
    std::size_t const pages = (image.size() + pageSize - 1) / pageSize;
    image[18] = image[19] = 1; // no write-ahead log
    setNumber(image, 28, pages);
    sqlite3* opened = nullptr;
    sqlite3_open(":memory:", &opened);
    connection.reset(opened);
    sqlite3_limit(opened, SQLITE_LIMIT_FUNCTION_ARG, 0);
    sqlite3_limit(opened, SQLITE_LIMIT_LENGTH,
                  static_cast<int>(std::min<std::size_t>(image.size() + headerSize, 1000 * mebibyte)));
    sqlite3_deserialize(opened, "main", reinterpret_cast<unsigned char*>(image.data()),
                        static_cast<sqlite3_int64>(image.size()), static_cast<sqlite3_int64>(image.size()),
                        SQLITE_DESERIALIZE_READONLY);
    sqlite3_progress_handler(
        opened, instructionsBetweenLooks,
        [](void* file) {
            return std::chrono::steady_clock::now() > static_cast<DamagedFile*>(file)->end ? 1 : 0;
        },
        this);
    end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
}

/// Whether the schema can be read and has at least one of the database's tables.
bool DamagedFile::hasOwnSchema()
{
    std::vector<Table> const& tables = tablesOf(database);
    return std::any_of(tables.begin(), tables.end(), [&](Table const& table) {
        return query(fmt::format("SELECT {} FROM {}", columnsOf(table), table.name))->isPossible();
    });
}

/// Replaces the damaged pages of the schema by those of a fresh database: the library creates tables and indexes on the
/// same pages in every file.
void DamagedFile::overlaySchema()
{
    std::size_t const pageSize = pageSizeOf(image, database);
    Fresh const fresh = createFresh(database, pageSize);
    image.resize(std::max(image.size(), fresh.image.size()), '\0');
    for (std::size_t page = 1; page <= fresh.image.size() / pageSize; ++page) {
        if (fresh.roots.count(page) == 0) {
            image.replace((page - 1) * pageSize, pageSize, fresh.image, (page - 1) * pageSize, pageSize);
        }
    }
}

std::unique_ptr<DamagedFile::Rows> DamagedFile::query(std::string const& text)
{
    sqlite3_stmt* compiled = nullptr;
    sqlite3_prepare_v2(connection.get(), text.c_str(), -1, &compiled, nullptr);
    return std::make_unique<Rows>(compiled);
}

SalvagedTable DamagedFile::read(Table const& table)
{
    SalvagedTable salvaged;
    end = std::chrono::steady_clock::now() +
          std::chrono::seconds(10 + static_cast<int64_t>(image.size()) / mebibyte);
    readFrom(table, "rowid", salvaged);
    if (salvaged.damaged) {
        readFrom(table, "rowid DESC", salvaged);
        readRound(table, salvaged);
    }
    if (salvaged.misplaced) {
        readEach(table, salvaged);
    }
    readByKey(table, salvaged);
    return salvaged;
}

/// Reads from one end of a table to its other end or to the first damage.
void DamagedFile::readFrom(Table const& table, std::string const& order, SalvagedTable& salvaged)
{
    auto const rows = query(
        fmt::format("SELECT rowid, {} FROM {} NOT INDEXED ORDER BY {}", columnsOf(table), table.name, order));
    std::optional<int64_t> last;
    while (rows->next()) {
        int64_t const rowid = rows->rowid();
        if (keep(table, rowid, rows->row(), salvaged)) {
            bool const ordered = !last || (order == "rowid" ? rowid > *last : rowid < *last);
            salvaged.misplaced = salvaged.misplaced || !ordered;
            last = rowid;
        }
    }
    salvaged.damaged = salvaged.damaged || salvaged.misplaced || rows->damaged();
}

/// Reads a table rowid by rowid: a page that has overwritten another one has rows, perhaps of another table, that cannot
/// be found by theirs.
void DamagedFile::readEach(Table const& table, SalvagedTable& salvaged)
{
    int64_t const last = salvaged.rows.empty() ? 0 : salvaged.rows.rbegin()->first;
    salvaged.rows.clear();
    auto const single = query(byRowid(table));
    for (int64_t rowid = 1; rowid <= last && std::chrono::steady_clock::now() < end; ++rowid) {
        single->restart(rowid);
        if (single->next()) {
            keep(table, rowid, single->row(), salvaged);
        }
    }
}

/// Keeps the first row of each rowid.
///
/// @return whether the row may have been written like this
bool DamagedFile::keep(Table const& table, int64_t rowid, Row const& row, SalvagedTable& salvaged)
{
    if (!isPlausible(table, row)) {
        salvaged.damaged = true;
        return false;
    }
    salvaged.rows.emplace(rowid, row);
    return true;
}

/// Reads between the rows that were reached from both ends: SQLite can seek a rowid behind a damaged page.
void DamagedFile::readRound(Table const& table, SalvagedTable& salvaged)
{
    constexpr int closeProbes = 20000; // more than the rows of a page; after that the steps double
    auto const rows =
        query(fmt::format("SELECT rowid, {} FROM {} NOT INDEXED WHERE rowid >= ?1 ORDER BY rowid",
                          columnsOf(table), table.name));
    int64_t step = 1;
    int failures = 0;
    for (int64_t next = 1; next > 0 && std::chrono::steady_clock::now() < end;) {
        rows->restart(next);
        int64_t last = next - 1;
        bool reachedKnown = false;
        while (!reachedKnown && rows->next()) {
            int64_t const rowid = rows->rowid();
            reachedKnown = salvaged.rows.count(rowid) > 0;
            bool const kept = keep(table, rowid, rows->row(), salvaged);
            salvaged.misplaced = salvaged.misplaced || (kept && rowid <= last);
            last = std::max(last, rowid);
        }
        if (!reachedKnown && !rows->damaged()) {
            return;
        }
        if (reachedKnown) {
            // Continues after the known rows that follow without a gap.
            auto known = salvaged.rows.find(last);
            for (; known != salvaged.rows.end() && known->first == last; ++known, ++last) {
            }
            next = std::max(next + 1, last);
            continue;
        }
        bool const advanced = last >= next;
        failures = advanced ? 0 : failures + 1;
        step = failures <= closeProbes ? 1 : step > INT64_MAX / 2 ? INT64_MAX / 2 : step * 2;
        next = advanced ? last + 1 : next > INT64_MAX - step ? 0 : next + step;
    }
}

/// Reads the rows that the key's index lists. If the key has all columns, the index itself has the rows.
void DamagedFile::readByKey(Table const& table, SalvagedTable& salvaged)
{
    std::string const keys = keyColumnsOf(table);
    auto const single = query(byRowid(table));
    std::set<int64_t> tried;
    for (char const* const order : {"", " DESC"}) {
        std::string orders;
        for (std::size_t const each : table.key) {
            orders += (orders.empty() ? "" : ", ") + table.columns[each] + order;
        }
        auto const entries =
            query(fmt::format("SELECT rowid, {} FROM {} INDEXED BY sqlite_autoindex_{}_1 ORDER BY {}", keys,
                              table.name, table.name, orders));
        while (entries->next()) {
            int64_t const rowid = entries->rowid();
            if (salvaged.rows.count(rowid) > 0 || !tried.insert(rowid).second) {
                continue;
            }
            Row const key = entries->row();
            single->restart(rowid);
            if (single->next() && keep(table, rowid, single->row(), salvaged)) {
                continue;
            }
            Row row(table.columns.size());
            for (std::size_t each = 0; each < key.size(); ++each) {
                row[table.key[each]] = key[each];
            }
            bool const whole = table.key.size() == table.columns.size() && isPlausible(table, row);
            if (whole) {
                salvaged.rows.emplace(rowid, row);
            } else {
                salvaged.lost.push_back(keyOf(table, row));
            }
        }
        if (!entries->damaged()) { // the index is complete: it lists every row
            salvaged.damaged = !salvaged.lost.empty();
            return;
        }
    }
}

} // namespace veskdb
