/// Whether this process can see the real users and groups of files: a user namespace shows all those that it does not
/// map as one.
#ifndef TOOLS_VESKDB_ID_MAPPINGS_H
#define TOOLS_VESKDB_ID_MAPPINGS_H

#include <sys/types.h>

namespace veskdb {

/// Reads the namespace's mappings. Call it in the machine's own root; until then all users and groups count as visible.
void readIdMappings();

bool isUserVisible(uid_t user);
bool isGroupVisible(gid_t group);

} // namespace veskdb

#endif
