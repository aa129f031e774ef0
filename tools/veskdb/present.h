/// Records as people and programs want to see them.
#ifndef TOOLS_VESKDB_PRESENT_H
#define TOOLS_VESKDB_PRESENT_H

#include "tools/veskdb/reader.h"

#include <string>
#include <string_view>
#include <vector>

namespace veskdb {

enum class Presentation
{
    kTable,        ///< aligned columns with headings
    kTabSeparated, ///< a record per line, without headings; a section's name comes first
    kJson          ///< one document with the schema's column names
};

enum class ValueKind
{
    kPlain,
    kTime, ///< seconds since 1970-01-01 UTC; ISO 8601 for people
    kState ///< a PdbInstallState; in words for people
};

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
    std::vector<Row> rows;
};

/// Texts are escaped for people, nulls are "\N". In JSON, bytes that are no UTF-8 become U+FFFD.
///
/// @return the whole output, ending in a newline; empty when there is nothing to show
std::string present(std::vector<Section> const& sections, Presentation presentation);

/// Keeps a text on its line and away from the terminal's controls: "\t", "\n", "\r", "\\", and "\xHH" for other
/// control characters.
std::string escaped(std::string_view text);

/// @return "2009-02-13T23:31:30Z"; the number itself beyond the year 9999
std::string isoTime(int64_t seconds);

} // namespace veskdb

#endif
