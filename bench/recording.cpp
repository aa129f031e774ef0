#include "bench/operations.h"
#include "tests/support/stores.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace bench {

namespace {

Recording* running;                   // null: none
sqlite3* databases[kMostConnections]; // of the connections that are open

char const* keep(std::string const& text)
{
    return running->texts.emplace_back(text).c_str();
}

/// Adds a step on a connection, which takes the first free number when it opens and gives it back when it closes.
void addStep(StepKind kind, sqlite3* database, char const* text)
{
    auto* const found =
        std::find(std::begin(databases), std::end(databases), kind == kStepOpen ? nullptr : database);
    if (found == std::end(databases)) {
        std::fputs("bench: more connections at once than the replay has\n", stderr);
        std::exit(2);
    }
    *found = kind == kStepClose ? nullptr : database;
    running->calls.back().push_back({kind, static_cast<size_t>(found - databases), text, {}});
}

/// Takes the quoted texts out, so that the replay forms the statement as its caller did, by SQLite's printf.
void addStatement(sqlite3* database, char const* text)
{
    std::string format;
    std::vector<std::string> quoted;
    for (; *text != '\0'; ++text) {
        format += *text == '%' ? "%%" : std::string(1, *text);
        if (*text == '\'' && quoted.size() < kMostQuotedTexts) {
            std::string& inside = quoted.emplace_back();
            while (*++text != '\'' || *++text == '\'') {
                inside += *text;
            }
            --text;
            format += "%q'";
        }
    }
    addStep(kStepRun, database, keep(format));
    for (size_t index = 0; index < quoted.size(); ++index) {
        running->calls.back().back().arguments[index] = keep(quoted[index]);
    }
}

void addBackup()
{
    // SQLite's file layer expects two zeros behind a name.
    running->calls.back().push_back({kStepCopy, 0, keep(testing_support::catalogueFile + '\0'), {}});
    running->calls.back().back().arguments[0] = keep(testing_support::backupFile);
}

int recordEvent(unsigned event, void* /*context*/, void* subject, void* text)
{
    auto const* const statement = static_cast<char const*>(text);
    if (running == nullptr) {
        return 0; // a connection that is still open after the recording
    }
    if (event == SQLITE_TRACE_CLOSE) {
        addStep(kStepClose, static_cast<sqlite3*>(subject), nullptr);
    } else if (std::strncmp(statement, "--", 2) != 0) { // else a trigger's own statement
        addStatement(sqlite3_db_handle(static_cast<sqlite3_stmt*>(subject)), statement);
    }
    return 0;
}

int recordConnection(sqlite3* database, char** /*error*/, void const* /*routines*/)
{
    addStep(kStepOpen, database, keep(sqlite3_db_filename(database, "main")));
    return sqlite3_trace_v2(database, SQLITE_TRACE_STMT | SQLITE_TRACE_CLOSE, recordEvent, nullptr);
}

} // namespace

Recording record(Operation const& operation)
{
    Recording recording = {{{}}, {}};
    running = &recording;
    auto* const connectionHook = reinterpret_cast<void (*)()>(recordConnection);
    sqlite3_auto_extension(connectionHook);
    Run run(operation, nullptr);
    for (int call = 0; call <= operation.calls; ++call) {
        recording.calls.emplace_back();
        run.call();
        if (operation.backsUp) {
            addBackup();
        }
    }
    sqlite3_cancel_auto_extension(connectionHook);
    std::fill(std::begin(databases), std::end(databases), nullptr);
    running = nullptr;
    return recording;
}

} // namespace bench
