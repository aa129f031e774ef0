/// The verbs that show records: list, show and info.
#ifndef TOOLS_VESKDB_READ_H
#define TOOLS_VESKDB_READ_H

#include "tools/veskdb/options.h"
#include "tools/veskdb/present.h"

namespace veskdb {

/// @throws Refusal (kExitNotFound: no such database or record), Unreadable
std::vector<Section> listPayloads(Options const& options);
std::vector<Section> listSettings(Options const& options);
std::vector<Section> listCatalogue(Options const& options);
std::vector<Section> showPayload(Options const& options);
std::vector<Section> showCatalogue(Options const& options);

/// Every database's files, present or not, readable or not.
std::vector<Section> showDatabases();

/// Opens a database's live file to read.
///
/// @throws Refusal (kExitNotFound), Unreadable
RecordReader openToRead(Database const& database);

/// The payloads on record that are recorded as upgraded by this one: removing it removes them.
std::vector<std::string> originalsUpgradedBy(RecordReader const& reader, std::string const& payloadID);

/// @throws Refusal (kExitNotFound) unless the payload is on record
void requirePayload(RecordReader const& reader, std::string const& payloadID);

/// "0:80", and the permission bits as "0644".
std::string ownerOf(struct stat const& status);
std::string modeOf(struct stat const& status);

} // namespace veskdb

#endif
