/// The verb verify: whether the databases and their backups are sound and as the record library leaves them.
#ifndef TOOLS_VESKDB_VERIFY_H
#define TOOLS_VESKDB_VERIFY_H

#include "tools/veskdb/options.h"
#include "tools/veskdb/present.h"

namespace veskdb {

/// Something wrong with the content of a file, and what to do; no step: restore it.
struct Fault
{
    std::string what;
    std::string nextStep;
};

/// Reads a database file through: its pages and indexes, which database it is, its version. Never throws for
/// what the file holds.
///
/// @return what is wrong; empty when the file is sound
std::vector<Fault> faultsOf(std::string const& path, Database const& database);

/// Verifies the databases named, or all.
///
/// @param sound  receives whether no fault was found; notes are none
/// @return what was found, at least one line for each database
std::vector<Section> verify(Options const& options, bool& sound);

} // namespace veskdb

#endif
