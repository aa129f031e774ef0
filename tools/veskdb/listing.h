/// The verbs that show records: list, show and info.
#ifndef TOOLS_VESKDB_LISTING_H
#define TOOLS_VESKDB_LISTING_H

#include "tools/veskdb/databases.h"
#include "tools/veskdb/options.h"
#include "tools/veskdb/record_reader.h"

namespace veskdb {

/// Each prints its records.
///
/// @return the exit status
/// @throws Refusal (kExitNotFound: no such database or record; kExitError: output was lost), Unreadable
int listPayloads(Options const& options);
int listSettings(Options const& options);
int listCatalogue(Options const& options);
int listActions(Options const& options);
int showPayload(Options const& options);
int showCatalogue(Options const& options);

/// Describes every database's files, even if they do not exist or cannot be read.
int showDatabases(Options const& options);

/// The payloads on record that this one has upgraded: removing it removes them.
std::vector<std::string> originalsUpgradedBy(RecordReader const& reader, std::string const& payloadID);

/// @throws Refusal (kExitNotFound) unless the payload is on record
void requirePayload(RecordReader const& reader, std::string const& payloadID);

} // namespace veskdb

#endif
