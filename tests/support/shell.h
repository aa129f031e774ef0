/// Runs the built programs as their users do: from a shell, outside the scratch root.
#ifndef TESTS_SUPPORT_SHELL_H
#define TESTS_SUPPORT_SHELL_H

#include "tests/support/scratch_root.h"

#include <string>

namespace testing_support {

struct ShellResult
{
    int status;
    std::string out;
    std::string err;
};

/// Runs a script in the machine's own root, with the variable "root" naming the scratch root's folder.
ShellResult runShell(ScratchRoot const& root, std::string const& script);

} // namespace testing_support

#endif
