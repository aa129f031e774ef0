/// What the tests of reliability do with a machine's four databases and with its phases.
#ifndef TESTS_RELIABILITY_RECORDS_H
#define TESTS_RELIABILITY_RECORDS_H

#include "tests/support/stores.h"

#include <map>

namespace testing_support {

/// What came of using a store. Nothing here allocates: memory may be what is short.
struct Outcome
{
    bool documented = true; ///< whether every status is one that the library documents
    bool kept = false;      ///< whether all calls up to the commit, and it, gave kVeskOK
    int listed = -1;        ///< keys listed before the commit; -1: the list was refused
    int32_t opened = -1;    ///< the status of opening

    int32_t note(int32_t status);
};

/// Opens a store, writes the rows "new 0" to "new 7", lists, commits and closes. The rows outgrow the store's cache, so
/// that changes reach the file before the commit.
Outcome useStore(Store const& store);

/// Runs every phase of every install mode.
///
/// @return whether every status is one that the phase may have
bool runEveryPhase();

/// The files of a machine, by path and content.
using Machine = std::map<std::string, std::string>;

/// Creates the four databases with three old rows each, a catalogue backup and a home with an events file to carry
/// over.
Machine makeMachine();

/// Makes the files those of the machine again and removes what the phases make.
void restoreMachine(Machine const& machine);

extern std::string const identifierFolder; // where the phases put the identifier file
extern std::string const newEventsFolder;  // and the events file, in a folder "Tessarine"

/// Expects a database to be whole and to work.
///
/// @param outcome     of the use before: rows that it reports as kept must be there
/// @param hasOldRows  whether it is a machine's of makeMachine; its rows must be there then
void expectWholeAndUsable(Store const& store, Outcome const& outcome, bool hasOldRows = true);

} // namespace testing_support

#endif
