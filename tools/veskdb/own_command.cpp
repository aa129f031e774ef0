#include "tools/veskdb/own_command.h"

#include "tools/common/alternate_root.h"

namespace veskdb {

std::string ownCommand(std::string const& words)
{
    return (common::alternate_root::entered().empty()
                ? "veskdb "
                : "veskdb --root " + common::alternate_root::quotedFromOutside("") + ' ') +
           words;
}

std::string quotedWord(std::string const& word)
{
    std::string quoted = "'";
    for (char const each : word) {
        quoted += each == '\'' ? "'\\''" : std::string(1, each);
    }
    return quoted + "'";
}

} // namespace veskdb
