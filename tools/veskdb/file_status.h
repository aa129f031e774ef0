/// The status of files.
#ifndef TOOLS_VESKDB_FILE_STATUS_H
#define TOOLS_VESKDB_FILE_STATUS_H

#include <optional>
#include <string>
#include <sys/stat.h>

namespace veskdb {

/// Examines a path, following links.
///
/// @return nothing if the path does not exist
/// @throws Refusal (kExitError) if this user may not examine it
std::optional<struct stat> statusOf(std::string const& path);

/// @param status  of the path, which need not exist
/// @throws Refusal (kExitError) if the path leads to something other than a file
void requireFile(std::string const& path, std::optional<struct stat> const& status);

/// Owner and group as "0:80", and the permission bits as "0644".
std::string ownerOf(struct stat const& status);
std::string modeOf(struct stat const& status);

bool isSameFile(struct stat const& one, struct stat const& other);

/// The folder that a path's last component is in.
std::string folderPart(std::string const& path);

} // namespace veskdb

#endif
