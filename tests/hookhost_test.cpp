// hookhost, through the built program: each run in a scratch root of its own.
#include "tests/support/shell.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

using namespace testing_support;
using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::json;

namespace {

using Result = ShellResult;

class Hookhost : public ScratchRootTest
{
protected:
    /// Runs a shell command; its variables are the words below. "$run" is the fixture with its home in the
    /// root, where a call into it leaves the file "called".
    Result shell(std::string const& command)
    {
        return runShell(root, "hookhost='" HOOKHOST "' fixture='" FIXTURE
                              "' lacking='" FIXTURE_WITHOUT_CLOSE_ENTRY "' product='" PRODUCT
                              "' in=$root/in run=\"--home / --root $root " FIXTURE "\"\n" +
                                  command);
    }

    Result hookhost(std::string const& arguments) { return shell("$hookhost " + arguments); }
};

TEST_F(Hookhost, RefusesBadInputBeforeAnythingIsCalled)
{
    std::string library;
    root.outside([&] { library = readFile(FIXTURE); });
    auto const patched = [&](std::size_t offset, char value) {
        std::string copy = library;
        copy[offset] = value;
        return copy;
    };
    writeFile("/in/file", "text, and long enough to hold the header of a library in its sixty-four bytes");
    writeFile("/in/empty", "");
    writeFile("/in/wordsize", patched(4, static_cast<char>(3 - library[4])));
    writeFile("/in/machine", patched(18, 40));
    writeFile("/in/object", patched(16, 1));
    writeFile("/in/damaged", library.substr(0, 200));
    makeFolders("/in/closed");
    ASSERT_EQ(chmod("/in/closed", 0), 0);

    struct
    {
        char const* command;
        int status;
        std::vector<char const*> told;
    } const cases[] = {
        {"$hookhost $run", 125, {"--mode is missing", "install, reinstall, uninstall"}},
        {"$hookhost --mode instal $run",
         125,
         {"--mode 'instal' is unknown", "install, reinstall, uninstall"}},
        {"$hookhost --mode '' $run", 125, {"--mode"}},
        {"$hookhost --mode 4294967296 $run", 125, {"'4294967296'", "32-bit"}},
        {"$hookhost --mode -2147483649 $run", 125, {"'-2147483649'"}},
        {"$hookhost --mode 0x $run", 125, {"'0x'"}},
        {"$hookhost --mode 0 --phase preload $run", 125, {"--phase 'preload'", "pre-payload, post-payload"}},
        {"$hookhost --mode 0 -D code $run", 125, {"--property 'code' has no '='", "NAME=VALUE"}},
        {"$hookhost --mode 0 --property =x $run", 125, {"'=x' has no name", "NAME=VALUE"}},
        {"$hookhost --mode 0 --timeout 0 $run", 125, {"--timeout '0'", "seconds above 0"}},
        {"$hookhost --mode 0 --timeout 5s $run", 125, {"--timeout '5s'"}},
        {"$hookhost --mode 0 --timeout nan $run", 125, {"--timeout 'nan'"}},
        {"$hookhost --mode 0 --format xml $run", 125, {"'xml'", "text, raw, jsonl"}},
        {"$hookhost --mode 0 --frob $run", 125, {"--frob", "--help"}},
        {"$hookhost --mode 0 --home= $run", 125, {"--home= has no value"}},
        {"$hookhost --mode 0 --home ann --root $root $fixture",
         125,
         {"--home 'ann' is relative", "absolute"}},
        {"$hookhost --list --mode 0 $fixture", 125, {"--list", "leave out --mode"}},
        {"$hookhost --mode 0", 125, {"PLUGIN is required"}},

        {"$hookhost --mode 0 --root $root/none $fixture", 125, {"/none'", "no such folder"}},
        {"$hookhost --mode 0 --root '' $fixture", 125, {"root ''", "no such folder"}},
        {"$hookhost --mode 0 --root $in/file $fixture", 125, {"/in/file'", "not a folder"}},
        {"$hookhost -n --mode 0 --root $in/file $fixture", 125, {"/in/file'", "not a folder"}},
        {"setpriv --bounding-set=-dac_override,-dac_read_search $hookhost --mode 0 --root $in/closed $fixture",
         125,
         {"/in/closed'", "may not enter"}},
        {"setpriv --bounding-set=-sys_chroot $hookhost --mode 0 $run", 125, {"super-user", "unshare"}},

        {"$hookhost --mode 0 --root $root $in/none", 127, {"/in/none'", "No such file"}},
        {"$hookhost --mode 0 --root $root none.so", 127, {"'./none.so'"}},
        {"$hookhost --mode 0 --root $root $in", 127, {"/in'", "not a file"}},
        {"$hookhost --mode 0 --root $root $in/file", 127, {"/in/file'", "no dynamic library"}},
        {"$hookhost -n --mode 0 --root $root $in/file", 127, {"/in/file'", "no dynamic library"}},
        {"$hookhost --mode 0 --root $root $in/empty", 127, {"/in/empty'", "no dynamic library"}},
        {"$hookhost --mode 0 --root $root $in/wordsize", 127, {"/in/wordsize'", "32-bit", "64-bit"}},
        {"$hookhost --list $in/wordsize", 127, {"/in/wordsize'", "32-bit", "64-bit"}},
        {"$hookhost --mode 0 --root $root $in/machine", 127, {"/in/machine'", "arm"}},
        {"$hookhost --mode 0 --root $root $in/object", 127, {"/in/object'", "-shared"}},
        {"$hookhost --mode 0 --root $root $in/damaged", 127, {"/in/damaged'", "cannot be loaded"}},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.command);
        Result const result = shell(each.command);
        EXPECT_EQ(result.status, each.status);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::StartsWith("hookhost: "));
        for (auto const* words : each.told) {
            EXPECT_THAT(result.err, HasSubstr(words));
        }
        EXPECT_THAT(namesIn("/"), ElementsAre("in")); // no call was made
    }
}

TEST_F(Hookhost, MissingEntryPoint)
{
    Result const run = hookhost("--mode 0 --home / --root $root $lacking");
    EXPECT_EQ(run.status, 126);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("does not export QvInstallerCustomHookCloseSession"));
    EXPECT_THAT(namesIn("/"), ElementsAre());

    Result const list = hookhost("--list $lacking");
    EXPECT_EQ(list.status, 126);
    EXPECT_THAT(list.out, HasSubstr("QvInstallerCustomHookCloseSession  missing\n"));
    EXPECT_THAT(list.out, HasSubstr("QvInstallerCustomHookProc          exported\n"));
}

TEST_F(Hookhost, CallsWhatWasAskedForInItsOrder)
{
    struct
    {
        char const* arguments;
        char const* out;
        int status;
    } const cases[] = {
        {"--mode install", "0/3 \n0/0 \n0/1 \n0/2 \n0/4 \n", 0},
        {"--mode uninstall --phase post-payload --phase 0 --phase post-payload", "2/2 \n2/0 \n2/2 \n", 0},
        {"--mode -2 --phase 0xFFFFFFFF", "-2/4294967295 \n", 0},
        {"--mode 0xffffffff --phase -1", "-1/4294967295 \n", 0},
        {"--mode=reinstall --phase=1 -D say=a=b -Dsay=second", "1/1 a=b\n", 0},
        {"--mode 1 --phase 1 -D say=", "1/1 \n", 0},
        // The first status other than 0 is the run's, and ends nothing.
        {"--mode 0 --phase 0 --phase 2 --phase 1 -D times=61", "0/0 \n0/2 \n0/1 \n", 122},
        {"--mode 0 --phase 1 --phase 2 -D times=123", "0/1 \n0/2 \n", 123},
        {"--mode 0 --phase 1 -D times=256", "0/1 \n", 123},
        {"--mode 0 --phase 1 -D times=7 --no-log-callback", "", 7},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.arguments);
        root.renew();
        Result const result = hookhost(std::string("--format raw ") + each.arguments + " $run");
        EXPECT_EQ(result.status, each.status) << result.err;
        EXPECT_EQ(result.out, each.out);
        EXPECT_THAT(namesIn("/"), ElementsAre("called"));
    }
}

TEST_F(Hookhost, TextAndJsonLines)
{
    std::string const arguments =
        "--mode reinstall --phase 1 -D times=3 -D \"say=$(printf 'two\\nlines \\377 \\033[1m')\" $run";
    std::string const start =
        "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z reinstall/pre-payload (\\d+) ";
    std::string const text = hookhost(arguments).out;
    EXPECT_TRUE(std::regex_match(text, std::regex(start + "1/1 two\\\\nlines \xFF \\\\x1B\\[1m\\n" + start +
                                                  "= status 3 after \\d+\\.\\d ms\\n")))
        << text;

    std::istringstream lines(hookhost("--format jsonl " + arguments).out);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    Json const message = Json::parse(line);
    EXPECT_EQ(message["message"], "1/1 two\nlines \xEF\xBF\xBD \x1B[1m");
    EXPECT_EQ(message["mode"], "reinstall");
    EXPECT_EQ(message["phase"], "pre-payload");
    ASSERT_TRUE(std::getline(lines, line));
    Json const closing = Json::parse(line);
    EXPECT_EQ(closing["outcome"], "returned");
    EXPECT_EQ(closing["status"], 3);
    EXPECT_EQ(closing["pid"], message["pid"]);
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Hookhost, PluginThatDoesNotReturnIsOnRecord)
{
    struct
    {
        char const* act;
        int status;
        char const* outcome;
        char const* reason;
    } const cases[] = {
        {"crash", 128 + SIGSEGV, "signal", "ended by signal 11 (Segmentation fault)"},
        {"exit", 125, "exit", "exit(5)"},
        {"hang --timeout 0.5", 124, "timeout", "did not return within 0.5 s"},
    };
    for (auto const& each : cases) {
        for (std::string const format : {"text", "raw", "jsonl"}) {
            SCOPED_TRACE(each.act + format);
            // A sanitizer's look for leaks at exit() needs a /proc, which the root has not.
            Result const result =
                shell("ASAN_OPTIONS=detect_leaks=0 $hookhost --mode 0 --phase 1 --phase 2 --format " +
                      format + " $run -D act=" + each.act);
            EXPECT_EQ(result.status, each.status);
            EXPECT_THAT(result.err, HasSubstr("install/pre-payload: "));
            EXPECT_THAT(result.err, HasSubstr(each.reason));
            EXPECT_THAT(result.err, HasSubstr("calls not made: 2"));
            std::istringstream lines(result.out);
            std::string line;
            std::getline(lines, line);
            EXPECT_THAT(line, HasSubstr("0/1"));
            ASSERT_TRUE(std::getline(lines, line));
            EXPECT_THAT(line, HasSubstr(each.reason));
            if (format == "jsonl") {
                EXPECT_EQ(Json::parse(line)["outcome"], each.outcome);
            }
            EXPECT_FALSE(std::getline(lines, line)) << line;
        }
    }
}

TEST_F(Hookhost, LongPhaseIsMentionedAndWorkerDoesNotOutliveItsHost)
{
    // The pipe ends when the worker does, too.
    Result const result =
        shell("{ $hookhost --mode 0 --phase 2 $run -D act=hang & sleep 2.5; kill -KILL $!; }"
              " | timeout 10 cat");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("hookhost: install/post-payload has been running for 2 s\n"));
}

TEST_F(Hookhost, CopyThatComesBackIsEnded)
{
    Result const result = hookhost("--mode 0 --phase 2 $run -D act=copy");
    EXPECT_EQ(result.status, 0);
    std::smatch found;
    ASSERT_TRUE(std::regex_match(result.out, found,
                                 std::regex(".* (\\d+) 0/2 \n.* (\\d+) copy\n.* (\\d+) original\n"
                                            ".* (\\d+) = status 0 .*\n")))
        << result.out;
    EXPECT_NE(found[2], found[1]);
    EXPECT_EQ(found[3], found[1]);
    EXPECT_EQ(found[4], found[1]);
}

TEST_F(Hookhost, DryRunLoadsNothing)
{
    Result const result = hookhost("-n --mode 1 --phase 2 --phase 9 -D code=A $run");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("property code=A\n"));
    EXPECT_THAT(result.out, HasSubstr("InitSession()\n"
                                      "would call QvInstallerCustomHookProc(properties, 2, 1, 0, log) for "
                                      "reinstall/post-payload\n"
                                      "would call QvInstallerCustomHookProc(properties, 9, 1, 0, log) for "
                                      "reinstall/9\n"
                                      "would call QvInstallerCustomHookCloseSession()\n"));
    EXPECT_THAT(namesIn("/"), ElementsAre());
}

TEST_F(Hookhost, LostOutputIsNoticed)
{
    Result const full = shell("$hookhost --mode 0 $run >/dev/full");
    EXPECT_EQ(full.status, 125);
    EXPECT_THAT(full.err, HasSubstr("output was lost: No space left"));
    EXPECT_EQ(shell("$hookhost --mode 0 $run >&-").status, 125);
    EXPECT_EQ(readFile("/called"), "");
}

TEST_F(Hookhost, RunsTheProduct)
{
    EXPECT_EQ(hookhost("--list $product").status, 0);
    EXPECT_THAT(hookhost("--list $product").out, testing::Not(HasSubstr("missing")));

    Result const result = hookhost("--format raw --mode install --home /Users/ann --root $root $product");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("::FT::In InstallSessionOpenProc\n"));
    EXPECT_THAT(result.out, HasSubstr("::FT::CUSTOM ACTION: Successfully created UUID\n"));
    EXPECT_TRUE(exists("/Library/Application Support/Zelko/Fendrial Tessarine/12/UUID.plist"));

    EXPECT_EQ(hookhost("--mode 7 --phase 7 --root $root $product").status, 3);
    EXPECT_EQ(hookhost("--mode 0 --phase 7 --root $root $product").status, 4);
}

} // namespace
