/// Standard output and error of hookhost, whose readers may be slow, gone or never have been there.
#ifndef TOOLS_HOOKHOST_OUTPUT_H
#define TOOLS_HOOKHOST_OUTPUT_H

#include <string>
#include <string_view>

namespace hookhost {

/// A reader that leaves costs what was still to be printed and never ends the hook in mid-phase: a write to a
/// closed pipe fails, the hook's own too. Programs that the hook starts find SIGPIPE as hookhost found it. To be
/// called before anything is written.
void outliveReaders();

/// Prints a text that is all of the answer.
///
/// @throws Refusal (kExitHostError) if any of it was lost
void printAnswer(std::string_view text);

/// Says something on standard error, after hookhost's name. Should that be lost, there is nobody to tell.
void complain(std::string const& message);

} // namespace hookhost

#endif
