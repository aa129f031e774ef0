/// One file, folder, link or device: its properties that are compared.
#ifndef TOOLS_HOOKHOST_TREE_ENTRY_H
#define TOOLS_HOOKHOST_TREE_ENTRY_H

#include "tools/hookhost/json.h"

#include <map>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace hookhost {

struct TreeEntry
{
    struct stat status = {};
    std::string digest; ///< of a regular file's content; see digestOf
    std::string target; ///< of a symbolic link
    /// The digest is valid until the status changes: the last change was well before the file was read.
    bool settled = false;
};

/// Entries by their absolute path inside the root. No value: the path does not exist.
using Tree = std::map<std::string, std::optional<TreeEntry>>;

/// Reads what a name in a folder refers to; no link is followed at the name itself.
///
/// @param folder  descriptor of the folder
/// @param before  the entry as it was read before, whose digest is used again if the file cannot have changed
/// @return no value if the name does not exist
std::optional<TreeEntry> readEntry(int folder, std::string const& name, TreeEntry const* before);

/// Whether two entries differ in what counts: everything but the dates of what is not a regular file.
bool differ(TreeEntry const& before, TreeEntry const& after);

/// "file 0644 0:0 260 bytes", "folder 0755 0:0", "link to TARGET". Link targets are escaped.
std::string describe(TreeEntry const& entry);

/// "mode 0644 -> 0600, content 12 bytes 9f86d0.. -> 15 bytes 60303a.."; both descriptions if the kinds differ.
std::string describeDifference(TreeEntry const& before, TreeEntry const& after);

/// All properties that are compared.
Json toJson(TreeEntry const& entry);

} // namespace hookhost

#endif
