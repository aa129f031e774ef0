#include "tools/hookhost/core_file.h"

#include <fmt/format.h>

namespace hookhost {

std::string describeCoreFile(bool dumped, pid_t process, Crash const& crash, std::string const& root)
{
    if (dumped) {
        return fmt::format("core file: {}/cores/core.{}", root, process);
    }
    return crash.signal != 0 && crash.coreLimit == 0
               ? "no core file: the limit on core files is 0; raise it with ulimit -c unlimited"
               : "no core file: the system wrote none";
}

} // namespace hookhost
