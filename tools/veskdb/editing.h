/// The verbs that change records: add, set and remove. Each uses one session of the record library and is applied
/// completely or not at all: an error, or an interruption before the commit, rolls it back. They print nothing when
/// done, so that no output can be lost after a change.
#ifndef TOOLS_VESKDB_EDITING_H
#define TOOLS_VESKDB_EDITING_H

#include "tools/veskdb/change.h"
#include "tools/veskdb/options.h"

namespace veskdb {

/// @return the exit status
/// @throws Refusal, Unreadable; the records are unchanged then
int addPayload(Options const& options);
int setPayload(Options const& options);
int setSetting(Options const& options);
int removePayload(Options const& options);
int removeSettings(Options const& options);

/// Why a payload cannot be marked installed: ": it is in conflict with 'A', 'B'", the payloads on record in conflict with
/// it, whichever of the two declares it.
std::string conflictsOnRecord(Change const& change, std::string const& payloadID);

} // namespace veskdb

#endif
