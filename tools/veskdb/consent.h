/// The question before a command that removes or replaces.
#ifndef TOOLS_VESKDB_CONSENT_H
#define TOOLS_VESKDB_CONSENT_H

#include <string>

namespace veskdb {

/// Asks on the terminal.
///
/// @param question  what is about to happen, ending in a question mark
/// @param given     whether the command line has given consent; nothing is asked then
/// @throws Refusal (kExitNotFound: declined; kExitError: there is no terminal to ask on)
void requireConsent(std::string const& question, bool given);

} // namespace veskdb

#endif
