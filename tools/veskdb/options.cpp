#include "tools/veskdb/options.h"

#include "libdolmvesk/payloaddb.h"
#include "tools/common/descriptor_output.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <unistd.h>

namespace veskdb {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t anyNumber = 4;

/// One form of command line: a verb, the databases that it takes, and what may follow them.
struct Form
{
    char const* verb;
    Words databases;
    Command command;
    std::size_t fewest; ///< words after the database, for verbs that take one
    std::size_t most;
    Words options;
    char const* usage;
};

Words const all = {"pdb", "pcd", "cache", "vesk"};
Words const settings = {"pcd", "cache"};

Form const forms[] = {
    {"list", {"pdb"}, Command::kListPayloads, 0, 0, {"--state"}, "[--state installed|not-installed|all]"},
    {"list", settings, Command::kListSettings, 0, 3, {}, "[DOMAIN [SUBDOMAIN [KEY]]]"},
    {"list", {"vesk"}, Command::kListCatalogue, 0, 0, {}, ""},
    {"show", {"pdb"}, Command::kShowPayload, 1, 1, {}, "ID"},
    {"show", {"vesk"}, Command::kShowCatalogue, 1, 1, {}, "ID"},
    {"add",
     {"pdb"},
     Command::kAddPayload,
     1,
     1,
     {"--family", "--name", "--version", "--signature", "--conflicts", "--upgrades", "--replace"},
     "ID --family F --name N --version V --signature S\n"
     "         [--conflicts ID]... [--upgrades ID]... [--replace]"},
    {"set",
     {"pdb"},
     Command::kSetPayload,
     1,
     1,
     {"--state", "--data"},
     "ID --state installed|not-installed | --data DOMAIN KEY VALUE"},
    {"set", settings, Command::kSetSetting, 4, 4, {}, "DOMAIN SUBDOMAIN KEY VALUE"},
    {"remove", {"pdb"}, Command::kRemovePayload, 1, 1, {"--yes"}, "ID [--yes]"},
    {"remove", settings, Command::kRemoveSettings, 2, 3, {"--yes"}, "DOMAIN SUBDOMAIN [KEY] [--yes]"},
    {"verify", {}, Command::kVerify, 0, anyNumber, {}, "[DB]..."},
    {"backup", {}, Command::kBackup, 0, anyNumber, {"--to"}, "[DB]... [--to FILE]"},
    {"restore", all, Command::kRestore, 0, 0, {"--from", "--yes"}, "[--from FILE] [--yes]"},
    {"info", {}, Command::kInfo, 0, 0, {}, ""},
};

[[noreturn]] void refuse(std::string const& message)
{
    throw Refusal(kExitError, message);
}

bool contains(Words const& words, std::string const& word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string usageOf(Form const& form)
{
    std::string usage = fmt::format("veskdb {}", form.verb);
    for (std::string const& word :
         {fmt::format("{}", fmt::join(form.databases, "|")), std::string(form.usage)}) {
        usage += word.empty() ? "" : ' ' + word;
    }
    return usage;
}

std::string usageOf(std::string const& verb)
{
    std::string lines;
    for (Form const& form : forms) {
        if (verb.empty() || verb == form.verb) {
            lines += "\n  " + usageOf(form);
        }
    }
    return lines;
}

/// The form that the words begin, with the verb and a single database taken off them.
Form const& takeForm(Words& words, Options& options)
{
    std::string const verb = words.front();
    std::string const database = words.size() > 1 ? words[1] : "";
    bool known = false;
    for (Form const& form : forms) {
        if (verb != form.verb) {
            continue;
        }
        known = true;
        if (form.databases.empty() || contains(form.databases, database)) {
            words.erase(words.begin(), words.begin() + (form.databases.empty() ? 1 : 2));
            if (!form.databases.empty()) {
                options.named.push_back(&databaseNamed(database));
            }
            return form;
        }
    }
    if (!known) {
        refuse(fmt::format("the verb '{}' is unknown; give one of these:{}", verb, usageOf("")));
    }
    if (database.empty()) {
        refuse(fmt::format("{} needs a database:{}", verb, usageOf(verb)));
    }
    refuse(fmt::format("there is no {} for {} ({}); there is:{}", verb, database,
                       databaseNamed(database).title, usageOf(verb)));
}

int32_t readDomain(std::string const& text)
{
    int32_t domain = 0;
    char const* const end = text.data() + text.size();
    auto const read = std::from_chars(text.data(), end, domain);
    if (read.ec != std::errc() || read.ptr != end) {
        refuse(fmt::format("domain '{}' will not do; give a 32-bit number, such as 0", text));
    }
    return domain;
}

std::optional<int32_t> readState(std::string const& text, bool listing)
{
    if (text == "installed") {
        return kPdbInstalled;
    }
    if (text == "not-installed") {
        return kPdbNotInstalled;
    }
    if (text != "all" || !listing) {
        refuse(fmt::format("--state '{}' is unknown; give installed, not-installed{}", text,
                           listing ? " or all" : ""));
    }
    return std::nullopt;
}

void takeOperands(Form const& form, Words const& words, Options& options)
{
    if (words.size() < form.fewest || words.size() > form.most) {
        refuse(fmt::format("too {} words; the form is\n  {}", words.size() < form.fewest ? "few" : "many",
                           usageOf(form)));
    }
    if (form.databases.empty()) {
        for (std::string const& word : words) {
            options.named.push_back(&databaseNamed(word));
        }
    } else if (form.fewest == 1) {
        options.payloadID = words[0];
    } else if (!words.empty()) {
        options.domain = readDomain(words[0]);
        options.address.assign(words.begin() + 1, words.end());
    }
}

/// Does what the parser cannot: a missing value would be taken from the next word, and a value of --data that
/// begins with "-" would be taken for an option.
///
/// @param data  receives the words of --data
/// @return the other words
Words takeData(Words words, Words& data)
{
    for (auto word = words.begin(); word != words.end() && *word != "--";) {
        if (word->substr(0, 2) == "--" && word->find('=') == word->size() - 1) {
            refuse(fmt::format("{} has no value; give one after the '=', or '' as a word of its own", *word));
        }
        if (*word == "--data" && !data.empty()) {
            refuse("--data can be given once; repeat the command for another value");
        }
        if (*word == "--data" && words.end() - word > 3) {
            data.assign(word + 1, word + 4);
            word = words.erase(word, word + 4);
        } else {
            ++word;
        }
    }
    return words;
}

/// What the parser cannot know of the options of one form.
void checkOptions(Form const& form, Options const& options, CLI::App const& app)
{
    for (CLI::Option const* const option : app.get_options()) {
        std::string const name = option->get_name();
        bool const everywhere = name == "--root" || name == "--json" || name == "WORDS";
        bool const given = option->count() > 0 || (name == "--data" && options.data);
        if (given && !everywhere && !contains(form.options, name)) {
            refuse(fmt::format("{} does not go with this form:\n  {}", name, usageOf(form)));
        }
        bool const needed = form.command == Command::kAddPayload && name != "--conflicts" &&
                            name != "--upgrades" && name != "--replace";
        if (needed && option->count() == 0 && contains(form.options, name)) {
            refuse(fmt::format("{} is missing; the form is\n  {}", name, usageOf(form)));
        }
    }
    if (form.command == Command::kAddPayload && options.payloadID.empty()) {
        refuse("a payload's identifier cannot be empty");
    }
    if (form.command == Command::kSetPayload && !options.state && !options.data) {
        refuse(fmt::format("nothing to set; the form is\n  {}", usageOf(form)));
    }
    if (options.to && options.named.size() != 1) {
        refuse("--to FILE takes the copy of one database; name that one");
    }
    for (auto const& [option, file] : {std::pair{"--to", options.to}, std::pair{"--from", options.from}}) {
        if (file && file->empty()) {
            refuse(fmt::format("{} has an empty value; give the path of a file", option));
        }
        if (file && options.root && file->front() != '/') {
            refuse(fmt::format("{} '{}' is relative; give an absolute path, as seen from inside the root",
                               option, *file));
        }
    }
    for (Database const* const each : options.named) {
        bool const copies = form.command == Command::kBackup || form.command == Command::kRestore;
        if (copies && !each->store->hasBackup && !options.to && !options.from) {
            refuse(fmt::format("{} has no backup of its own; give {} FILE", each->name,
                               form.command == Command::kBackup ? "--to" : "--from"));
        }
    }
}

} // namespace

std::optional<Options> readOptions(int argc, char const* const* argv)
{
    Options options;
    Words words;
    Words data;
    std::string state;

    CLI::App app("Lists, shows, changes, verifies, backs up and restores the installer's records:\n" +
                     usageOf("") + "\n\nOptions may stand anywhere; '--' ends them.",
                 "veskdb");
    app.footer("DB is pdb (payloads), pcd (master settings), cache (cached settings) or vesk (catalogue).\n"
               "Exit status: 0; 1 not found, declined, or a check failed; 2 usage or database error.");
    app.add_option("WORDS", words, "VERB, database and what follows")->type_name("");
    app.add_option("--root", options.root, "Enter this folder as the root first; FILEs lie inside it")
        ->type_name("DIR");
    app.add_flag("--json", options.json, "Print one JSON document");
    app.add_option("--state", state, "installed, not-installed or all")->type_name("STATE");
    app.add_option("--family", options.family, "Product family")->type_name("F");
    app.add_option("--name", options.name, "Product name")->type_name("N");
    app.add_option("--version", options.version, "Product version")->type_name("V");
    app.add_option("--signature", options.signature, "Signature of the payload")->type_name("S");
    app.add_option("--conflicts", options.conflicts, "A payload in conflict; may be repeated")
        ->type_name("ID")
        ->allow_extra_args(false);
    app.add_option("--upgrades", options.upgrades, "A payload that is upgraded; may be repeated")
        ->type_name("ID")
        ->allow_extra_args(false);
    app.add_flag("--replace", options.replace, "Replace the record of this payload, if there is one");
    app.add_option("--data", data, "A value to store for the payload")
        ->type_name("DOMAIN KEY VALUE")
        ->expected(3);
    app.add_flag("-y,--yes", options.yes, "Do not ask");
    app.add_option("--to", options.to, "Back up to this file instead")->type_name("FILE");
    app.add_option("--from", options.from, "Restore this file instead of the backup")->type_name("FILE");

    try {
        Words arguments = takeData(Words(argv + 1, argv + argc), data);
        std::reverse(arguments.begin(), arguments.end()); // as the parser wants them
        app.parse(arguments);
    } catch (CLI::CallForHelp const&) {
        int const error = common::writeAll(STDOUT_FILENO, app.help());
        if (error != 0) {
            refuse(common::lossOf(error));
        }
        return std::nullopt;
    } catch (CLI::ParseError const& error) {
        refuse(fmt::format("{}; see veskdb --help", error.what()));
    }

    if (words.empty()) {
        refuse("the verb is missing; see veskdb --help");
    }
    Form const& form = takeForm(words, options);
    options.command = form.command;
    takeOperands(form, words, options);
    if (!state.empty() || app.count("--state") > 0) {
        options.state = readState(state, form.command == Command::kListPayloads);
    }
    if (!data.empty()) {
        options.data = PayloadValue{readDomain(data[0]), data[1], data[2]};
    }
    checkOptions(form, options, app);
    return options;
}

} // namespace veskdb
