#include "tools/hookhost/overlay.h"

#include "platform/descriptor.h"
#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/tree_walk.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <sched.h>
#include <set>
#include <sstream>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace hookhost {

namespace {

using platform::Descriptor;

/// A path of a folder for system calls that take no descriptor: no character in it has to be escaped, and no other
/// process can change what it leads to.
std::string pathOf(Descriptor const& folder)
{
    return fmt::format("/proc/self/fd/{}", folder.get());
}

[[noreturn]] void refuse(std::string const& reason)
{
    throw Refusal(kExitHostError, reason);
}

Descriptor openFolder(int above, std::string const& path)
{
    return Descriptor(openat(above, path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// Makes a folder with the owner, mode and date of another one.
Descriptor makeFolder(int above, std::string const& name, struct stat const& like)
{
    mkdirat(above, name.c_str(), 0700);
    Descriptor folder = openFolder(above, name);
    timespec const times[] = {like.st_atim, like.st_mtim};
    if (!folder.isOpen() || fchown(folder.get(), like.st_uid, like.st_gid) != 0 ||
        fchmod(folder.get(), like.st_mode & 07777) != 0 || futimens(folder.get(), times) != 0) {
        refuse(fmt::format("no folder for the overlay can be made in memory: {}", std::strerror(errno)));
    }
    return folder;
}

struct MountPoint
{
    int id;
    std::string path;
};

/// The machine's mount points, in the order in which they were mounted.
std::vector<MountPoint> mountPoints()
{
    std::vector<MountPoint> points;
    std::ifstream file("/proc/self/mountinfo");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        MountPoint point = {};
        std::string parent, device, root, escaped;
        fields >> point.id >> parent >> device >> root >> escaped;
        for (std::size_t at = 0; at < escaped.size(); ++at) {
            bool const isEscape = escaped[at] == '\\'; // before three octal digits
            point.path += isEscape
                              ? static_cast<char>(std::strtol(escaped.substr(at + 1, 3).c_str(), nullptr, 8))
                              : escaped[at];
            at += isEscape ? 3 : 0;
        }
        points.push_back(point);
    }
    return points;
}

/// Whether a descriptor's file is on a mount.
bool isOn(int mount, int descriptor)
{
    std::ifstream file(fmt::format("/proc/self/fdinfo/{}", descriptor));
    for (std::string name; file >> name;) {
        if (int id = 0; name == "mnt_id:" && file >> id) {
            return id == mount;
        }
    }
    return false;
}

/// One overlaid file system.
struct Layer
{
    std::string path; ///< where it is below the root, ending in "/"
    Descriptor original;
    Descriptor changed; ///< the upper folder: what differs from the original or was removed
    Descriptor merged;
};

/// Whether a folder of the upper layer hides or moves what the original has at its place.
bool replacesOriginal(int folder, std::string const& name)
{
    Descriptor const opened = openFolder(folder, name);
    for (char const* const attribute :
         {"trusted.overlay.opaque", "user.overlay.opaque", "trusted.overlay.redirect"}) {
        if (fgetxattr(opened.get(), attribute, nullptr, 0) > 0) {
            return true;
        }
    }
    return false;
}

bool isFolder(int folder, std::string const& name)
{
    struct stat status = {};
    return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

class KernelOverlay : public Overlay
{
public:
    explicit KernelOverlay(std::string const& root) : inUserNamespace(!canSetTrustedAttributes())
    {
        char resolved[PATH_MAX];
        if (realpath(root.c_str(), resolved) == nullptr) {
            refuse(fmt::format("root '{}': {}", root, std::strerror(errno)));
        }
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            refuse(fmt::format(
                "--overlay requires root ({}); with --root, that of 'unshare --user --map-root-user' "
                "is enough",
                std::strerror(errno)));
        }
        std::vector<MountPoint> const machine = mountPoints();
        makeMemory();
        overlay(resolved);
        std::string const prefix = std::strcmp(resolved, "/") == 0 ? "" : resolved;
        for (MountPoint const& each : machine) {
            if (each.path.size() > prefix.size() + 1 &&
                each.path.compare(0, prefix.size() + 1, prefix + "/") == 0) {
                addMount(each, each.path.substr(prefix.size()));
            }
        }
    }

    std::string rootFolder() const override { return mergedRoot(); }

    Tree read(Tree const& before, std::function<void()> const& each) const override
    {
        Tree tree;
        for (Layer const& layer : layers) {
            for (std::string const& path : touchedPaths(layer)) {
                auto const known = before.find(path);
                bool const isKnown = known != before.end() && known->second;
                tree[path] =
                    readEntry(layer.merged.get(), nameIn(layer, path), isKnown ? &*known->second : nullptr);
                each();
            }
        }
        return tree;
    }

    std::optional<TreeEntry> original(std::string const& path) const override
    {
        Layer const* nearest = &layers.front();
        for (Layer const& layer : layers) {
            if ((path + '/').compare(0, layer.path.size(), layer.path) == 0 &&
                layer.path.size() > nearest->path.size()) {
                nearest = &layer;
            }
        }
        return readEntry(nearest->original.get(), nameIn(*nearest, path), nullptr);
    }

    void copyChangesTo(std::string const& folder) const override
    {
        for (Layer const& layer : layers) {
            auto const names = namesIn(layer.changed.get(), ".");
            if (!names || names->empty()) {
                continue;
            }
            std::string const target = folder + layer.path;
            for (std::size_t end = target.find('/', folder.size()); end != std::string::npos;
                 end = target.find('/', end + 1)) {
                // It may exist; if it cannot be made, cp reports why.
                mkdir(target.substr(0, end).c_str(), 0755);
            }
            std::vector<std::string> command = {"cp", "-a", "--target-directory", target, "--"};
            for (std::string const& name : *names) {
                command.push_back("./" + name);
            }
            if (!run(std::move(command), layer.changed.get())) {
                refuse(fmt::format("not all changes could be copied to '{}'", target));
            }
        }
    }

private:
    /// Only the machine's own root may use the attributes that an overlay needs to move folders.
    static bool canSetTrustedAttributes()
    {
        std::ifstream file("/proc/self/uid_map");
        std::string inside, outside, count;
        file >> inside >> outside >> count;
        return inside == "0" && outside == "0" && count == "4294967295";
    }

    std::string mergedRoot() const { return pathOf(layers.front().merged); }

    /// Runs a program in a folder.
    static bool run(std::vector<std::string> command, int folder)
    {
        std::vector<char*> arguments;
        arguments.reserve(command.size() + 1);
        for (std::string& each : command) {
            arguments.push_back(each.data());
        }
        arguments.push_back(nullptr);
        pid_t const child = fork();
        if (child == 0) {
            if (fchdir(folder) == 0) {
                execvp(arguments.front(), arguments.data());
            }
            _exit(127);
        }
        int status = -1;
        waitpid(child, &status, 0); // the signals that hookhost handles are blocked
        return status == 0;
    }

    /// Mounts a file system in memory over this process's root. The process still sees the tree below, so no folder of
    /// the machine has to be made or hidden for the mount. "/.." leads to it.
    void makeMemory()
    {
        if (mount("hookhost", "/", "tmpfs", 0, "mode=0700") != 0) {
            refuse(fmt::format("no file system in memory can be mounted for --overlay: {}",
                               std::strerror(errno)));
        }
        memory = openFolder(AT_FDCWD, "/..");
    }

    /// @param original  a folder
    /// @param target    where to mount it, by a path for system calls; empty for a place in memory
    /// @return the layer; no original if there can be no overlay, for the reason that errno has
    Layer makeLayer(Descriptor original, std::string target)
    {
        std::string const number = std::to_string(made++);
        struct stat status = {};
        fstat(original.get(), &status);
        struct stat ours = {};
        ours.st_uid = geteuid();
        ours.st_gid = getegid();
        ours.st_mode = 0700;
        Descriptor const place = makeFolder(memory.get(), number, ours);
        Descriptor changed = makeFolder(place.get(), "changed", status);
        Descriptor const work = makeFolder(place.get(), "work", ours);
        Descriptor const merged = makeFolder(place.get(), "merged", ours);
        target = target.empty() ? pathOf(merged) : target;
        std::string const options =
            fmt::format("lowerdir={},upperdir={},workdir={},{}", pathOf(original), pathOf(changed),
                        pathOf(work), inUserNamespace ? "userxattr" : "redirect_dir=on");
        struct statvfs fileSystem = {};
        fstatvfs(original.get(), &fileSystem);
        unsigned long const flags = fileSystem.f_flag & (MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC);
        if (mount("hookhost", target.c_str(), "overlay", flags, options.c_str()) != 0) {
            return Layer();
        }
        // Not by the descriptor, which is of the folder below the mount.
        Descriptor top =
            openFolder(AT_FDCWD, target == pathOf(merged) ? fmt::format("/../{}/merged", number) : target);
        return {"", std::move(original), std::move(changed), std::move(top)};
    }

    void overlay(std::string const& root)
    {
        Layer layer = makeLayer(openFolder(AT_FDCWD, root), "");
        if (!layer.merged.isOpen()) {
            refuse(fmt::format("the kernel refuses an overlay of '{}': {}; {}", root, std::strerror(errno),
                               inUserNamespace
                                   ? "run this as the machine's root, or give --root with a folder that "
                                     "has no other file systems mounted below it"
                                   : "give --root with a folder on another file system"));
        }
        layer.path = "/";
        layers.push_back(std::move(layer));
    }

    /// Puts a file system that is mounted below the root into the overlay.
    ///
    /// @param path  of the mount point, as seen from inside the root
    void addMount(MountPoint const& point, std::string const& path)
    {
        Descriptor original(open(point.path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        std::string const target = mergedRoot() + path;
        bool const underSystem = isSystemFolder(path.substr(0, path.find('/', 1)));
        bool const isHidden = !isOn(point.id, original.get()); // another one was mounted over it
        if (isHidden || (underSystem && path.substr(0, 4) != "/dev" && !isSystemFolder(path))) {
            return; // what is below /proc or /sys is mounted with these
        }
        if (path == "/dev/shm") {
            mount("hookhost", target.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777");
        } else if (underSystem && path != "/dev") {
            mount(point.path.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
        } else {
            addLayer(point, path, target);
        }
    }

    void addLayer(MountPoint const& point, std::string const& path, std::string const& target)
    {
        Descriptor folder = openFolder(AT_FDCWD, point.path);
        bool const isFile = !folder.isOpen() && errno == ENOTDIR;
        Layer layer = isFile ? Layer() : makeLayer(std::move(folder), target);
        int const error = errno;
        if (layer.merged.isOpen()) {
            layer.path = path + '/';
            if (path != "/dev") {
                layers.push_back(std::move(layer));
            }
        } else if (path == "/dev") {
            mount(point.path.c_str(), target.c_str(), nullptr, MS_BIND, nullptr);
        } else if (isFile) {
            mount(point.path.c_str(), target.c_str(), nullptr, MS_BIND, nullptr);
            mount(nullptr, target.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr);
            notice(fmt::format("'{}' is a mounted file: it is read-only in this run", path));
        } else {
            mount("hookhost", target.c_str(), "tmpfs", MS_RDONLY, "size=4k,mode=0755");
            notice(
                fmt::format("'{}' cannot have an overlay ({}): it is an empty, read-only folder in this run",
                            path, std::strerror(error)));
        }
    }

    /// A path relative to the layer's root.
    static std::string nameIn(Layer const& layer, std::string const& path)
    {
        return path.size() < layer.path.size() ? "." : path.substr(layer.path.size());
    }

    /// Every path that may differ from the original.
    static std::set<std::string> touchedPaths(Layer const& layer)
    {
        std::string const own = layer.path == "/" ? "/" : layer.path.substr(0, layer.path.size() - 1);
        std::set<std::string> paths = {own};
        auto const addBelow = [&](Descriptor const& root, std::string const& path) {
            walk(root.get(), nameIn(layer, path), path + '/',
                 [&](int, std::string const&, std::string const& inner) {
                     paths.insert(inner);
                     return true;
                 });
        };
        walk(layer.changed.get(), ".", layer.path,
             [&](int folder, std::string const& name, std::string const& path) {
                 if (isSystemFolder(path)) {
                     return false;
                 }
                 paths.insert(path);
                 bool const folderNow = isFolder(folder, name);
                 bool const folderBefore = isFolder(layer.original.get(), nameIn(layer, path));
                 if (folderNow && folderBefore && !replacesOriginal(folder, name)) {
                     return true;
                 }
                 if (folderBefore) {
                     addBelow(layer.original, path);
                 }
                 if (folderNow) {
                     addBelow(layer.merged, path);
                 }
                 return false;
             });
        return paths;
    }

    bool const inUserNamespace;
    Descriptor memory;
    std::vector<Layer> layers;
    int made = 0;
};

} // namespace

std::unique_ptr<Overlay> makeOverlay(std::string const& root)
{
    return std::make_unique<KernelOverlay>(root);
}

} // namespace hookhost
