#include "tools/veskdb/command_line.h"

#include "libdolmvesk/payloaddb.h"
#include "tools/common/version.h"
#include "tools/veskdb/backup_restore.h"
#include "tools/veskdb/diff.h"
#include "tools/veskdb/editing.h"
#include "tools/veskdb/find.h"
#include "tools/veskdb/graph.h"
#include "tools/veskdb/listing.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/recover.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/relation_types.h"
#include "tools/veskdb/salvage.h"
#include "tools/veskdb/transfer.h"
#include "tools/veskdb/verify.h"
#include "tools/veskdb/why.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstring>
#include <fmt/format.h>
#include <functional>
#include <map>
#include <set>

namespace veskdb {

namespace {

using Words = std::vector<std::string>;

constexpr int32_t lastDataDomain = 5;

[[noreturn]] void refuse(std::string const& message)
{
    throw Refusal(kExitError, message);
}

bool contains(Words const& words, std::string const& word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isOption(std::string const& word)
{
    return word.size() > 1 && word.front() == '-';
}

/// @return nothing when the text is no 32-bit number
std::optional<int32_t> readNumber(std::string const& text)
{
    int32_t number = 0;
    char const* const end = text.data() + text.size();
    auto const read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

int32_t readDomain(std::string const& text)
{
    auto const domain = readNumber(text);
    if (!domain) {
        refuse(fmt::format("invalid domain '{}'; give a 32-bit number, such as 0", text));
    }
    return *domain;
}

/// A domain of payload data.
int32_t readDataDomain(std::string const& text)
{
    int32_t const domain = readDomain(text);
    if (domain < 0 || domain > lastDataDomain) {
        refuse(fmt::format("invalid domain '{}' of payload data; give a number from 0 to {}", text,
                           lastDataDomain));
    }
    return domain;
}

char const* nameOf(int32_t relationType)
{
    return relationTypes[static_cast<std::size_t>(relationType)];
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

/// How a form is called: "veskdb list pdb [--state ...]".
std::string synopsisOf(CLI::App const& form)
{
    std::string path;
    for (CLI::App const* each = &form; each != nullptr; each = each->get_parent()) {
        Words names = each->get_aliases();
        names.insert(names.begin(), each->get_name());
        path = fmt::format("{}{}{}", fmt::join(names, "|"), path.empty() ? "" : " ", path);
    }
    std::string line = path;
    std::string synopsis;
    auto const append = [&](std::string const& part) {
        constexpr std::size_t widest = 100;
        if (line.size() + part.size() > widest) {
            synopsis += line + '\n';
            line = "         ";
        }
        line += ' ' + part;
    };
    auto const appendOption = [&](CLI::Option const& option, std::string const& text) {
        bool const repeated = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
        append((option.get_required() ? text : '[' + text + ']') + (repeated ? "..." : ""));
    };
    for (CLI::Option const* const option : form.get_options()) {
        if (option->get_positional()) {
            appendOption(*option, option->get_name(true));
        }
    }
    for (CLI::Option const* const option : form.get_options()) {
        std::string const& type =
            option->get_type_name().empty() ? option->get_option_text() : option->get_type_name();
        if (!option->get_positional() && option->get_group() == "Options") {
            appendOption(*option, option->get_name() + (type.empty() ? "" : ' ' + type));
        }
    }
    return synopsis + line;
}

/// Prints a form's synopsis instead of a list of its arguments, and all forms instead of a list of verbs.
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_usage(CLI::App const* app, std::string /*name*/) const override
    {
        return "\nUsage:" + synopses(*app) + '\n';
    }

    std::string make_help(CLI::App const* app, std::string name, CLI::AppFormatMode mode) const override
    {
        std::string help = Formatter::make_help(app, std::move(name), mode);
        for (auto at = help.find("\n\n\n"); at != std::string::npos; at = help.find("\n\n\n")) {
            help.erase(at, 1);
        }
        return help;
    }

    std::string make_subcommands(CLI::App const* /*app*/, CLI::AppFormatMode /*mode*/) const override
    {
        return "";
    }

    /// The synopses of all forms below a verb or the program, a line each.
    static std::string synopses(CLI::App const& app)
    {
        auto const forms = app.get_subcommands({});
        std::string lines = forms.empty() ? "\n  " + synopsisOf(app) : "";
        for (CLI::App const* const form : forms) {
            lines += synopses(*form);
        }
        return lines;
    }
};

class CommandLine
{
public:
    CommandLine() : app("Looks after the installer's records.", "veskdb")
    {
        app.formatter(std::make_shared<HelpFormatter>());
        addCommonOptions(app);
        app.add_flag("--version", "Print the version of this program");
        addListing();
        addEditing();
        addTransfer();
        addFiles();
        app.footer(
            "\nOptions may appear anywhere; '--' ends them. 'veskdb VERB --help' describes a verb.\n"
            "DB is pdb (payloads), pcd (master settings), cache (cached settings) or vesk (catalogue).\n"
            "Exit status: 0; 1 not found, declined, or a check failed; 2 usage or database error.");
    }

    std::optional<Command> read(Words words)
    {
        Words path;
        CLI::App& form = takePath(words, path);
        bool const help = contains(words, "--help") || contains(words, "-h");
        if (forms.count(&form) == 0) {
            if (help) {
                print(helpOf(form));
                return std::nullopt;
            }
            if (&form == &app && contains(words, "--version")) {
                print(fmt::format("veskdb {}\n", common::version));
                return std::nullopt;
            }
            refuse(&form == &app ? "the verb is missing; see veskdb --help"
                                 : fmt::format("{} needs a database:{}", form.get_name(),
                                               HelpFormatter::synopses(form)));
        }
        takeWordsOfOptions(form, words);
        path.insert(path.end(), words.begin(), words.end());
        std::reverse(path.begin(), path.end()); // as the parser requires
        try {
            app.parse(path);
        } catch (CLI::CallForHelp const&) {
            print(form.help());
            return std::nullopt;
        } catch (CLI::RequiredError const&) {
            refuseMissing(form);
        } catch (CLI::ParseError const& error) {
            refuse(fmt::format("{}; see veskdb --help", error.what()));
        }
        check(form);
        command.run = forms[&form].run;
        command.prepare = forms[&form].prepare;
        return command;
    }

private:
    struct Form
    {
        int (*run)(Options const& options);
        std::function<void()> check; ///< refuses mistakes that the parser does not know
        void (*prepare)(Options const& options) = nullptr;
    };

    /// An option that takes several words. Each may begin with "-", which the parser would take for an option.
    struct Tuple
    {
        std::size_t words;
        bool repeatable;
        std::function<void(Words const& words)> take;
    };

    static std::string helpOf(CLI::App const& verb)
    {
        auto const below = verb.get_subcommands({});
        if (verb.get_parent() == nullptr) {
            return verb.help();
        }
        std::string help;
        for (CLI::App const* const form : below) {
            help += form->help() + '\n';
        }
        return help;
    }

    void addCommonOptions(CLI::App& to)
    {
        to.add_option("--root", command.options.root,
                      "Enter this folder as the root first; FILEs are inside it")
            ->type_name("DIR")
            ->group("Common options");
        to.add_flag("--json", command.options.json, "Print one JSON document")->group("Common options");
        to.get_help_ptr()->group("Common options");
    }

    CLI::App& verb(std::string const& name, std::string const& description)
    {
        CLI::App* const added = app.add_subcommand(name, description);
        added->require_subcommand(0, 1);
        return *added;
    }

    CLI::App& form(CLI::App& above, std::string const& name, std::string const& description,
                   int (*run)(Options const& options))
    {
        CLI::App* const added = above.add_subcommand(name, description);
        added->allow_extras();
        addCommonOptions(*added);
        forms[added] = {run, nullptr};
        return *added;
    }

    /// A form for either configuration store.
    CLI::App& settingsForm(CLI::App& above, std::string const& description,
                           int (*run)(Options const& options))
    {
        CLI::App& added = form(above, "pcd", description, run);
        added.alias("cache");
        return added;
    }

    void addDatabases(CLI::App& to,
                      char const* description = "pdb, pcd, cache or vesk; all when none is named")
    {
        to.add_option_function<Words>(
              "DB",
              [this](Words const& names) {
                  for (std::string const& name : names) {
                      command.options.named.push_back(&databaseNamed(name));
                  }
              },
              description)
            ->type_name("");
    }

    CLI::Option* addDatabase(CLI::App& to)
    {
        return to
            .add_option_function<std::string>(
                "DB", [this](std::string const& name) { command.options.named = {&databaseNamed(name)}; },
                "pdb, pcd, cache or vesk")
            ->type_name("");
    }

    CLI::Option* addID(CLI::App& to, char const* description)
    {
        return to.add_option("ID", command.options.id, description)->type_name("");
    }

    CLI::Option* addDomain(CLI::App& to)
    {
        return to
            .add_option_function<std::string>(
                "DOMAIN", [this](std::string const& text) { command.options.domain = readDomain(text); },
                "A 32-bit number")
            ->type_name("");
    }

    CLI::Option* addAddress(CLI::App& to, char const* name, char const* description)
    {
        return to
            .add_option_function<std::string>(
                name, [this](std::string const& text) { command.options.address.push_back(text); },
                description)
            ->type_name("");
    }

    void addState(CLI::App& to, bool listing)
    {
        to.add_option_function<std::string>(
              "--state",
              [this, listing](std::string const& text) { command.options.state = readState(text, listing); },
              listing ? "Only payloads in this state" : "Mark the payload")
            ->type_name(listing ? "installed|not-installed|all" : "installed|not-installed");
    }

    void addYes(CLI::App& to) { to.add_flag("-y,--yes", command.options.yes, "Do not ask"); }

    void addListing()
    {
        CLI::App& list = verb("list", "List records");
        addState(form(list, "pdb", "List payloads, the oldest change first.", listPayloads), true);
        CLI::App& settings = settingsForm(list, "List settings.", listSettings);
        addDomain(settings);
        addAddress(settings, "SUBDOMAIN", "Only this subdomain");
        addAddress(settings, "KEY", "Only this setting; exits 1 when it is not on record");
        form(list, "vesk", "List the catalogue's payloads and collections.", listCatalogue);
        addID(form(list, "actions", "List the user actions on products.", listActions),
              "Only of this product");
        CLI::App& show = verb("show", "Show one record");
        addID(form(show, "pdb", "Show a payload with its relations and data.", showPayload), "Of the payload")
            ->required();
        addID(form(show, "vesk", "Show all records of a payload or collection.", showCatalogue),
              "Of the payload or collection")
            ->required();
        addID(form(verb("why", "Explain a record"), "pdb",
                   "Explain why a payload can or cannot be marked installed.", explainState),
              "Of the payload")
            ->required();
        CLI::App& find = form(app, "find", "Find where a text is on record.", findText);
        find.add_option("TEXT", command.options.text, "Any part of a value, taken literally")
            ->type_name("")
            ->required();
        addDatabases(find);
        forms[&find].check = [this] {
            if (command.options.text.empty()) {
                refuse("the text to find is empty");
            }
        };
        CLI::App& graph =
            form(verb("graph", "Draw records"), "pdb", "Draw payloads and their relations.", drawGraph);
        addID(graph, "Only payloads that relations connect with this one");
        graph
            .add_option_function<std::string>(
                "--depth",
                [this](std::string const& text) {
                    command.options.depth = readNumber(text);
                    if (!command.options.depth || *command.options.depth < 0) {
                        refuse(
                            fmt::format("invalid --depth '{}'; give a number of relations, such as 2", text));
                    }
                },
                "Only payloads at most this many relations away from ID")
            ->type_name("N");
        graph
            .add_option_function<std::string>(
                "--format",
                [this](std::string const& text) {
                    if (!contains({"dot", "mermaid", "svg"}, text)) {
                        refuse(fmt::format("--format '{}' is unknown; give dot, mermaid or svg", text));
                    }
                    command.options.format = text;
                },
                "The format of the picture, dot by default; svg needs Graphviz")
            ->type_name("dot|mermaid|svg");
        forms[&graph].prepare = prepareGraph;
        forms[&graph].check = [this] {
            if (command.options.depth && command.options.id.empty()) {
                refuse("--depth needs the ID of a payload to start from");
            }
        };
        CLI::App& diff = form(app, "diff", "Compare two files of a database, or two roots.", veskdb::diff);
        addDatabase(diff)->required();
        for (auto const& [name, description] :
             {std::pair("A", "The old file or root; by default the backup"),
              std::pair("B", "The new file or root; by default the live file")}) {
            diff.add_option_function<std::string>(
                    name, [this](std::string const& file) { command.options.files.push_back(file); },
                    description)
                ->type_name("");
        }
        form(app, "info", "Print path, size, owner, mode, date, versions and rows of each database.",
             showDatabases);
        addDatabases(form(app, "verify", "Check databases and backups and report every fault.", verify));
    }

    void addEditing()
    {
        Options& options = command.options;
        CLI::App& add =
            form(verb("add", "Add a record"), "pdb", "Put a payload on record, not installed.", addPayload);
        addID(add, "Of the payload")->required();
        add.add_option("--family", options.family, "Product family")->type_name("F")->required();
        add.add_option("--name", options.name, "Product name")->type_name("N")->required();
        add.add_option("--version", options.version, "Product version")->type_name("V")->required();
        add.add_option("--signature", options.signature, "Signature of the payload")
            ->type_name("S")
            ->required();
        addRelations(add);
        add.add_flag("--replace", options.replace, "Replace the record of this payload, if there is one");
        forms[&add].check = [&options] {
            if (options.id.empty()) {
                refuse("a payload's identifier cannot be empty");
            }
            checkRelations(options);
        };

        CLI::App& set = verb("set", "Change a record");
        CLI::App& setPdb = form(set, "pdb", "Mark a payload, or store a value for it.", setPayload);
        addID(setPdb, "Of the payload")->required();
        addState(setPdb, false);
        addRelations(setPdb);
        addTuple(setPdb, "--data", "DOMAIN KEY VALUE", "A value to store for the payload; DOMAIN is 0 to 5",
                 [&options](Words const& words) {
                     options.data = DataAddress{readDataDomain(words[0]), words[1]};
                     options.value = words.size() > 2 ? words[2] : "";
                 });
        addValueFrom(setPdb);
        forms[&setPdb].check = [&options, &setPdb] {
            if (options.valueFrom && !options.data) {
                refuse("--value-from needs --data DOMAIN KEY");
            }
            if (!options.state && !options.data && options.relations.empty()) {
                refuse(fmt::format("nothing to set; the form is\n  {}", synopsisOf(setPdb)));
            }
            checkRelations(options);
        };
        CLI::App& remove = verb("remove", "Remove records");
        CLI::App& removePdb =
            form(remove, "pdb", "Remove a payload, and what it has upgraded.", removePayload);
        addID(removePdb, "Of the payload")->required();
        addTuple(removePdb, "--data", "DOMAIN KEY", "Remove only this value of the payload",
                 [&options](Words const& words) {
                     options.data = DataAddress{readDataDomain(words[0]), words[1]};
                 });
        removePdb
            .add_option("--relation", options.other,
                        "Remove only the relation that the payload declares to OTHER")
            ->type_name("OTHER");
        addYes(removePdb);
        forms[&removePdb].check = [&options] {
            if (options.data && options.other) {
                refuse("give --data or --relation, not both; repeat the command for the other");
            }
        };
        CLI::App& setting = settingsForm(set, "Write a setting.", setSetting);
        addDomain(setting)->required();
        addAddress(setting, "SUBDOMAIN", "Any text")->required();
        addAddress(setting, "KEY", "Any text")->required();
        CLI::Option const* const value =
            setting.add_option("VALUE", options.value, "Any text")->type_name("");
        addValueFrom(setting);
        forms[&setting].check = [&options, &setting, value] {
            if (value->count() == 0 && !options.valueFrom) {
                refuse(fmt::format("too few words; the form is\n  {}", synopsisOf(setting)));
            }
            if (value->count() > 0 && options.valueFrom) {
                refuse(fmt::format("give VALUE or --value-from, not both; the form is\n  {}",
                                   synopsisOf(setting)));
            }
        };
        CLI::App& settings = settingsForm(remove, "Remove a setting, or all of a subdomain.", removeSettings);
        addDomain(settings)->required();
        addAddress(settings, "SUBDOMAIN", "Any text")->required();
        addAddress(settings, "KEY", "Remove this setting alone, without asking");
        addYes(settings);
    }

    void addTransfer()
    {
        Options& options = command.options;
        CLI::App& exporting = verb("export", "Print records as lines of JSON");
        form(exporting, "pdb", "Print payloads as lines of JSON.", exportPayloads)
            .add_option("ID", options.ids, "Only these payloads")
            ->type_name("");
        settingsForm(exporting, "Print settings as lines of JSON.", exportSettings);
        CLI::App& importing = verb("import", "Put lines of JSON on record");
        for (CLI::App* const each :
             {&form(importing, "pdb", "Put payloads on record from lines of JSON, all or none.",
                    importPayloads),
              &settingsForm(importing, "Put settings on record from lines of JSON, all or none.",
                            importSettings)}) {
            each->add_option("FILE", options.file, "The lines; by default, or for '-', standard input")
                ->type_name("");
            each->add_flag("--replace", options.replace, "Replace what is on record already, as a whole");
        }
    }

    void addRelations(CLI::App& to)
    {
        Options& options = command.options;
        for (int32_t const type : {kPdbConflicts, kPdbUpgrades}) {
            to.add_option_function<Words>(
                  fmt::format("--{}", nameOf(type)),
                  [&options, type](Words const& others) {
                      for (std::string const& other : others) {
                          options.relations.push_back({type, other});
                      }
                  },
                  fmt::format("Short for --relation {} ID", nameOf(type)))
                ->type_name("ID")
                ->allow_extra_args(false);
        }
        addTuple(
            to, "--relation", "TYPE OTHER",
            fmt::format("A relation to another payload; may be repeated. TYPE is {}",
                        fmt::join(relationTypes, ", ")),
            [&options](Words const& words) {
                options.relations.push_back({relationTypeNamed(words[0]), words[1]});
            },
            true);
    }

    static void checkRelations(Options const& options)
    {
        std::map<std::string, int32_t> types;
        for (Relation const& relation : options.relations) {
            if (relation.type == kPdbConflicts && relation.other == options.id) {
                refuse(fmt::format("payload '{}' cannot be in conflict with itself", options.id));
            }
            int32_t const before = types.emplace(relation.other, relation.type).first->second;
            if (before != relation.type) {
                refuse(fmt::format(
                    "payload '{}' is given with {} and with {}; it can have one relation, not both",
                    relation.other, nameOf(before), nameOf(relation.type)));
            }
        }
    }

    void addValueFrom(CLI::App& to)
    {
        to.add_option("--value-from", command.options.valueFrom,
                      "Read the value from this file instead, byte for byte; '-' is standard input")
            ->type_name("FILE");
    }

    void addFiles()
    {
        Options& options = command.options;
        CLI::App& backup = form(app, "backup", "Back up databases: pdb and vesk, or those named.", backUp);
        addDatabases(backup, "pdb, pcd, cache or vesk; pdb and vesk when none is named");
        backup.add_option("--to", options.to, "Back up one database to this file instead")->type_name("FILE");
        forms[&backup].check = [this, &options] {
            if (options.to && options.named.size() != 1) {
                refuse("--to FILE takes the copy of one database; name that one");
            }
            requireBackup(options.to, "--to");
        };
        CLI::App& restore = form(app, "restore", "Replace a database by its backup.", veskdb::restore);
        addDatabase(restore)->required();
        restore.add_option("--from", options.from, "Restore this file instead of the backup")
            ->type_name("FILE");
        addYes(restore);
        forms[&restore].check = [this, &options] { requireBackup(options.from, "--from"); };
        CLI::App& salvage = form(app, "salvage", "Write what can be read of a damaged database to a new one.",
                                 veskdb::salvage);
        addDatabase(salvage)->required();
        salvage.add_option("--from", options.from, "Read this file instead of the live one")
            ->type_name("FILE");
        salvage.add_option("--to", options.to, "The new file")->type_name("FILE")->required();
        CLI::App& recover =
            form(app, "recover", "Roll back the unfinished change of a killed program.", veskdb::recover);
        addDatabase(recover)->required();
        recover.add_option("--file", options.file, "Recover this copy of the database instead")
            ->type_name("FILE");
    }

    void requireBackup(std::optional<std::string> const& file, char const* option) const
    {
        for (Database const* const each : command.options.named) {
            if (!each->store->hasBackup && !file) {
                refuse(fmt::format("{} has no backup of its own; give {} FILE", each->name, option));
            }
        }
    }

    /// Adds an option that takes several words; --value-from replaces the last of three.
    void addTuple(CLI::App& to, char const* name, char const* words, std::string const& description,
                  std::function<void(Words const&)> take, bool repeatable = false)
    {
        CLI::Option* const option = to.add_flag_function(
            name, [](int64_t) {}, description);
        option->option_text(words);
        auto const count = static_cast<std::size_t>(std::count(words, words + std::strlen(words), ' ')) + 1;
        tuples[option] = {count, repeatable, std::move(take)};
    }

    /// How many words after an option belong to it, in any form of a verb, or of the program, that has this option.
    std::size_t wordsAfter(std::string const& option, CLI::App const& above) const
    {
        for (auto const& form : forms) {
            CLI::Option const* const known = form.first->get_option_no_throw(option);
            auto const tuple = tuples.find(known);
            if (known != nullptr && (&above == &app || form.first->get_parent() == &above)) {
                return tuple != tuples.end()                 ? tuple->second.words
                       : known->get_items_expected_max() > 0 ? 1
                                                             : 0;
            }
        }
        return 0;
    }

    /// Removes the verb and the database, which name a form, from the words; options may precede them.
    CLI::App& takePath(Words& words, Words& path)
    {
        CLI::App* at = &app;
        for (std::size_t next = 0; next < words.size() && words[next] != "--" && forms.count(at) == 0;) {
            std::string const word = words[next];
            if (isOption(word)) {
                next += 1 + wordsAfter(word, *at);
                continue;
            }
            auto const below = at->get_subcommands({});
            auto const found = std::find_if(below.begin(), below.end(),
                                            [&](CLI::App const* each) { return each->check_name(word); });
            if (found == below.end()) {
                refuseUnknown(*at, word);
            }
            if (at != &app) {
                command.options.named = {&databaseNamed(word == "actions" ? "pdb" : word)};
            }
            at = *found;
            path.push_back(word);
            words.erase(words.begin() + static_cast<std::ptrdiff_t>(next));
        }
        return *at;
    }

    [[noreturn]] void refuseUnknown(CLI::App const& above, std::string const& word) const
    {
        if (&above == &app) {
            refuse(fmt::format("the verb '{}' is unknown; give one of these:{}", word,
                               HelpFormatter::synopses(app)));
        }
        refuse(fmt::format("there is no {} for {} ({}); there is:{}", above.get_name(), word,
                           databaseNamed(word).title, HelpFormatter::synopses(above)));
    }

    /// Takes the options that the parser would misread, and removes them from the words.
    void takeWordsOfOptions(CLI::App const& form, Words& words)
    {
        bool const valueFrom = std::any_of(words.begin(), words.end(), [](std::string const& word) {
            return word.compare(0, 12, "--value-from") == 0;
        });
        for (auto word = words.begin(); word != words.end() && *word != "--";) {
            if (word->substr(0, 2) == "--" && word->find('=') == word->size() - 1) {
                refuse(fmt::format("{} has no value; give one after the '=', or '' as a word of its own",
                                   *word));
            }
            CLI::Option const* const option = isOption(*word) ? form.get_option_no_throw(*word) : nullptr;
            auto const tuple = tuples.find(option);
            if (tuple == tuples.end()) {
                ++word;
                continue;
            }
            bool const replaced = tuple->second.words == 3 && valueFrom;
            auto const count = static_cast<std::ptrdiff_t>(tuple->second.words) - (replaced ? 1 : 0);
            auto const last = word + count;
            if (words.end() - word <= count) {
                refuse(fmt::format("{} needs {}", *word, option->get_option_text()));
            }
            if (!tuple->second.repeatable && taken.count(option) > 0) {
                refuse(fmt::format("{} can be given once; repeat the command for another value", *word));
            }
            taken.insert(option);
            tuple->second.take(Words(word + 1, last + 1));
            word = words.erase(word, last + 1);
        }
    }

    [[noreturn]] void refuseMissing(CLI::App const& form) const
    {
        for (CLI::Option const* const option : form.get_options()) {
            if (option->get_required() && option->count() == 0) {
                refuse(fmt::format("{}; the form is\n  {}",
                                   option->get_positional() ? "too few words"
                                                            : option->get_name() + " is missing",
                                   synopsisOf(form)));
            }
        }
        refuse("too few words; see veskdb --help");
    }

    /// Refuses what the parser has left over, and mistakes that it does not know.
    void check(CLI::App const& form)
    {
        for (std::string const& word : form.remaining()) {
            if (word == "--") {
                continue;
            }
            if (!isOption(word)) {
                refuse(fmt::format("too many words: '{}'; the form is\n  {}", word, synopsisOf(form)));
            }
            std::string const name = word.substr(0, word.find('='));
            bool const known = std::any_of(forms.begin(), forms.end(), [&](auto const& each) {
                return each.first->get_option_no_throw(name) != nullptr;
            });
            refuse(fmt::format("{} {}:\n  {}", name,
                               known ? "does not go with this form" : "is unknown; the form is",
                               synopsisOf(form)));
        }
        Options const& options = command.options;
        for (auto const& [option, file] :
             {std::pair{"--to", options.to}, std::pair{"--from", options.from},
              std::pair{"FILE", options.file}, std::pair{"--value-from", options.valueFrom}}) {
            if (file && file->empty()) {
                refuse(fmt::format("{} has an empty value; give the path of a file", option));
            }
            bool const standardInput = (file == options.valueFrom || file == options.file) && file == "-";
            if (file && options.root && file->front() != '/' && !standardInput) {
                refuse(fmt::format("{} '{}' is relative; give an absolute path, as seen from inside the root",
                                   option, *file));
            }
        }
        for (std::string const& file : options.files) {
            if (file.empty() || (options.root && file.front() != '/')) {
                refuse(fmt::format("'{}' is {}; give an absolute path, as seen from inside the root", file,
                                   file.empty() ? "empty" : "relative"));
            }
        }
        if (forms[&form].check) {
            forms[&form].check();
        }
    }

    CLI::App app;
    std::map<CLI::App const*, Form> forms;
    std::map<CLI::Option const*, Tuple> tuples;
    std::set<CLI::Option const*> taken;
    Command command;
};

} // namespace

std::optional<Command> readCommandLine(int argc, char const* const* argv)
{
    return CommandLine().read(Words(argv + 1, argv + argc));
}

} // namespace veskdb
