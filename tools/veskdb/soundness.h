/// Whether a file is a sound copy of one of the four databases.
#ifndef TOOLS_VESKDB_SOUNDNESS_H
#define TOOLS_VESKDB_SOUNDNESS_H

#include "tools/veskdb/databases.h"

#include <string>
#include <vector>

namespace veskdb {

/// Something wrong with a file, and what to do.
struct Fault
{
    std::string what;
    std::string nextStep; ///< empty: replace the file by a sound copy
};

/// What was found in a file.
struct Findings
{
    std::vector<Fault> faults; ///< the file is damaged or not the database: it must not replace another
    std::vector<Fault> contentFaults; ///< rows that the record library does not write; the file can be used
    std::vector<std::string> notes;   ///< legal, but worth knowing
};

/// Checks a database file: which database it is, its schema, version, size, pages, indexes and rows. Every problem is a
/// finding; throws only std::bad_alloc.
Findings examine(std::string const& path, Database const& database);

/// Whether a file can be read as this database, which need not be sound.
bool isKindOf(std::string const& path, Database const& database);

} // namespace veskdb

#endif
