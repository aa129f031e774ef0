#include "tools/hookhost/options.h"

#include "tools/common/version.h"
#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/hook_interface.h"
#include "tools/hookhost/hook_number.h"
#include "tools/hookhost/messages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>

namespace hookhost {

namespace {

char const* const exitStatusHelp =
    "Exit status: 0, or the first status other than 0 that the hook returned (123 for 123 and above);\n"
    "with expectations 0 if all hold and 121 if one does not;\n"
    "124 a call took longer than --timeout, 125 usage or host error, 126 the plug-in lacks an entry point,\n"
    "127 the plug-in cannot be loaded, 128+N the plug-in was ended by signal N. The last five end the run,\n"
    "except 125 for lost output, which replaces only status 0.";

[[noreturn]] void refuse(std::string const& message)
{
    throw Refusal(kExitHostError, message);
}

[[noreturn]] void refuseUnknown(char const* option, std::string const& text, std::string const& names)
{
    refuse(fmt::format("{} '{}' is unknown; give one of {} or a 32-bit number, such as 7 or 0xFFFFFFFF",
                       option, text, names));
}

std::pair<std::string, std::string> readProperty(std::string const& text)
{
    std::size_t const equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        refuse(fmt::format("--property '{}' has no {}; give NAME=VALUE", text, equals == 0 ? "name" : "'='"));
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::chrono::milliseconds readTimeout(std::string const& text)
{
    constexpr double most = 30 * 24 * 3600;
    // Not std::from_chars: macOS's C++ library reads no floating-point numbers with it. strtod also reads blanks,
    // "nan" and hexadecimal, which the characters allowed here rule out.
    char* end = nullptr;
    double const seconds = std::strtod(text.c_str(), &end);
    if (text.find_first_not_of("0123456789.eE-+") != std::string::npos || *end != '\0' ||
        !(seconds > 0 && seconds <= most)) {
        refuse(fmt::format("invalid --timeout '{}'; give seconds above 0, such as 30 or 0.5, at most {:.0f}",
                           text, most));
    }
    return std::chrono::milliseconds(std::max(1LL, std::llround(seconds * 1000)));
}

OutputFormat readFormat(std::string const& text)
{
    if (text == "text") {
        return OutputFormat::kText;
    }
    if (text == "raw") {
        return OutputFormat::kRaw;
    }
    if (text == "jsonl") {
        return OutputFormat::kJsonLines;
    }
    refuse(fmt::format("--format '{}' is unknown; give one of text, raw, jsonl", text));
}

} // namespace

std::optional<Options> readOptions(int argc, char const* const* argv)
{
    Options options;
    std::string mode;
    std::vector<std::string> phases(phasesInCallingOrder.begin(), phasesInCallingOrder.end());
    std::vector<std::string> properties;
    std::string timeout;
    std::string format = "text";
    bool silent = false;
    bool noCapture = false;
    std::vector<std::string> expectedOutcomes;
    std::vector<std::string> expectedMessages;
    std::string debug;

    CLI::App app("Calls an installer's custom-hook plug-in as the installer would.", "hookhost");
    app.footer(exitStatusHelp);
    app.set_version_flag("--version", fmt::format("hookhost {}\n", common::version),
                         "Print the version and exit");
    app.add_option("PLUGIN", options.plugin, "The plug-in, a dynamic library")->type_name("")->required();
    app.add_flag("--list", options.list, "List the plug-in's entry points and phase procedures instead");
    CLI::Option const* const runOptions[] = {
        app.add_option("--mode", mode, "install, reinstall, uninstall or a 32-bit number")->type_name("MODE"),
        app.add_option(
               "--phase", phases,
               "A phase to run: pre-system-check, pre-payload,\n"
               "post-payload, session-open, session-close or a\n"
               "32-bit number; may be repeated. Without it:\n" +
                   fmt::format(
                       "{},\n{}",
                       fmt::join(phasesInCallingOrder.begin(), phasesInCallingOrder.begin() + 3, ", "),
                       fmt::join(phasesInCallingOrder.begin() + 3, phasesInCallingOrder.end(), ", ")))
            ->type_name("PHASE")
            ->allow_extra_args(false),
        app.add_option("-D,--property", properties, "A session property; may be repeated")
            ->type_name("NAME=VALUE")
            ->allow_extra_args(false),
        app.add_option("--root", options.root, "Enter this folder as the root before any call")
            ->type_name("DIR"),
        app.add_flag("--overlay", options.overlay,
                     "Run on an overlay of the root, or of the machine itself,\nthat is thrown away (Linux)"),
        app.add_option("--keep", options.keep,
                       "Leave the changes made on the overlay in this new or\nempty folder")
            ->type_name("DIR"),
        app.add_flag(
            "--changes", options.changes,
            "Record what each phase created, removed and changed\nbelow the root; with --root or --overlay"),
        app.add_option("--home", options.home, "The user's home folder, as seen from inside the root")
            ->type_name("DIR"),
        app.add_flag("--null-properties", options.nullProperties,
                     "Give the hook no property map (a null pointer)"),
        app.add_flag("--no-log-callback", silent, "Give the hook no log to write to"),
        app.add_flag("--no-capture", noCapture,
                     "Send the hook's own output to standard error as it is,\ninstead of recording it"),
        app.add_option("--expect", expectedOutcomes,
                       "How a phase is expected to end: [PHASE=]STATUS, signal:N,\n"
                       "timeout or exit:N; without a phase, every phase that no\n"
                       "other one names; may be repeated. Exit status: 0 if\n"
                       "every expectation holds, 121 if one does not")
            ->type_name("OUTCOME")
            ->allow_extra_args(false),
        app.add_option("--expect-log", expectedMessages,
                       "A part of a message that is expected: [PHASE=]TEXT; may\nbe repeated")
            ->type_name("TEXT")
            ->allow_extra_args(false),
        app.add_flag("--explain", options.explain,
                     "Add to each log line of CustomHooksTessarine what it\nmeans and what to do"),
        app.add_option(
               "--debug", debug,
               "wait: print the worker's process id after loading, and\nwait for a debugger or SIGCONT")
            ->type_name("wait"),
        app.add_option("--format", format,
                       "text (with time and phase, grouped on a terminal; the\n"
                       "default), raw (the messages and the output as they are,\n"
                       "and how a call failed to return) or jsonl (a JSON\n"
                       "object per line, errors included)")
            ->type_name("FORMAT"),
        app.add_flag(
            "-n,--dry-run", options.dryRun,
            "Check what can be checked without loading the plug-in,\nand print what would be called"),
    };
    app.add_option("--timeout", timeout,
                   "The longest that a call into the plug-in may take,\nsuch as 30 or 0.5")
        ->type_name("SECONDS");

    // Otherwise the parser would take the next argument as the missing value.
    for (int each = 1; each < argc && std::string_view(argv[each]) != "--"; ++each) {
        std::string_view const argument = argv[each];
        if (argument.substr(0, 2) == "--" && argument.find('=') == argument.size() - 1) {
            refuse(fmt::format("{} has no value; give one after the '='", argument));
        }
    }
    try {
        app.parse(argc, argv);
    } catch (CLI::CallForHelp const&) {
        printResult(app.help());
        return std::nullopt;
    } catch (CLI::CallForVersion const& request) {
        printResult(request.what());
        return std::nullopt;
    } catch (CLI::ParseError const& error) {
        refuse(fmt::format("{}; see hookhost --help", error.what()));
    }

    if (options.plugin.find('/') == std::string::npos) {
        options.plugin.insert(0, "./");
    }
    if (!timeout.empty()) {
        options.timeout = readTimeout(timeout);
    }
    if (options.list) {
        for (CLI::Option const* const option : runOptions) {
            if (option->count() > 0) {
                refuse(fmt::format("--list calls nothing; leave out {}", option->get_name()));
            }
        }
        return options;
    }
    if (mode.empty()) {
        refuse(fmt::format("--mode is missing; give one of {} or a number", fmt::join(modeNames, ", ")));
    }
    auto const modeNumber = readMode(mode);
    if (!modeNumber) {
        refuseUnknown("--mode", mode, fmt::format("{}", fmt::join(modeNames, ", ")));
    }
    options.mode = *modeNumber;
    for (std::string const& each : phases) {
        auto const phase = readPhase(each);
        if (!phase) {
            refuseUnknown("--phase", each, fmt::format("{}", fmt::join(phaseNames, ", ")));
        }
        options.phases.push_back(*phase);
    }
    for (std::string const& each : expectedOutcomes) {
        options.expectations.push_back(readExpectedOutcome(each));
    }
    for (std::string const& each : expectedMessages) {
        options.expectations.push_back(readExpectedMessage(each));
    }
    for (std::string const& property : properties) {
        options.properties.push_back(readProperty(property));
    }
    if (options.home && options.home->substr(0, 1) != "/") {
        refuse(fmt::format("--home '{}' is relative; give an absolute path, as seen from inside the root",
                           *options.home));
    }
    if (options.nullProperties && !properties.empty()) {
        refuse("--null-properties passes no properties; leave out --property or --null-properties");
    }
    if (options.changes && !options.root && !options.overlay) {
        refuse("--changes cannot watch the machine itself; add --overlay, or --root with another root");
    }
    if (options.keep && !options.overlay) {
        refuse("--keep leaves the changes of an overlay; add --overlay or leave out --keep");
    }
    options.logCallback = !silent;
    options.capture = !noCapture;
    options.format = readFormat(format);
    if (options.explain && options.format == OutputFormat::kRaw) {
        refuse("--explain adds to messages, which --format raw prints as they are; give text or jsonl");
    }
    if (!debug.empty() && debug != "wait") {
        refuse(fmt::format("--debug '{}' is unknown; give wait", debug));
    }
    options.debugWait = !debug.empty();
    return options;
}

bool asksForJson(int argc, char const* const* argv)
{
    bool asks = false;
    for (int each = 1; each < argc && std::string_view(argv[each]) != "--"; ++each) {
        std::string_view const argument = argv[each];
        std::string_view const following = each + 1 < argc ? argv[each + 1] : "";
        asks |= argument == "--format=jsonl" || (argument == "--format" && following == "jsonl");
    }
    return asks;
}

} // namespace hookhost
