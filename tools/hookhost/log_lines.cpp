#include "tools/hookhost/log_lines.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace hookhost {

struct LogLine
{
    char const* section; ///< where the line belongs; null: to the section of the line above
    char const* text;    ///< the line; empty for a bare value, which comes after the line above
    char const*
        rest; ///< what follows the text or is the value, in words; null if the line ends with the text
    char const* meaning; ///< no sentence: without a capital and a full stop; commands between back quotes
    char const* toDo;    ///< the same; null if there is nothing to do
};

namespace {

#define CUSTOM_ACTION "::FT::CUSTOM ACTION: "

// clang-format off
constexpr LogLine logLines[] = {
    {"Dispatch",
     "::FT::In ", "a procedure's name", "the phase has begun", nullptr},
    {nullptr, "::FT::Unsupported install mode specified.", nullptr, "the install mode is not 0, 1 or 2; the phase returns status 3", "correct the installer's call"},
    {nullptr, "::FT::Unsupported entry mode specified.", nullptr, "the phase is above 4 and returns status 4", "correct the installer's call"},
    {nullptr, "NULL pointer passed as property name.", nullptr, "a property was requested without a name", "report it: the plug-in never does this"},
    {nullptr, "NULL pointer passed for property name.", nullptr, "a property was requested without a place for its value", "report it: the plug-in never does this"},
    {nullptr, "Property map is not initialized.", nullptr, "the installer passed no properties", "set up the session's properties"},
    {nullptr, CUSTOM_ACTION "Out of memory", nullptr, "the action ended here", "free memory, then run the phase again"},

    {"Stopping the helper programs (pre-system-check)",
     CUSTOM_ACTION "Opening PDB Session", nullptr, "the payload database is opened, never created", nullptr},
    {nullptr, CUSTOM_ACTION "Unknown error opening PDB session", nullptr, "the payload database does not exist or cannot be opened", "nothing on a machine without the application; else run `veskdb verify pdb`"},
    {nullptr, CUSTOM_ACTION "Uninstall FendrialTessarinVorlaAgent | Supressing error messages", nullptr, "the payload database is open", nullptr},
    {nullptr, CUSTOM_ACTION "Getting List of Installed Payloads.", nullptr, "the payloads recorded as installed are read", nullptr},
    {nullptr, CUSTOM_ACTION "Unknown error getting list of payloads.", nullptr, "no payload is installed, or the database cannot be read", "run `veskdb list pdb` to find out which"},
    {nullptr, CUSTOM_ACTION "Iterate through Installed Payload IDs", nullptr, "the installed copies are looked for among the payloads", nullptr},
    {nullptr, CUSTOM_ACTION "Entry for Fendrial 12 Tessarine Found, looking up installdir", nullptr, "an installed copy is on record; its folder follows", nullptr},
    {nullptr, "", "a folder", "the folder that the copy is installed in; empty if none is on record", "if it is empty, run `veskdb set pdb ID --data 0 INSTALLDIR FOLDER`"},
    {nullptr, CUSTOM_ACTION "Executing ", "a path", "a helper program is started with `-uninstall -silent`; the process that becomes the helper logs the line as well", "if the helper did not run, check that the path exists and is executable"},
    {nullptr, CUSTOM_ACTION "Could not create the child process...exiting", nullptr, "the system started no process; the action continues", "free processes or memory, then run the phase again"},
    {nullptr, CUSTOM_ACTION "Closing PDB Session", nullptr, "the action is over", nullptr},

    {"Writing the identifier (install, post-payload)",
     CUSTOM_ACTION "Inside Creating UUID", nullptr, "the action has begun", nullptr},
    {nullptr, CUSTOM_ACTION "UUID already exists", nullptr, "something exists at the file's path and is kept", nullptr},
    {nullptr, CUSTOM_ACTION "Creating UUID", nullptr, "a new identifier is written", nullptr},
    {nullptr, CUSTOM_ACTION "Directory for the UUID file present", nullptr, "the file's folder exists", nullptr},
    {nullptr, CUSTOM_ACTION "Directory for the UUID file NOT present", nullptr, "the file's folder does not exist yet", nullptr},
    {nullptr, CUSTOM_ACTION "Creating the directory structure ", "a path", "the folder is made, with those above it", nullptr},
    {nullptr, CUSTOM_ACTION "Could not create directory ", "a path", "the folder could not be made; writing is tried nevertheless", "check the rights of the folders above it, and that no file is in its place"},
    {nullptr, CUSTOM_ACTION "Successfully created UUID", nullptr, "the file is in place and complete", nullptr},
    {nullptr, CUSTOM_ACTION "Unknown error while creating UUID", nullptr, "there is no file", "check the rights and the free space of the folder, then run the phase again"},

    {"Carrying the events file over (install and reinstall, post-payload)",
     CUSTOM_ACTION "Function start, to copy customevents.dat file from previous install", nullptr, "the action has begun", nullptr},
    {nullptr, CUSTOM_ACTION "customevents.dat file not found", nullptr, "one version has no events file: 12, then 11.0, 10.0 and 9.0; if logged four times, the user has none", nullptr},
    {nullptr, CUSTOM_ACTION "customevents.dat file found", nullptr, "the file to copy is found", nullptr},
    {nullptr, CUSTOM_ACTION "Creating Directoty for the file", nullptr, "the folder of version 12 is made with the home folder's attributes", nullptr},
    {nullptr, CUSTOM_ACTION "Directory already exists", nullptr, "the folder of version 12 exists", nullptr},
    {nullptr, "::FT::Giving Permission to 12", nullptr, "the folder 12 could not be used and gets the home folder's attributes", nullptr},
    {nullptr, "::FT::Giving Permission to Tessarine", nullptr, "the folder Tessarine in it could not be used and gets the home folder's attributes", nullptr},
    {nullptr, CUSTOM_ACTION "File Copied", nullptr, "the copy was tried; an existing file of version 12 is never replaced", "if there is no file, check the rights of the folder"},

    {"Recording the product code (reinstall, post-payload)",
     CUSTOM_ACTION "Begin Extracting Tessarine ZelkoCode", nullptr, "the action has begun", nullptr},
    {nullptr, CUSTOM_ACTION "Error Extracting Tessarine ZelkoCode", nullptr, "the session has no such property; the phase returns status 1", "set `ZelkoCode` in the installer's session"},
    {nullptr, CUSTOM_ACTION "Extracted Tessarine ZelkoCode", nullptr, "the session has the property; its value follows", nullptr},
    {nullptr, "", "a code", "the product code", nullptr},
    {nullptr, CUSTOM_ACTION "Master PCD does not exists", nullptr, "the master store, or the cache store next to it, does not exist or cannot be opened; nothing is recorded", "nothing on a machine without a master store; else run `veskdb verify pcd cache`, and remove what does not belong next to `cache.db`"},
    {nullptr, CUSTOM_ACTION "Master PCD exists", nullptr, "the master store is open", nullptr},
    {nullptr, CUSTOM_ACTION "Updating Key in Master PCD", nullptr, "the row of the product code is written", nullptr},
    {nullptr, CUSTOM_ACTION "Error updating Key", nullptr, "the row could not be written", "run `veskdb verify pcd`; another program may hold the store"},
    {nullptr, CUSTOM_ACTION "Key updated successfully", nullptr, "the row is written; closing the store commits it", nullptr},
    {nullptr, CUSTOM_ACTION "Closing Master PCD", nullptr, "the action is over; logged without a store as well", nullptr},
};
// clang-format on

bool isBareValue(LogLine const& line)
{
    return *line.text == '\0';
}

bool isLine(LogLine const& line, std::string_view message)
{
    std::string_view const text = line.text;
    return !isBareValue(line) &&
           (line.rest != nullptr ? message.substr(0, text.size()) == text : message == text);
}

/// The entry of a message: a bare value if the line before announces one. Null for a line of another plug-in.
LogLine const* find(std::string_view message, LogLine const* previous)
{
    if (previous != nullptr && previous + 1 != std::end(logLines) && isBareValue(previous[1])) {
        return previous + 1;
    }
    auto const found = std::find_if(std::begin(logLines), std::end(logLines),
                                    [&](LogLine const& each) { return isLine(each, message); });
    return found != std::end(logLines) ? &*found : nullptr;
}

std::string withoutBackQuotes(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '`'), text.end());
    return text;
}

/// A line's text in a cell of a table.
std::string cellOf(LogLine const& line)
{
    std::string text = line.text;
    for (std::size_t bar = text.find('|'); bar != std::string::npos; bar = text.find('|', bar + 2)) {
        text.insert(bar, "\\");
    }
    if (isBareValue(line)) {
        return fmt::format("{}, without any beginning", line.rest);
    }
    return line.rest != nullptr ? fmt::format("`{}` and {}", text, line.rest) : fmt::format("`{}`", text);
}

} // namespace

std::string LogExplainer::explain(std::string_view message)
{
    LogLine const* const line = find(message, previous);
    previous = line;
    if (line == nullptr) {
        return "";
    }
    std::string const toDo = line->toDo != nullptr ? fmt::format(" (what to do: {})", line->toDo) : "";
    return withoutBackQuotes(line->meaning + toDo);
}

std::string logLinesAsMarkdown()
{
    std::string page =
        "## Every log line\n\n"
        "The plug-in adds no time, level or newline. Keep the spelling, mistakes included: log parsers match "
        "these exact\ntexts. `hookhost --explain` adds these meanings to the lines of a run.\n";
    for (LogLine const& line : logLines) {
        if (line.section != nullptr) {
            page += fmt::format("\n### {}\n\n| line | what it means | what to do |\n|---|---|---|\n",
                                line.section);
        }
        page += fmt::format("| {} | {} | {}|\n", cellOf(line), line.meaning,
                            line.toDo != nullptr ? line.toDo + std::string(" ") : "");
    }
    return page;
}

} // namespace hookhost
