#include "tools/veskdb/consent.h"

#include "tools/veskdb/message.h"
#include "tools/veskdb/refusal.h"

#include <iostream>
#include <unistd.h>

namespace veskdb {

void requireConsent(std::string const& question, bool given)
{
    if (given) {
        printMessage({question.c_str(), " Yes"});
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw Refusal(kExitError, question + " There is no terminal to ask on; give --yes");
    }
    printMessage({question.c_str(), " [y/N] "}, "");
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw Refusal(kExitNotFound, "declined; nothing was changed");
    }
}

} // namespace veskdb
