#include "tests/support/shell.h"

#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace testing_support {

ShellResult runShell(ScratchRoot const& root, std::string const& script)
{
    ShellResult result = {};
    root.outside([&] {
        std::string const out = root.outsidePath() + ".out";
        std::string const err = root.outsidePath() + ".err";
        std::string const start =
            "exec >" + out + " 2>" + err + "\nunset LANG LC_ALL; export HOME=/nonexistent\n";
        for (int const each : {SIGHUP, SIGINT, SIGQUIT}) {
            signal(each, SIG_DFL); // nohup and shells' background jobs ignore them
        }
        int const ended = std::system((start + "root=" + root.outsidePath() + "\n" + script).c_str());
        result = {WEXITSTATUS(ended), readFile(out), readFile(err)};
        unlink(out.c_str());
        unlink(err.c_str());
    });
    return result;
}

} // namespace testing_support
