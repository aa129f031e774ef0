/// Where the trees come from that are compared before and after a phase.
#ifndef TOOLS_HOOKHOST_TREE_SOURCE_H
#define TOOLS_HOOKHOST_TREE_SOURCE_H

#include "platform/descriptor.h"
#include "tools/hookhost/tree_entry.h"

#include <functional>
#include <string>

namespace hookhost {

/// The tree below a run's root, except /proc, /sys and /dev.
class TreeSource
{
public:
    TreeSource() = default;
    TreeSource(TreeSource const&) = delete;
    TreeSource& operator=(TreeSource const&) = delete;
    virtual ~TreeSource() = default;

    /// Reads what may differ from the original tree.
    ///
    /// @param before  the tree as it was read before: digests of files that cannot have changed are used again
    /// @param each    called for every entry read; may throw
    virtual Tree read(Tree const& before, std::function<void()> const& each) const = 0;

    /// The original of a path that no tree read so far contains; no value if the path did not exist.
    virtual std::optional<TreeEntry> original(std::string const& path) const = 0;
};

/// Whether a path is /proc, /sys or /dev, which are not compared.
bool isSystemFolder(std::string const& path);

/// A tree that is read completely each time.
class FolderTree : public TreeSource
{
public:
    /// @param root  the root folder
    /// @throws Refusal if it cannot be read
    explicit FolderTree(std::string const& root);
    Tree read(Tree const& before, std::function<void()> const& each) const override;
    std::optional<TreeEntry> original(std::string const& path) const override;

private:
    platform::Descriptor const rootFolder;
};

} // namespace hookhost

#endif
