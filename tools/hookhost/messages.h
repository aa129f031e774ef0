/// hookhost's own messages on standard error, and texts that are all of its standard output.
#ifndef TOOLS_HOOKHOST_MESSAGES_H
#define TOOLS_HOOKHOST_MESSAGES_H

#include "tools/hookhost/exit_status.h"

#include <string>
#include <string_view>

namespace hookhost {

/// If the reader of a pipe closes it, later writes to it fail, the hook's own too, but do not end the hook in
/// mid-phase. Programs that the hook starts inherit SIGPIPE as hookhost found it. Call it before anything is written.
void outliveReaders();

/// Whether a signal's handler is the one that outliveReaders has set.
bool isPipeHandler(void (*handler)(int));

/// From here on each message is a JSON object on a line of its own.
void printMessagesAsJson();

/// From here on messages go to a copy of descriptor 2 that is out of the plug-in's reach.
void keepMessageDescriptor();

/// Prints a text on standard output that is all of it, such as the help.
///
/// @throws Refusal (kExitHostError) if any of it was lost
void printResult(std::string_view text);

/// Prints a message on standard error after "hookhost: ", its control characters and backslashes escaped. Ignores
/// write errors.
void complain(std::string const& message);

/// The same for the message of a refusal; the JSON object also has the exit status.
void complain(Refusal const& refusal);

/// The same for a message that reports no error: a JSON object of the type "notice".
void notice(std::string const& message);

} // namespace hookhost

#endif
