/// Records that are read from a database and printed.
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

/// Bytes that SQLite does not treat as text. The databases have none, unless another program wrote them.
struct Blob
{
    std::string bytes;
};

/// A value of a column, or a fact about a file. A text may have any bytes.
using Value = std::variant<Null, bool, int64_t, double, std::string, Blob, Counts>;
using Row = std::vector<Value>;

enum class ValueKind
{
    kPlain,
    kTime, ///< seconds since 1970-01-01 UTC, as a number or its digits; printed in ISO 8601, except in JSON
    kState ///< a PdbInstallState; printed as a word, except in JSON
};

/// The kind of a column of any of the databases, by its name.
ValueKind kindOf(std::string const& column);

struct Column
{
    std::string name;    ///< the schema's
    std::string heading; ///< in tables; empty: the column is printed only in JSON
    ValueKind kind = ValueKind::kPlain;
};

/// Records of one kind.
struct Section
{
    std::string name; ///< empty: the only section; in JSON an array then, not an object of sections
    bool single;      ///< has at most one record, printed with a column per line
    std::vector<Column> columns;
};

} // namespace veskdb

#endif
