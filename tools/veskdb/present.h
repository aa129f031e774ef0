/// Records as people and programs want to see them.
#ifndef TOOLS_VESKDB_PRESENT_H
#define TOOLS_VESKDB_PRESENT_H

#include "tools/veskdb/records.h"

namespace veskdb {

enum class Presentation
{
    kTable,        ///< aligned columns with headings
    kTabSeparated, ///< a record per line, without headings; a section's name comes first
    kJson          ///< one document with the schema's column names
};

/// Texts are escaped for people, nulls are "\N". In JSON, bytes that are no UTF-8 become U+FFFD,
/// and the record has an object "hex" with those values byte by byte.
///
/// @return the whole output, ending in a newline; empty when there is nothing to show
std::string present(std::vector<Section> const& sections, Presentation presentation);

/// Writes records to standard output: as JSON, else as a table on a terminal and tab-separated elsewhere.
///
/// @throws Refusal (kExitError) when output is lost
void print(std::vector<Section> const& sections, bool json);

/// Writes a text to standard output.
///
/// @throws Refusal (kExitError) when output is lost
void print(std::string const& text);

} // namespace veskdb

#endif
