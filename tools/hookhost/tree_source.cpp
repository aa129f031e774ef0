#include "tools/hookhost/tree_source.h"

#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/tree_walk.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>

namespace hookhost {

bool isSystemFolder(std::string const& path)
{
    return path == "/proc" || path == "/sys" || path == "/dev";
}

FolderTree::FolderTree(std::string const& root)
    : rootFolder(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (!rootFolder.isOpen()) {
        throw Refusal(kExitHostError,
                      fmt::format("root '{}' cannot be read: {}", root, std::strerror(errno)));
    }
}

Tree FolderTree::read(Tree const& before, std::function<void()> const& each) const
{
    Tree tree;
    auto const add = [&](int folder, std::string const& name, std::string const& path) {
        auto const known = before.find(path);
        bool const isKnown = known != before.end() && known->second;
        tree[path] = readEntry(folder, name, isKnown ? &*known->second : nullptr);
        each();
    };
    add(rootFolder.get(), ".", "/");
    walk(rootFolder.get(), ".", "/", [&](int folder, std::string const& name, std::string const& path) {
        bool const belongs = !isSystemFolder(path);
        if (belongs) {
            add(folder, name, path);
        }
        return belongs && tree[path] && S_ISDIR(tree[path]->status.st_mode);
    });
    return tree;
}

std::optional<TreeEntry> FolderTree::original(std::string const& /*path*/) const
{
    return std::nullopt; // the tree read before has every path that existed
}

} // namespace hookhost
