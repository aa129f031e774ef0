/// Records on their way from a database to the output.
#ifndef TOOLS_VESKDB_RECORDS_H
#define TOOLS_VESKDB_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace veskdb {

using Null = std::nullptr_t;
using Counts = std::vector<std::pair<std::string, int64_t>>; ///< how many of each name

/// Bytes that SQLite does not take for a text. None of the databases has any, unless another program wrote them.
struct Blob
{
    std::string bytes;
};

/// What SQLite holds in a column, a text of any bytes; or a fact about a file.
using Value = std::variant<Null, bool, int64_t, double, std::string, Blob, Counts>;
using Row = std::vector<Value>;

enum class ValueKind
{
    kPlain,
    kTime, ///< seconds since 1970-01-01 UTC, as a number or its digits; ISO 8601 for people
    kState ///< a PdbInstallState; in words for people
};

/// The kind of a column of any of the databases, by its name.
ValueKind kindOf(std::string const& column);

struct Column
{
    std::string name;    ///< the schema's
    std::string heading; ///< for people; empty: not shown to them
    ValueKind kind = ValueKind::kPlain;
};

/// Records of one kind.
struct Section
{
    std::string name; ///< empty: the only section; a JSON array then, not an object of sections
    bool single;      ///< at most one record, shown with a column per line
    std::vector<Column> columns;
};

} // namespace veskdb

#endif
