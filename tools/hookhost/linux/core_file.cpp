#include "tools/hookhost/core_file.h"

#include <fmt/format.h>
#include <fstream>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hookhost {

namespace {

std::string settingOf(char const* name)
{
    std::ifstream file(std::string("/proc/sys/kernel/") + name);
    std::string value;
    std::getline(file, value);
    return value;
}

/// The kernel's pattern as a pattern for glob: with the process's id, and "*" for every other value.
std::string globFor(std::string const& pattern, pid_t process)
{
    std::string result;
    bool namesProcess = false;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] != '%' || at + 1 == pattern.size()) {
            result += pattern[at];
            continue;
        }
        char const what = pattern[++at];
        namesProcess |= what == 'p';
        result += what == '%' ? "%" : what == 'p' || what == 'P' ? std::to_string(process) : "*";
    }
    return namesProcess || settingOf("core_uses_pid") == "0" ? result
                                                             : result + '.' + std::to_string(process);
}

/// A path as a pattern for glob that matches this path alone.
std::string literal(std::string const& path)
{
    std::string result;
    for (char const each : path) {
        result += std::string(std::string("*?[\\").find(each) != std::string::npos ? "\\" : "") + each;
    }
    return result;
}

/// The newest file that matches; empty if there is none.
std::string newest(std::string const& pattern)
{
    glob_t found = {};
    std::string result;
    time_t latest = 0;
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        for (std::size_t each = 0; each < found.gl_pathc; ++each) {
            struct stat status = {};
            if (stat(found.gl_pathv[each], &status) == 0 && status.st_mtime >= latest) {
                latest = status.st_mtime;
                result = found.gl_pathv[each];
            }
        }
    }
    globfree(&found);
    return result;
}

} // namespace

std::string describeCoreFile(bool dumped, pid_t process, Crash const& crash, std::string const& root)
{
    std::string const pattern = settingOf("core_pattern");
    bool const toProgram = pattern.substr(0, 1) == "|";
    std::string folder = root;
    if (pattern.substr(0, 1) != "/") {
        folder += crash.folder.data();
        folder += folder.substr(folder.size() - 1) == "/" ? "" : "/";
    }
    if (dumped && toProgram) {
        return fmt::format("core file: handed to {}", pattern.substr(1));
    }
    if (dumped) {
        std::string const path = newest(literal(folder) + globFor(pattern, process));
        return "core file: " + (path.empty() ? folder + pattern + " (the kernel's pattern)" : path);
    }
    if (crash.coreLimit == 0 && !toProgram) {
        return "no core file: the limit on core files is 0; raise it with ulimit -c unlimited";
    }
    if (crash.user != geteuid()) {
        return "no core file: the hook changed its user; see fs.suid_dumpable in core(5)";
    }
    return fmt::format("no core file: the kernel could not {}; see core(5)",
                       toProgram ? "hand it to " + pattern.substr(1) : "write " + folder + pattern);
}

} // namespace hookhost
