// hookhost, through the built program: each run in a scratch root of its own.
#include "tests/support/shell.h"
#include "tools/hookhost/log_lines.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <sys/mount.h>

using namespace testing_support;
using testing::ContainsRegex;

namespace {

class Hookhost : public ScratchRootTest
{
protected:
    /// Runs a shell command, where "$run" is the fixture with its home in the root: a call into it leaves "called".
    /// After "unread", descriptor 4 is a pipe whose reader has left.
    int shell(std::string const& command)
    {
        // Unquoted variables are split at newlines alone: the paths may hold spaces.
        ShellResult const result = runShell(
            root, // A sanitizer's look for leaks at exit() needs a /proc, which the root does not have.
            "export ASAN_OPTIONS=detect_leaks=0:handle_segv=0:handle_sigbus=0:handle_sigill=0:handle_sigfpe=0; IFS='\n'; hookhost='" HOOKHOST
            "' fixture='" FIXTURE "' product='" PRODUCT "' lacking='" FIXTURE_WITHOUT_CLOSE_ENTRY
            "' in=$root/in\n"
            "run=--home'\n/\n--root\n'$root'\n'$fixture\n"
            "descriptors() { sh -c 'for each in /proc/self/fd/*; do test -e $each && echo ${each##*/}; done' | sort -n | paste -sd ' '; }\n"
            "fill() { dd if=/dev/zero bs=65536 count=1 oflag=nonblock status=none; }\n"
            "unread() { mkfifo $root/unread; exec 3<>$root/unread 4>$root/unread 3<&-; "
            "rm $root/unread; }\n" +
                command);
        out = std::regex_replace(result.out, std::regex("[^\n]*(2> |\"line\":\")fixture loaded[^\n]*\n"), "");
        err = result.err;
        std::istringstream lines(command.find("--format jsonl") != std::string::npos ? result.out : "");
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(nlohmann::json::accept(line)) << line;
        }
        return result.status;
    }

    struct Run
    {
        int status;
        char const* command;
        std::string out;     // matches all of standard output
        char const* message; // matches a part of standard error
    };

    void runAll(std::initializer_list<Run> runs)
    {
        for (Run const& each : runs) {
            SCOPED_TRACE(each.command);
            EXPECT_EQ(shell(each.command), each.status);
            EXPECT_TRUE(std::regex_match(out, std::regex(each.out))) << out;
            EXPECT_THAT(err, ContainsRegex(each.message));
        }
    }

    std::string out, err; // of the last command
};

TEST_F(Hookhost, RefusesBadInputBeforeAnythingIsCalled)
{
    std::string library;
    root.outside([&] { library = readFile(FIXTURE); });
    auto const writePatched = [&](char const* path, std::size_t offset, int value) {
        writeFile(path, std::string(library).replace(offset, 1, 1, static_cast<char>(value)));
    };
    writePatched("/in/wordsize", 4, 3 - library[4]);
    writeFile("/in/damaged", library.substr(0, 200));
    writeFile("/in/file", "text, and long enough to hold the header of a library in its sixty-four bytes");
    makeFolders("/in/closed");
    ASSERT_EQ(chmod("/in/closed", 0), 0);
    // A damaged library is refused, or is not damaged where it matters.
    shell(
        "for offset in $(seq 16 8 900); do cp $fixture $in/patched; printf '\\377\\377\\377\\377' |"
        " dd of=$in/patched bs=1 seek=$offset conv=notrunc status=none; $hookhost -n --mode 0 $in/patched; echo $?; done 2>&1 |"
        " grep -v ^would | grep -v ^hookhost: | sort -u");
    EXPECT_EQ(out, "0\n126\n127\n");

    // clang-format off
    struct { int status; char const* command; char const* message; } const cases[] = {
        {125, "$hookhost --mode 0 --changes --home / --root /// $fixture", "--changes cannot watch the machine itself"},
        {125, "$hookhost --mode 0 --overlay --keep $in $run", "--keep .*/in' is not empty"},
        {125, "setpriv --bounding-set=-sys_admin $hookhost --mode 0 --overlay $run", "--overlay requires root"},
        {125, "unshare --user --map-root-user $hookhost --mode 0 --overlay --keep $root/called --home / $fixture", "the kernel refuses an overlay of '/'"},
        {125, "$hookhost --mode 0 --frob $run", "--frob.*--help"},
        {125, "$hookhost --mode 0 --root '' $fixture", "root ''.*no such folder"},
        {125, "$hookhost -n --mode 0 --root $in/file $fixture", "/in/file'.*not a folder"},
        {125, "setpriv --bounding-set=-dac_override,-dac_read_search $hookhost --mode 0 --root $in/closed $fixture", "/in/closed'.*may not enter"},
        {125, "setpriv --bounding-set=-sys_chroot $hookhost --mode 0 $run", "super-user.*unshare"},
        {126, "$hookhost --mode 0 --home / --root $root $lacking", "does not export QvInstallerCustomHookCloseSession"},
        {127, "$hookhost -n --mode 0 --root $root $in/file", "/in/file'.*not a dynamic library"},
        {127, "$hookhost --mode 0 --root $root $in/wordsize", "/in/wordsize'.*(32-bit.*64|64-bit.*32)-bit"},
        {127, "$hookhost --mode 0 --root $root $in/damaged", "/in/damaged'.*cannot be loaded"},
        {125, "$hookhost --mode 0 --phase 'a\nb' $run", "--phase 'a\\\\nb' is unknown"},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.command);
        EXPECT_EQ(shell(each.command), each.status);
        EXPECT_EQ(out, "");
        EXPECT_THAT(err, ContainsRegex(std::string("^hookhost: .*") + each.message));
        EXPECT_FALSE(exists("/called"));
    }
    for (auto const& [status, options] :
         std::initializer_list<std::pair<int, std::string>>{{125, "=jsonl --mode x $run"},
                                                            {126, " jsonl -n --mode 0 $lacking"},
                                                            {127, " jsonl --mode 0 $in/none"}}) {
        EXPECT_EQ(shell("$hookhost --format" + options + " 2>&1"), status);
        EXPECT_TRUE(std::regex_match(
            out, std::regex(fmt::format(R"(\{{"type":"error","message":".*","exit":{}\}}\n)", status))))
            << out;
    }
}

TEST_F(Hookhost, CallsAndReports)
{
    std::string const start = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z reinstall/pre-payload (\d+) )";
    // clang-format off
    runAll({
        {0, "$hookhost --format raw --mode install $run", "0/3 \n0/0 \n0/1 \n0/2 \n0/4 \n", "^fixture loaded\n$"},
        {0, "$hookhost --format raw --mode uninstall --phase post-payload --phase 0 --phase post-payload $run", "2/2 \n2/0 \n2/2 \n", ""},
        {0, "$hookhost --format raw --mode -2 --phase 0xFFFFFFFF $run", "-2/4294967295 \n", ""},
        {0, "$hookhost --format raw --mode 0XffffFFFF --phase -1 $run", "-1/4294967295 \n", ""},
        {0, "$hookhost --format raw --mode=reinstall --phase=1 -D say=a=b -Dsay=second $run", "1/1 a=b\n", ""},
        // The first status other than 0 is the run's, and ends nothing.
        {122, "$hookhost --format raw --mode 0 --phase 0 --phase 2 --phase 1 -D times=61 $run", "0/0 \n0/2 \n0/1 \n", ""},
        {123, "$hookhost --format raw --mode 0 --phase 1 --phase 2 -D times=123 $run", "0/1 \n0/2 \n", ""},
        {123, "$hookhost --format raw --mode 0 --phase 1 -D times=256 $run", "0/1 \n", ""},
        {7, "$hookhost --format raw --mode 0 --phase 1 -D times=7 --no-log-callback $run", "", ""},
        {3, "$hookhost --mode reinstall --phase 1 -D times=3 -D \"say=$(printf 'two\\nlines \\377 \\033[1m \\302\\2331m \\302\\240 \\342\\200\\256 \\340\\200\\200')\" $run", start + "1/1 two\\\\nlines \xFF \\\\x1B\\[1m \\\\xC2\\\\x9B1m \xC2\xA0 \\\\xE2\\\\x80\\\\xAE \xE0\\\\x80\\\\x80\n" + start + "= status 3 after \\d+\\.\\d ms\n", ""},
        {3, "$hookhost --format jsonl --mode reinstall --phase 1 -D times=3 -D \"say=$(printf 'two\\nlines \\377 \\033[1m \\303(')\" $run", R"(\{.*"mode":"reinstall","phase":"pre-payload","pid":(\d+),"message":"1/1 two\\nlines )" "\xEF\xBF\xBD" R"( \\u001b\[1m )" "\xEF\xBF\xBD" R"(\("\}\n\{.*"pid":\1,"outcome":"returned","status":3.*\}\n)", ""},
        {0, "$hookhost --mode 0 --phase 2 $run -D act=twice", ".* (\\d+) 0/2 \n.* (?!\\1 )\\d+ copy\n.* \\1 original\n.* \\1 = status 0 .*\n", ""}, // the copy is ended
        {126, "PRINTED_WHEN_LOADED=text $hookhost --list $lacking", "entry point .*InitSession +exported\n.*HookProc +exported\n.*CloseSession  missing\n", "text"},
        {9, "STATUS_OF_OPEN_ENTRY=9 $hookhost --mode 0 --phase 1 $run", ".* install/open-entry \\d+ = status 9 .*\n.* 0/1 \n.* = status 0 .*\n", "^$"},
        {123, "$hookhost --mode 0 --phase 1 -D times=65536 $run", ".* 0/1 \n.* = status 65536 \\(0x10000\\) after .*\n", "0x10000.*123 stands for it"},
        {0, "for format in text jsonl; do $hookhost --mode 7 --phase 7 --explain --format $format --root $root $product; done;"
            " script -qec \"$hookhost --mode 7 --phase 7 --explain --root '$root' '$product'\" /dev/null | tr -d '\\r'",
            ".* ::FT::Unsupported install mode specified\\.  the install mode is not [^]*\"meaning\":\"the install mode is not [^]* specified\\.\n {15}the install mode is not .*\n.*= status 3.*\n", "^$"},
        {0, "$hookhost --mode 0 --phase 1 --null-properties $run", ".* \\(null\\)\n.* = status 0 .*\n", "^$"},
        // The hook's output is recorded in the order of events; a mark of hookhost's own is escaped.
        {0, "$hookhost --mode 0 --phase 1 $run -D act=print -D log='= status 0'", ".*/pre-payload \\d+ 0/1 \n.* \\\\x3D status 0\n.*/pre-payload (\\d+) 1> one\n.* three\n.* \\1 2> = fo\\\\\\\\ur\n.* 1> two\n.* = status 0 .*\n", "^$"},
        {0, "$hookhost --format raw --mode 0 --phase 1 $run -D act=print", "0/1 \nthree\none\ntwo", "= fo\\\\ur\n$"},
        {0, "$hookhost --mode 0 --phase 1 $run -D act=print --no-capture", ".* 0/1 \n.* three\n.* = status 0 .*\n", "= fo\\\\ur\none\ntwo$"},
        // A helper program that outlives hookhost is named, and can still print without being blocked or killed.
        {0, "mkfifo $root/go $root/done; $hookhost --mode 0 --phase 1 $run -D act=helper; : >$root/go; : >$root/done; rm $root/go $root/done",
            ".* 0/1 \n.* = status 0 .*\n(.* ! still running: \\d+ .*/hookhost\n){2}", "^$"},
        {0, "$hookhost --format raw --mode 0 --phase 1 $run -D act=signals", "0/1 \nchanged:\n", ""},
        {0, "$hookhost --mode 0 --phase 1 $run -D act=zombie", ".* 0/1 \n.* = status 0 .*\n", "^$"},
        // A process in no folder, session or group of hookhost's, with nothing but the two pipes, reads what it prints.
        {0, "mkfifo $root/go $root/done; cd $root; $hookhost --mode 0 --phase 1 $run -D act=helper >&2; for reader in $(pgrep -f -- \"--root $root\"); do"
            " test $(readlink /proc/$reader/cwd) = / && ls /proc/$reader/fd && grep -h SigBlk /proc/$reader/status && test $(ps -o sid= $reader | tr -d ' ') = $reader && echo own session; done;"
            " : >$root/go; : >$root/done; rm $root/go $root/done", "0\n1\nSigBlk:\t0+\nown session\n", "still running"},
        {0, "mkfifo $root/go $root/done; for format in raw jsonl; do $hookhost --format $format --mode 0 --phase 1 $run -D act=helper 2>&1; : >$root/go;"
            " : >$root/done; done | grep -o 'hookhost: still running\\|\"type\":\"running\"'; rm $root/go $root/done", "(hookhost: still running\n){2}(\"type\":\"running\"\n){2}", "^$"},
        // A debugger, or SIGCONT, ends the wait, which does not count as time of a call.
        {0, "mkfifo $root/message; $hookhost --mode 0 --phase 1 --timeout 0.2 --debug wait $run 2>$root/message &"
            " command=$(grep -m 1 -o 'kill -CONT.*' $root/message); sleep 0.3; eval $command; wait $!", ".* 0/1 \n.* = status 0 .*\n", "^$"},
        // On a terminal.
        {0, "NO_COLOR=1 script -qec \"$hookhost --mode 0 --phase 1 --home / --root '$root' '$fixture'\" /dev/null | tail -3 | tr -d '\\r'",
            "install/pre-payload  process \\d+\n +\\+\\d+ ms  0/1 \n +\\+\\d+ ms  = status 0 .*\n", "^$"},
        {1, "script -qec \"$hookhost --mode 0 --phase 1 -D times=1 --home / --root '$root' '$fixture'\" /dev/null | tail -1; exit 1", ".*\x1B\\[31m= status 1 .*\x1B\\[0m\r\n", "^$"},
        {0, "script -qec \"$hookhost --mode 0 --phase 1 --home / --root '$root' '$fixture'\" /dev/null | tail -1", ".*\x1B\\[32m= status 0 .*\x1B\\[0m\r\n", "^$"},
        // Without HOME, the user database outside the root has it.
        {0, "home=$(getent passwd 0 | cut -d: -f6); mkdir -p $root$home; for how in -uHOME HOME=; do env $how $hookhost --format raw --mode 0 --phase 1 --root $root $fixture; rm $root$home/called; done", "0/1 \n0/1 \n", "^(fixture loaded\n){2}$"},
        // The hook has no descriptors but its own. hookhost's are out of its reach.
        {0, "$hookhost --mode 0 --phase 1 --changes $run -D act=descriptors | sed -n 's/ [0-9]\\{4,\\}//g;s/.*open: //p'; descriptors", "(.*)\n\\1\n", ""},
        {0, "for limits in '-n 64' '-S -n 300' '-S -n 1500' '-n 2000'; do (IFS=' '; ulimit $limits; IFS='\n'; $hookhost --mode 0 --phase 1 $run -D act=descriptors |"
            " sed -n 's/.*open: //p' | tr ' ' '\n' | grep -vxF \"$(descriptors | tr ' ' '\n')\" | paste -sd ' '); done",
            "48 49 50 51 52\n1024 1025 1026 1027 1028\n1500 1501 1502 1503 1504\n1984 1985 1986 1987 1988\n", ""},
        {0, "mkfifo $root/asked; $hookhost --mode 0 --phase 1 --debug wait $run 2>$root/asked & worker=$(grep -m 1 -o 'process [0-9]*' $root/asked | tr -dc 0-9); rm $root/called;"
            " python3 -c 'import ctypes, os, sys\nctypes.CDLL(None).ptrace(0x4206, int(sys.argv[1]), None, None)\nwhile not os.path.exists(sys.argv[2]): pass' $worker $root/called; wait $!", ".* 0/1 \n.* = status 0 .*\n", "^$"},
    });
    // clang-format on
}

TEST_F(Hookhost, ShowsProgressAndEndsACrashThatHangs)
{
    if (UNDER_SANITIZERS != 0) {
        GTEST_SKIP() << "needs a library preloaded before the sanitizers'";
    }
    shell("script -qec \"LD_PRELOAD='" FAST_CLOCK
          "' $hookhost --mode 0 --phase 1 --changes --home / --root '$root'"
          " '$fixture'\" /dev/null");
    EXPECT_THAT(
        out,
        ContainsRegex("^\rhookhost: 1 files read\r\x1B\\[K.*1 files read\rhookhost: 2 files read\r\x1B\\[K"));
    EXPECT_EQ(
        shell(
            "mkfifo $root/running; cp $lacking $root/another.so; ulimit -c 0; LD_PRELOAD='" FAST_CLOCK
            "' $hookhost --mode 0 --phase 1 --changes $run -D 'act=crash while loading'; status=$?; rm $root/running; exit $status"),
        128 + SIGTRAP);
    EXPECT_THAT(out, ContainsRegex("ended by signal 5 .Trace/breakpoint trap.; no core file"));
}

TEST_F(Hookhost, WritesRecordsWhole)
{
    // clang-format off
    runAll({
        {125, "$hookhost --mode 0 $run >/dev/full", "", "^hookhost: output was lost: No space left"},
        {125, "$hookhost --mode 0 $run >&-", "", "output was lost"},
        {125, "$hookhost --help >/dev/full", "", "output was lost: No space left"},
        {125, "$hookhost -n --mode 0 $run >/dev/full", "", "output was lost: No space left"},
        {125, "unread; env --default-signal=PIPE $hookhost --mode 0 $run >&4", "", "^hookhost: output was lost: Broken pipe\n$"},
        {3, "unread; env --default-signal=PIPE $hookhost --mode 0 --phase 1 --phase 2 -D times=3 $run >&4", "", "^hookhost: output was lost: Broken pipe\n$"},
        {128 + SIGTRAP, "$hookhost --mode 0 --phase 2 -D act=crash $run 2>/dev/full", ".* 0/2 \n.* = failed .*\n", "^$"},
        // What the hook starts inherits the limit on open files, and SIGPIPE: exec() keeps an ignored signal and resets a handled one.
        {0, "ulimit -S -n 300; for how in default ignore; do env --$how-signal=PIPE $hookhost --mode 0 --phase 2 $run -D act=hang |"
            " { IFS=' '; read -r line; read -r time phase pid text; grep -ho 'SigIgn.*\\|open files  *[0-9]*' /proc/$pid/status /proc/$pid/limits; kill $pid; }; done",
            "SigIgn:\t.*[02468ace].{3}\nopen files +300\nSigIgn:\t.*[13579bdf].{3}\nopen files +300\n", ""},
        // A pipe that does not block, full until its reader wakes up.
        {0, "rm $root/called; mkfifo $root/called; { fill; $hookhost --format raw --mode 0 --phase 1 $run; echo ended $? >&2; } |"
            " { : <$root/called; tr -d '\\0'; }; rm $root/called", "0/1 \n", "\nended 0\n"},
        // A time-out that passes after the crash, while the reader sleeps, neither kills a process nor counts.
        {0, "{ fill; $hookhost --mode 0 --phase 1 --no-capture --no-log-callback --timeout 0.2 --expect signal:5 $run -D act=crash; } |"
            " { sleep 0.5; tr -d '\\0'; }", ".* = failed .*signal 5.*\nexpected signal:5: held\n", "signal 5"},
        // A worker that is killed while it waits for the reader has the lock on the records.
        {0, "{ fill; $hookhost --mode 0 --phase 1 --timeout 0.2 --no-capture $run; echo status $? >&2; } | { sleep 0.5; tr -d '\\0'; }", ".* = failed .*did not return within 0.2 s.*\n", "\nstatus 124\n$"},
        // Descriptors: the hook cannot close or replace hookhost's own unless it closes all.
        {0, "$hookhost --mode 0 --phase 1 $run -D 'act=close low'", ".* 0/1 \n.* after closing\n.* = status 0 .*\n(.* ! left behind: descriptor \\d+ .* -> (closed|/taken)\n)+", "^$"},
        {125, "$hookhost --mode 0 --phase 1 $run -D 'act=close all'", ".* 0/1 \n", "^hookhost: output was lost: Bad file descriptor\n$"},
        // Messages of several threads and processes, and of one that is killed while it writes.
        {0, "$hookhost --mode 0 --phase 1 $run -D act=chatter | awk '{print length($4)}' | sort -n | uniq -c | tail -1", " *80 20000\n", "^$"},
        {0, "mkfifo $root/running; $hookhost --mode 0 --phase 1 --timeout 0.2 $run -D act=chatter |"
            " { cat $root/running; sed -n 's/.*Z install.*Z install.*/mixed/p;s/^[^ ]* install.pre-payload [0-9]* = failed.*/failed/p'; }; rm $root/running", "failed\n", "did not return"},
        // A message by the callback of an earlier call.
        {0, "$hookhost --mode 0 --phase 1 --phase 2 $run -D 'act=log late'", ".* 0/1 \n.*\n.* 0/2 \n.*install/pre-payload \\d+ ! logged after its call returned: late\\\\n= status 0\n.*post-payload.*= status 0 .*\n", "^$"},
        {0, "$hookhost --format jsonl --mode 0 --phase 1 $run -D 'act=log at unload'", "[^]*returned.*\n.*\"phase\":\"pre-payload\".*\"message\":\"unloading\",\"late\":true\\}\n", "^$"},
        {125, "$hookhost --mode 0 --phase 1 $run -D 'act=exit at the end'", ".* 0/1 \n.* = status 0 .*\n.* install/unload \\d+ = failed after .* the process exited with 7 at its end: .*\n", "calls not made: 0"},
        {128 + SIGTRAP, "$hookhost --mode 0 --phase 1 $run -D 'act=crash at unload'", ".* 0/1 \n.* = status 0 .*\n.* install/unload \\d+ = failed .*signal 5.*\n", "calls not made: 0"},
        {0, "$hookhost --format jsonl --mode 0 --phase 1 $run -D 'act=close low'", "[^]*\\{\"type\":\"left-behind\",.*\"what\":\"descriptor 0\",\"before\":\".*\",\"after\":\"/taken\"\\}\n[^]*", "^$"},
        {0, "$hookhost --format raw --mode 0 --phase 1 $run -D 'act=close low'", "0/1 \nafter closing\n", "\nhookhost: left behind: descriptor 0 "},
        // A hook that restores the default of SIGPIPE neither ends by it nor leaves anything behind.
        {125, "unread; env --default-signal=PIPE $hookhost --mode 0 --phase 1 $run -D 'act=default SIGPIPE' >&4", "", "^hookhost: output was lost: Broken pipe\n$"},
        {0, "env --default-signal=PIPE $hookhost --mode 0 --phase 1 $run -D 'act=default SIGPIPE'", ".* 0/1 \n.* by default\n.* = status 0 .*\n", "^$"},
        {0, "$hookhost --mode 0 --phase 1 $run -D 'act=print long line' | awk '/ 1> /{print length($5)}'", "65536\n4464\n", "^$"},
        // Marks of hookhost's own.
        {0, "for mark in = ! '1>' '2>' + - '~'; do $hookhost --mode 0 --phase 1 $run -D log=\"$mark x\"; done | grep -c ' \\\\x[^ ]* x$'", "7\n", "^$"},
    });
    // clang-format on
}

TEST_F(Hookhost, SetsLimitsToWhatWaits)
{
    // clang-format off
    runAll({
        // When hookhost is killed, the pipe ends: no worker outlives it.
        {0, "mkfifo $root/err; { $hookhost --mode 0 --phase 2 $run -D act=hang 2>$root/err & grep -m1 running $root/err >&2; kill -KILL $!; } | timeout 20 cat", ".* 0/2 \n", "install/post-payload has been running for 2 s\n"},
        // An interrupted hookhost does not wait forever for the reader of its last record.
        {0, "mkfifo $root/running $root/ended; { fill; $hookhost --mode 0 --phase 2 --no-capture --no-log-callback $run -D act=hang & : <$root/running;"
            " kill $!; wait $!; echo status $? >&2; : >$root/ended; } | { : <$root/ended; tr -d '\\0'; }", "", "output was lost: .*\nstatus 143\n"},
        {143, "mkfifo $root/message; $hookhost --mode 0 --debug wait $run 2>$root/message & grep -m 1 -o 'and waits' $root/message; kill $!; wait $!",
            "and waits\n.* = failed .*interrupted by signal 15.*\n", ""},
    });
    // clang-format on
}

TEST_F(Hookhost, JudgesExpectations)
{
    // clang-format off
    struct { int status; std::string options, verdicts; } const cases[] = {
        {0, "--phase 1 --phase 2 -D times=1 --expect pre-payload=1 --expect 2", "pre-payload=1: held\n2: held\n"},
        {121, "--phase 1 --phase 2 -D times=1 --expect 0 --expect 1=1", "0: not held: post-payload was status 2\n1=1: held\n"},
        {121, "--phase 1 --expect post-payload=0 --expect 0", "post-payload=0: not held: it was not run\n0: held\n"},
        {0, "--phase 1 -D log=a=b --expect-log pre-payload=a=b --expect-log 0/", "pre-payload=a=b: held\n0/: held\n"},
        {121, "--phase 1 --phase 2 -D say=x -D when=1 --expect-log post-payload=0/1", "post-payload=0/1: not held: no message contains it\n"},
        {0, "--phase 1 -D act=crash --expect pre-payload=signal:5", "pre-payload=signal:5: held\n"},
        {0, "--phase 1 -D 'act=crash at unload' --expect unload=signal:5", "unload=signal:5: held\n"},
        {0, "--phase 1 -D act=exit --expect exit:5", "exit:5: held\n"},
        {0, "--phase 1 -D act=hang --timeout 0.2 --expect timeout", "timeout: held\n"},
        {124, "--phase 1 -D act=hang --timeout 0.2 --expect 0", "0: not held: pre-payload was timeout\n"}, // as without expectations
        {128 + SIGTRAP, "--phase 1 -D 'act=crash at unload' --expect 0", "0: held\n"},
    };
    // clang-format on
    for (auto const& [status, options, verdicts] : cases) {
        SCOPED_TRACE(options);
        EXPECT_EQ(shell("$hookhost --mode 0 $run " + options), status);
        EXPECT_EQ(std::regex_replace(out, std::regex("(\\d{4}-[^\n]*\n)|expected "), ""), verdicts);
        EXPECT_EQ(shell("$hookhost --mode 0 $run --format jsonl " + options), status);
        EXPECT_EQ(out.find("\"held\":false") != std::string::npos,
                  verdicts.find("not held") != std::string::npos)
            << out;
    }
}

TEST_F(Hookhost, RecordsWhatAPhaseLeavesBehindInTheProcess)
{
    SKIP_WITHOUT_OTHER_USERS();
    makeFolders("/in");
    EXPECT_EQ(
        shell(
            "umask 022; ulimit -n 256; unset ADDED; $hookhost --mode 0 --phase 1 --phase 2 $run -D act=traces -D when=1"
            " | sed -n 's/^.*.pre-payload [0-9]* ! left behind: //;s/descriptor [0-9]*/descriptor N/;s/groups .* ->/groups N ->/;s/+0x.*/+0xN/;/^[^2]/p;s/^[^ ]* install.post-payload.* ! .*/too much: &/p'"),
        0);
    EXPECT_EQ(
        out,
        "descriptor N closed -> /in\neffective group id 0 -> 6\neffective user id 0 -> 8\n"
        "environment ADDED unset -> value\nenvironment HOME / -> unset\nenvironment LENGTHY unset -> (101 bytes)\ngroups N -> 9\n"
        "limit on open files 256/256 -> 64/64\nreal group id 0 -> 5\nreal user id 0 -> 7\n"
        "signal 10 (User defined signal 1) delivery open -> blocked\n"
        "signal 12 (User defined signal 2) handling default -> handler libfixture_plugin.so+0xN\n"
        "signal 15 (Terminated) handling default -> ignored\numask 022 -> 000\nworking directory / -> /in\n");
}

TEST_F(Hookhost, CrashRecordHasFramesAndTheCoreFile)
{
    std::string const crash = "$hookhost --mode 0 --phase 1 $run -D act=crash";
    EXPECT_EQ(shell("ulimit -c 0; " + crash), 128 + SIGTRAP);
    EXPECT_THAT(
        out,
        ContainsRegex(
            "trap.; frames: .*libfixture_plugin.so.0x[0-9a-f]+ .*; no core file: the limit on core files is 0"));
    // A sanitizer's own backtrace() shows one more frame.
    EXPECT_EQ(shell("ulimit -c 0; $hookhost --mode 0 --phase 1 $run -D act=recurse"), 128 + SIGSEGV);
    EXPECT_THAT(out, ContainsRegex(
                         " at address 0x[0-9a-f]+; frames: (libc[^ ]* )?libfixture_plugin.so.0x[0-9a-f]+ "));
    std::string const callingNull = "$hookhost --mode 0 --phase 1 $run -D 'act=call null'";
    EXPECT_EQ(shell("ulimit -c 0; " + callingNull), 128 + SIGSEGV);
    EXPECT_THAT(
        out, ContainsRegex(
                 " at address 0x0; frames: 0x0 (libc[^ ]* )?(libfixture_plugin.so.0x[0-9a-f]+ )+hookhost"));
    EXPECT_EQ(shell("ulimit -c 0; " + callingNull + " --format jsonl"), 128 + SIGSEGV);
    EXPECT_THAT(
        out,
        ContainsRegex(
            "\"address\":\"0x0\",\"frames\":\\[\"0x0\",(\"libc[^,]*,)?\"libfixture_plugin.so.0x[0-9a-f]+\",.*"
            "\\],\"core\":\"no core file"));
    for (auto const& [name, number] :
         {std::pair("SIGBUS", SIGBUS), std::pair("SIGILL", SIGILL), std::pair("SIGFPE", SIGFPE)}) {
        EXPECT_EQ(shell(std::string("ulimit -c 0; $hookhost --mode 0 --phase 1 $run -D act=") + name),
                  128 + number);
        EXPECT_THAT(out, ContainsRegex(" at address 0x[0-9a-f]+; frames: "));
    }
    EXPECT_EQ(shell("ulimit -c 0; $hookhost --mode 0 --phase 1 $run -D 'act=segmentation signal'"),
              128 + SIGSEGV);
    EXPECT_THAT(out, ContainsRegex("signal 11 .Segmentation fault.; frames: "));
}

TEST_F(Hookhost, NamesTheCoreFileOrWhyThereIsNone)
{
    // Sanitizers set the limit to 0.
    if (UNDER_SANITIZERS != 0 ||
        shell("test \"$(cat /proc/sys/kernel/core_pattern)\" = core && unshare --mount true") != 0) {
        GTEST_SKIP() << "the kernel does not write core files into the current folder";
    }
    makeFolders("/other [root]");
    makeFolders("/taken/core");
    writeFile("/one", "1");
    struct
    {
        char const* pattern; ///< that hookhost sees instead of the kernel's
        char const* command;
        char const* expected;
    } const cases[] = {
        {"core", "", "core file: ROOT/core"},
        {"c%re", "touch -d 2001-01-01 $root/coore; ", "core file: ROOT/core"},
        {"core", "mount --bind $root/one /proc/sys/kernel/core_uses_pid; ",
         "core file: ROOT/core (the kernel's pattern)"},
        {"c%re", "mount --bind $root/one /proc/sys/kernel/core_uses_pid; ",
         "core file: ROOT/c%re (the kernel's pattern)"},
        {"core%", "", "core file: ROOT/core% (the kernel's pattern)"},
        {"core%%", "touch $root/core%; ", "core file: ROOT/core%"},
        {"core%p", "", "core file: ROOT/core%p (the kernel's pattern)"},
        {"/tmp/core-of-none", "", "core file: ROOT/tmp/core-of-none (the kernel's pattern)"},
        {"|/bin/handler %p", "", "core file: handed to /bin/handler %p"},
        {"|/bin/handler %p", "ulimit -c 0; ",
         "no core file: the kernel could not hand it to /bin/handler %p; see core(5)"},
        {"core", "ulimit -c 0; ",
         "no core file: the limit on core files is 0; raise it with ulimit -c unlimited"},
        {"core", "act=\"crash as another user\"; ",
         "no core file: the hook changed its user; see fs.suid_dumpable in core(5)"},
        {"core", "in=\"$root/other [root]\"; ", "core file: ROOT/other [root]/core"},
        {"core", "more=--overlay; ", "core file: /core in the overlay; --keep would leave it"},
        {"core", "more=\"--overlay --keep=$root/core-kept\"; ",
         "core file: /core below the folder of --keep"},
        {"core", "in=$root/taken; ", "no core file: the kernel could not write ROOT/taken/core; see core(5)"},
    };
    for (auto const& [pattern, command, expected] : cases) {
        SCOPED_TRACE(std::string(pattern) + command);
        writeFile("/pattern", pattern);
        shell(std::string("export hookhost fixture root; unshare --mount sh -c 'mount --bind $root/pattern "
                          "/proc/sys/kernel/core_pattern; in=$root; act=crash; ulimit -c unlimited; ") +
              command +
              "$hookhost --mode 0 --phase 1 --home / --root \"$in\" $more -D \"act=$act\" \"$fixture\"' |"
              " sed -n \"s:$root:ROOT:g;s:.*; \\(no core\\|core file\\):\\1:p\";"
              " rm -rf $root/core* $root/coore \"$root/other [root]/core\"");
        EXPECT_EQ(out, std::string(expected) + '\n');
    }
}

TEST_F(Hookhost, ExplainsEachLineOfTheProduct)
{
    shell("grep -oh '\"\\(::FT::\\|NULL pointer\\|Property map\\)[^\"]*' " SOURCE_FOLDER
          "/hooks/*.cpp | cut -c 2-");
    std::istringstream literals(out);
    int count = 0;
    for (std::string line; std::getline(literals, line); ++count) {
        EXPECT_NE(hookhost::LogExplainer().explain(line), "") << line;
    }
    EXPECT_GT(count, 50);

    hookhost::LogExplainer explainer;
    for (auto const& [line, meaning] : std::initializer_list<std::pair<char const*, char const*>>{
             {"::FT::CUSTOM ACTION: Extracted Tessarine ZelkoCode", "its value follows"},
             {"::FT::CUSTOM ACTION: Executing", "the product code"}, // whatever it is
             {"::FT::CUSTOM ACTION: Executing", ""},
             {"::FT::CUSTOM ACTION: Executing /bin/x", "helper program"}}) {
        std::string const explained = explainer.explain(line);
        EXPECT_TRUE(explained.find(meaning) != std::string::npos && explained.empty() == (*meaning == 0))
            << line << explained;
    }
}

TEST_F(Hookhost, RecordsWhatEachPhaseChangedAndKeepsTheOverlaidTreeAsItIs)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const records = R"(install/pre-payload + /etc/block  block device 0600 0:0 1:3
install/pre-payload ~ /etc/dated  date DATE -> DATE
install/pre-payload + /etc/device  character device 0600 0:0 1:3
install/pre-payload + /etc/fifo  FIFO 0600 0:0
install/pre-payload ~ /etc/keep  mode 0644 -> 0600, content 4 bytes 9f86d0.. -> 7 bytes e681dc..
install/pre-payload ~ /etc/kind  file 0644 0:0 0 bytes -> folder 0700 0:0
install/pre-payload ~ /etc/link  target keep -> other
install/pre-payload - /etc/moved  folder 0755 0:0
install/pre-payload - /etc/moved/x  file 0644 0:0 0 bytes
install/pre-payload ~ /etc/node  device 1:3 -> 1:5
install/pre-payload - /etc/old  link to keep
install/pre-payload ~ /etc/owned  owner 0:0 -> 1000:80
install/pre-payload + /etc/renamed  folder 0755 0:0
install/pre-payload + /etc/renamed/x  file 0644 0:0 0 bytes
install/pre-payload ~ /etc/same  content 4 bytes 61be55.. -> 4 bytes 81cc5b..
install/pre-payload + /etc/socket  socket 0600 0:0
install/pre-payload ~ /etc/tree  owner 0:0 -> 0:80
install/pre-payload - /etc/tree/a  file 0644 0:0 0 bytes
install/pre-payload + /etc/tree/b \x20c  folder 0755 0:0
install/pre-payload ~ /mounted \\ here  mode 1777 -> 0750
install/pre-payload ~ /mounted \\ here/file  content 0 bytes e3b0c4.. -> 4 bytes 187897..
phase                              created   removed   changed
install/session-open                     0         0         0
install/pre-payload                      7         4        10
)";
    ASSERT_EQ(
        shell(
            "mkdir -p $root/etc/moved $root/etc/tree \"$root/mounted \\\\ here\" $root/dev; cd $root/etc; touch ../called"
            " dated owned kind moved/x tree/a; printf test >keep; printf aaaa >same; ln -s keep old; ln -s keep link; mknod -m 0600 node c 1 3"),
        0);
    char const* const mountPoint = "/mounted \\ here"; // escaped in the system's list
    ASSERT_EQ(mount("tmpfs", mountPoint, "tmpfs", 0, ""), 0);
    std::unique_ptr<char const, void (*)(char const*)> const mounted(
        mountPoint, [](char const* path) { umount2(path, MNT_DETACH); });
    writeFile(std::string(mountPoint) + "/file", "");
    auto const stateOfTree = [this] {
        shell(
            "grep $root /proc/self/mounts; cd $root; find . -printf '%p %y %m %U:%G %s %T@ %C@ %l\n'; find . -type f -exec cat {} +");
        return out;
    };
    std::string const before = stateOfTree();
    std::string const changing = "--mode 0 --phase session-open --phase 1 --changes $run -D when=1 -D act=";
    std::string const onlyRecords = " | grep -e ' [-+~] ' -e ' [0-9][0-9]*$' -e ^phase";
    // clang-format off
    struct { int status; std::string command, expected; } const cases[] = {
        {0, "$hookhost --overlay " + changing + "change" + onlyRecords, records},
        {0, "$hookhost --overlay " + changing + "'change and crash'" + onlyRecords, records},
        {0, "$hookhost --overlay --format raw " + changing + "change | grep -c '^install/pre-payload [-+~] /'", "21\n"},
        {0, "$hookhost --overlay --format jsonl " + changing + "change | sed -n 's#.*\\(\"change\":\"[a-z]*\",\"path\":\"/etc/\\(fifo\\|link\\|node\\|old\\)\"\\)#{\\1#p;s#.*\\(\"created\":7\\)#{\\1#p'",
            R"({"change":"created","path":"/etc/fifo","after":{"kind":"FIFO","mode":"0600","uid":0,"gid":0}})" "\n"
            R"({"change":"changed","path":"/etc/link","before":{"kind":"link","mode":"0777","uid":0,"gid":0,"target":"keep"},"after":{"kind":"link","mode":"0777","uid":0,"gid":0,"target":"other"}})" "\n"
            R"({"change":"changed","path":"/etc/node","before":{"kind":"character device","mode":"0600","uid":0,"gid":0,"device":"1:3"},"after":{"kind":"character device","mode":"0600","uid":0,"gid":0,"device":"1:5"}})" "\n"
            R"({"change":"removed","path":"/etc/old","before":{"kind":"link","mode":"0777","uid":0,"gid":0,"target":"keep"}})" "\n"
            R"({"created":7,"removed":4,"changed":10})" "\n"},
        {0, "$hookhost --overlay --keep $root.kept " + changing + "change >&2; cd $root.kept; find . -type c -o -name file | sort; rm -r $root.kept",
            "./etc/device\n./etc/moved\n./etc/node\n./etc/old\n./mounted \\ here/file\n"},
        {125, "mkdir $root.full; mount -t tmpfs -o nr_inodes=2 full $root.full; $hookhost --overlay --keep $root.full " + changing + "change >&2; status=$?;"
            " umount $root.full; rmdir $root.full; exit $status", ""},
        {125, "PATH=/none $hookhost --overlay --keep $root.kept " + changing + "change >&2; status=$?; rmdir $root.kept; exit $status", ""},
        {0, "{ $hookhost --overlay " + changing + "hang; echo status $?; } | { IFS=' '; set -- $(grep -m 1 ' 0/1 ');"
            " kill $(cut -d ' ' -f 4 /proc/$3/stat); grep -o 'interrupted by signal 15\\|status 143'; }", "interrupted by signal 15\nstatus 143\n"},
        // On the tree itself, where files that are old and unchanged are not read again.
        {0, (UNDER_SANITIZERS ? "" : "LD_PRELOAD='" FAST_CLOCK "' ") + ("$hookhost " + changing) + "'change and crash'" + onlyRecords, records},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.command);
        EXPECT_EQ(stateOfTree(), before);
        EXPECT_EQ(shell(each.command), each.status);
        std::string const withoutTimes =
            std::regex_replace(out, std::regex("[^\n ]*Z (install[^ ]*) \\d+ "), "$1 ");
        EXPECT_EQ(std::regex_replace(withoutTimes, std::regex("[^ ]*Z"), "DATE"), each.expected);
    }
    shell(
        "cd $root/etc; mount --bind $root/called $root/called; $hookhost --overlay --mode 0 --phase 1 $run; umount $root/called");
    EXPECT_THAT(out, ContainsRegex("no trace can be left"));
    EXPECT_THAT(err, ContainsRegex("^hookhost: '/called' is a mounted file: it is read-only in this run\n$"));
    // The kernel refuses to stack a third overlay. The root can be entered as before.
    shell(
        "cd $root && mkdir one two lower upper work upper2 work2 && mount -t overlay -o lowerdir=lower,upperdir=upper,workdir=work o one &&"
        " mount -t overlay -o lowerdir=one,upperdir=upper2,workdir=work2 o two;"
        " $hookhost --overlay --mode 0 --phase 1 --timeout 0.2 --root $root --home /two $fixture -D 'act=hang as another user'; umount $root/two $root/one");
    EXPECT_THAT(out, ContainsRegex("no trace can be left(.|\n)*another user"));
    EXPECT_THAT(
        err,
        ContainsRegex(
            "hookhost: '/two' cannot have an overlay (.*): it is an empty, read-only folder in this run\n"));
    shell(
        "$hookhost --overlay --changes --format raw --mode 0 --phase 1 $run -D act=descriptors | sed -n 's/ [0-9]\\{4,\\}//g;s/open: //p'; descriptors");
    EXPECT_TRUE(std::regex_match(out, std::regex("(.*)\n\\1\n"))) << out;
    // What a file system does not permit, its overlay does not permit either.
    shell(
        "cd $root && mkdir proc strict && mount -t proc proc proc && mount -t tmpfs -o ro,nosuid,nodev,noexec strict strict;"
        " $hookhost --overlay --format raw --mode 0 --phase 1 $run -D act=mounts; umount proc strict; rmdir proc strict");
    EXPECT_THAT(out, ContainsRegex("\nhookhost /strict overlay ro,nosuid,nodev,noexec"));
    // Of the machine itself, if the kernel permits an overlay of its root, and if that is not read-only.
    EXPECT_EQ(shell("cd $root; test -w / || echo read-only; for home in /dev/shm /; do"
                    " $hookhost --overlay --changes --mode 0 --phase 1 --home $home $fixture; done;"
                    " test ! -e /called -a ! -e /dev/shm/called"),
              0);
    EXPECT_THAT(
        out + err,
        ContainsRegex("install/pre-payload [0-9]+ . /called  file|refuses an overlay of '/'|^read-only\n"));
    EXPECT_THAT(
        root.outsidePath() + err,
        ContainsRegex("^/tmp|the current folder '/.*' is not in the overlay|refuses an overlay of '/'"));
    // The system's file systems are mounted there as they are.
    EXPECT_EQ(
        shell(
            "systems() { sed -n 's#^[^ ]* \\(/\\(dev\\|proc\\|sys\\)[^ ]*\\) .*#\\1#p' | grep -v ^/dev/shm/ | sort -u; };"
            " systems </proc/self/mounts >$root/outside; $hookhost --overlay --format raw --mode 0 --phase 1 --home"
            " / $fixture -D act=mounts >$root/mounts && systems <$root/mounts | diff $root/outside - || test ! -s $root/mounts"),
        0)
        << out;
}

TEST_F(Hookhost, RecordsAPluginThatDoesNotReturn)
{
    // clang-format off
    struct { std::string act; int status; std::string outcome, reason, interruption; } const cases[] = {
        {"crash", 128 + SIGTRAP, "signal", "ended by signal 5 .Trace/breakpoint trap.", ""},
        {"exit", 125, "exit", "exit.5.", ""},
        {"hang --timeout 0.2", 124, "timeout", "did not return within 0.2 s", ""},
        {"hang", 128 + SIGTERM, "interrupted", "interrupted by signal 15; the hook was killed", "TERM"},
        {"'hang as another user'", 128 + SIGHUP, "interrupted", "interrupted by signal 1; the hook was killed", "HUP"},
        {"hang --timeout 0.2", 124, "timeout", "did not return within 0.2 s", "INT"}, // a shell's background ignores it
    };
    // clang-format on
    for (auto const& [act, status, outcome, reason, interruption] : cases) {
        for (std::string const format : {"text", "raw", "jsonl"}) {
            SCOPED_TRACE(act + format);
            std::string command =
                fmt::format("$hookhost --mode 0 --phase 1 --phase 2 $run --format {} -D act={}", format, act);
            if (!interruption.empty()) {
                command =
                    fmt::format("mkfifo -m 0666 $root/running; {}& : <$root/running; kill -{} $!; wait $!;"
                                " status=$?; rm $root/running; pgrep -f -- \"--root $root\"; exit $status",
                                command, interruption);
            }
            EXPECT_EQ(shell(command), status);
            EXPECT_THAT(err, ContainsRegex("install/pre-payload: .*" + reason + ".*calls not made: 2"));
            EXPECT_THAT(
                out, ContainsRegex("^[^\n]*0/1[^\n]*\n([^\n]*user[^\n]*\n)?[^\n]*" + reason + "[^\n]*\n$"));
            EXPECT_EQ(out.find("\"outcome\":\"" + outcome) != std::string::npos, format == "jsonl") << out;
        }
    }
}

} // namespace
