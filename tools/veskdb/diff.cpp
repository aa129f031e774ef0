#include "tools/veskdb/diff.h"

#include "libdolmvesk/vesk_status.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/schema.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <fmt/format.h>

namespace veskdb {

namespace {

/// The file to compare: a path of a folder is another root.
std::string fileAt(std::string const& path, Database const& database)
{
    auto const status = statusOf(path);
    std::string file = status && S_ISDIR(status->st_mode) ? path + pathOf(database) : path;
    if (!statusOf(file)) {
        throw Refusal(kExitError, fmt::format("'{}': {}", file, describeStatus(kVeskNotFound)));
    }
    return file;
}

/// Compares values in SQLite's order: nulls, numbers, texts, blobs.
///
/// @return less than, equal to or greater than 0
int compare(Value const& one, Value const& other)
{
    auto const rank = [](Value const& value) {
        return std::holds_alternative<Null>(value)          ? 0
               : std::holds_alternative<std::string>(value) ? 2
               : std::holds_alternative<Blob>(value)        ? 3
                                                            : 1;
    };
    if (rank(one) != rank(other)) {
        return rank(one) - rank(other);
    }
    if (auto const* const bytes = bytesIn(one)) {
        return bytes->compare(*bytesIn(other));
    }
    auto const* const left = std::get_if<int64_t>(&one);
    auto const* const right = std::get_if<int64_t>(&other);
    if (left != nullptr && right != nullptr) {
        return *left < *right ? -1 : *left > *right ? 1 : 0;
    }
    auto const number = [](Value const& value) {
        auto const* const whole = std::get_if<int64_t>(&value);
        auto const* const real = std::get_if<double>(&value);
        return whole != nullptr ? static_cast<double>(*whole) : real != nullptr ? *real : 0;
    };
    return number(one) < number(other) ? -1 : number(one) > number(other) ? 1 : 0;
}

/// Collects differences and prints them: as lines, or as records in JSON.
class Differences
{
public:
    explicit Differences(bool asRecords) : json(asRecords), presenter(true)
    {
        presenter.begin(
            {"",
             false,
             {{"difference", ""}, {"table", ""}, {"key", ""}, {"column", ""}, {"old", ""}, {"new", ""}}});
    }

    void add(char mark, Table const& table, Row const& row) { add(mark, table, row, nullptr, {}, {}); }

    void addChange(Table const& table, Row const& before, Row const& after)
    {
        for (std::size_t each = 0; each < table.columns.size(); ++each) {
            if (compare(before[each], after[each]) != 0) {
                add('~', table, after, &table.columns[each], before[each], after[each]);
            }
        }
    }

    /// @return whether there was any
    bool print()
    {
        json ? presenter.print() : veskdb::print(lines);
        return any;
    }

private:
    void add(char mark, Table const& table, Row const& row, std::string const* column, Value const& before,
             Value const& after)
    {
        any = true;
        std::string const key = keyOf(table, row);
        if (json) {
            std::string const name = mark == '+' ? "added" : mark == '-' ? "removed" : "changed";
            presenter.add(
                {name, table.name, key, column != nullptr ? Value(*column) : Value(), before, after});
            return;
        }
        lines += fmt::format("{} {} {}", mark, table.name, key);
        if (column != nullptr) {
            ValueKind const kind = kindOf(*column);
            lines += fmt::format(" {} {} -> {}", *column, textOf(before, kind), textOf(after, kind));
        }
        lines += '\n';
    }

    bool const json;
    Presenter presenter;
    std::string lines;
    bool any = false;
};

/// Merges the rows of both files, which come in the order of their keys.
void compareTable(Table const& table, RecordReader const& one, RecordReader const& other,
                  Differences& differences)
{
    Cursor before = one.query(selectAll(table));
    Cursor after = other.query(selectAll(table));
    bool hasBefore = before.next();
    bool hasAfter = after.next();
    while (hasBefore || hasAfter) {
        int order = !hasBefore ? 1 : !hasAfter ? -1 : 0;
        for (auto column = table.key.begin(); column != table.key.end() && order == 0; ++column) {
            order = compare(before.row()[*column], after.row()[*column]);
        }
        if (order < 0) {
            differences.add('-', table, before.row());
        } else if (order > 0) {
            differences.add('+', table, after.row());
        } else {
            differences.addChange(table, before.row(), after.row());
        }
        hasBefore = order <= 0 ? before.next() : hasBefore;
        hasAfter = order >= 0 ? after.next() : hasAfter;
    }
}

} // namespace

int diff(Options const& options)
{
    Database const& database = options.database();
    if (options.files.empty() && !database.store->hasBackup) {
        throw Refusal(
            kExitError,
            fmt::format("{} has no backup of its own; name a file or a root to compare with", database.name));
    }
    std::string const before = options.files.empty() ? backupPathOf(database) : options.files[0];
    std::string const after = options.files.size() < 2 ? pathOf(database) : options.files[1];
    Tables names;
    for (Table const& table : tablesOf(database)) {
        names.push_back(table.name);
    }
    auto const one = openToRead(fileAt(before, database), database, names);
    auto const other = openToRead(fileAt(after, database), database, names);
    Differences differences(options.json);
    for (Table const& table : tablesOf(database)) {
        compareTable(table, *one, *other, differences);
    }
    return differences.print() ? kExitNotFound : kExitDone;
}

} // namespace veskdb
