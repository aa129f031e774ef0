/// Whether this process sees the real users and groups of files: in a user namespace that maps only some of them, all
/// others look alike.
#ifndef TOOLS_VESKDB_ID_MAPPINGS_H
#define TOOLS_VESKDB_ID_MAPPINGS_H

#include <sys/types.h>

namespace veskdb {

/// Reads what the namespace maps. Call it in the machine's own root; until then everything counts as visible.
void readIdMappings();

bool isUserVisible(uid_t user);
bool isGroupVisible(gid_t group);

} // namespace veskdb

#endif
