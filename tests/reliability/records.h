/// What the tests of reliability do with a machine's four databases and with its phases.
#ifndef TESTS_RELIABILITY_RECORDS_H
#define TESTS_RELIABILITY_RECORDS_H

#include "tests/support/stores.h"

#include <map>

namespace testing_support {

/// The result of using a store. Nothing here allocates memory, which may be what fails.
struct Outcome
{
    bool documented = true; ///< whether every status is one that the library documents
    bool kept = false;      ///< whether all calls up to and including the commit returned kVeskOK
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

extern std::string const identifierFolder; // folder of the identifier file
extern std::string const newEventsFolder;  // folder of "Tessarine", which gets the events file

/// Expects a database to be intact and to work.
///
/// @param outcome     of its last use: rows that it reports as kept must exist
/// @param hasOldRows  whether makeMachine created it; its rows must exist then
void expectWholeAndUsable(Store const& store, Outcome const& outcome, bool hasOldRows = true);

} // namespace testing_support

#endif
