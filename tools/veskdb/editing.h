/// The verbs that change records: add, set and remove. Each goes through one session of the record library and
/// happens wholly or not at all: an error, or an interruption before the commit, rolls it back. They print
/// nothing when done, so that no lost output can follow a change.
#ifndef TOOLS_VESKDB_EDITING_H
#define TOOLS_VESKDB_EDITING_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// @return the exit status
/// @throws Refusal, Unreadable; the records are then as they were
int addPayload(Options const& options);
int setPayload(Options const& options);
int setSetting(Options const& options);
int removePayload(Options const& options);
int removeSettings(Options const& options);

} // namespace veskdb

#endif
