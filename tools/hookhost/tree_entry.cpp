#include "tools/hookhost/tree_entry.h"

#include "tools/common/printable.h"
#include "tools/hookhost/digest.h"
#include "tools/hookhost/times.h"

#include <climits>
#include <ctime>
#include <fcntl.h>
#include <fmt/format.h>
#include <type_traits>
#include <unistd.h>
#include <vector>
#if __has_include(<sys/sysmacros.h>)
#include <sys/sysmacros.h>
#endif

namespace hookhost {

namespace {

timespec const& contentDate(struct stat const& status)
{
#ifdef __APPLE__
    return status.st_mtimespec;
#else
    return status.st_mtim;
#endif
}

timespec const& changeDate(struct stat const& status)
{
#ifdef __APPLE__
    return status.st_ctimespec;
#else
    return status.st_ctim;
#endif
}

bool isSame(timespec const& one, timespec const& other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool isFile(TreeEntry const& entry)
{
    return S_ISREG(entry.status.st_mode);
}

bool isDevice(TreeEntry const& entry)
{
    return S_ISCHR(entry.status.st_mode) || S_ISBLK(entry.status.st_mode);
}

char const* kindOf(TreeEntry const& entry)
{
    switch (entry.status.st_mode & S_IFMT) {
    case S_IFREG:
        return "file";
    case S_IFDIR:
        return "folder";
    case S_IFLNK:
        return "link";
    case S_IFIFO:
        return "FIFO";
    case S_IFSOCK:
        return "socket";
    case S_IFCHR:
        return "character device";
    default:
        return "block device";
    }
}

std::string modeOf(TreeEntry const& entry)
{
    return fmt::format("{:04o}", entry.status.st_mode & 07777);
}

std::string ownerOf(TreeEntry const& entry)
{
    return fmt::format("{}:{}", entry.status.st_uid, entry.status.st_gid);
}

std::string deviceOf(TreeEntry const& entry)
{
    auto const device =
        static_cast<std::make_unsigned_t<dev_t>>(entry.status.st_rdev); // signed on some systems
    return fmt::format("{}:{}", major(device), minor(device));
}

std::string contentOf(TreeEntry const& entry)
{
    std::string const digest = entry.digest.size() == 64 ? entry.digest.substr(0, 6) + ".." : entry.digest;
    return fmt::format("{} bytes {}", entry.status.st_size, digest);
}

std::string targetOf(TreeEntry const& entry)
{
    return common::printable(entry.target, "\\\t");
}

/// Whether the last change of a file was well before now. Some systems take dates from a clock that ticks only a few
/// times a second, so a change soon after could leave the same dates.
bool isSettled(struct stat const& status)
{
    constexpr time_t longestTick = 2;
    return changeDate(status).tv_sec + longestTick < std::time(nullptr);
}

std::string readLink(int folder, std::string const& name)
{
    std::vector<char> target(PATH_MAX);
    ssize_t const length = readlinkat(folder, name.c_str(), target.data(), target.size());
    return std::string(target.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
}

std::string readDigest(int folder, std::string const& name, struct stat& status)
{
    int file = -1;
#ifdef O_NOATIME
    file = openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOATIME);
#endif
    if (file < 0) { // only the owner and the super-user may leave the date of the last reading as it is
        file = openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    }
    struct stat opened = {};
    std::string digest = "unreadable";
    if (file >= 0 && fstat(file, &opened) == 0 && S_ISREG(opened.st_mode)) {
        status = opened;
        digest = digestOf(file);
    }
    if (file >= 0) {
        close(file);
    }
    return digest;
}

} // namespace

std::optional<TreeEntry> readEntry(int folder, std::string const& name, TreeEntry const* before)
{
    TreeEntry entry;
    if (fstatat(folder, name.c_str(), &entry.status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    if (S_ISLNK(entry.status.st_mode)) {
        entry.target = readLink(folder, name);
    } else if (isFile(entry)) {
        entry.settled = isSettled(entry.status);
        struct stat const& now = entry.status;
        // Every change of a file sets the date of its status.
        bool const unchanged = before != nullptr && before->settled && before->status.st_dev == now.st_dev &&
                               before->status.st_ino == now.st_ino &&
                               isSame(changeDate(before->status), changeDate(now));
        entry.digest = unchanged ? before->digest : readDigest(folder, name, entry.status);
    }
    return entry;
}

bool differ(TreeEntry const& before, TreeEntry const& after)
{
    struct stat const& one = before.status;
    struct stat const& other = after.status;
    return one.st_mode != other.st_mode || one.st_uid != other.st_uid || one.st_gid != other.st_gid ||
           before.target != after.target || (isDevice(before) && one.st_rdev != other.st_rdev) ||
           (isFile(before) && (one.st_size != other.st_size || before.digest != after.digest ||
                               !isSame(contentDate(one), contentDate(other))));
}

std::string describe(TreeEntry const& entry)
{
    if (S_ISLNK(entry.status.st_mode)) {
        return "link to " + targetOf(entry);
    }
    std::string text = fmt::format("{} {} {}", kindOf(entry), modeOf(entry), ownerOf(entry));
    if (isFile(entry)) {
        text += fmt::format(" {} bytes", entry.status.st_size);
    } else if (isDevice(entry)) {
        text += ' ' + deviceOf(entry);
    }
    return text;
}

std::string describeDifference(TreeEntry const& before, TreeEntry const& after)
{
    if ((before.status.st_mode & S_IFMT) != (after.status.st_mode & S_IFMT)) {
        return fmt::format("{} -> {}", describe(before), describe(after));
    }
    std::vector<std::string> parts;
    auto const compare = [&](char const* what, std::string const& one, std::string const& other) {
        if (one != other) {
            parts.push_back(fmt::format("{} {} -> {}", what, one, other));
        }
    };
    compare("mode", modeOf(before), modeOf(after));
    compare("owner", ownerOf(before), ownerOf(after));
    compare("target", targetOf(before), targetOf(after));
    if (isFile(before)) {
        compare("content", contentOf(before), contentOf(after));
        if (before.digest == after.digest) { // the date of new content does not matter
            compare("date", isoTime(contentDate(before.status)), isoTime(contentDate(after.status)));
        }
    } else if (isDevice(before)) {
        compare("device", deviceOf(before), deviceOf(after));
    }
    return fmt::format("{}", fmt::join(parts, ", "));
}

Json toJson(TreeEntry const& entry)
{
    Json json = {{"kind", kindOf(entry)},
                 {"mode", modeOf(entry)},
                 {"uid", entry.status.st_uid},
                 {"gid", entry.status.st_gid}};
    if (isFile(entry)) {
        json.update({{"bytes", entry.status.st_size},
                     {"sha256", entry.digest},
                     {"date", isoTime(contentDate(entry.status))}});
    } else if (S_ISLNK(entry.status.st_mode)) {
        json["target"] = entry.target;
    } else if (isDevice(entry)) {
        json["device"] = deviceOf(entry);
    }
    return json;
}

} // namespace hookhost
