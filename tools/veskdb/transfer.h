/// The verbs export and import: records as lines of JSON.
#ifndef TOOLS_VESKDB_TRANSFER_H
#define TOOLS_VESKDB_TRANSFER_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Prints payloads, those named or all, a line of JSON each, sorted by their identifiers. The time of the last change
/// is left out: importing sets its own.
///
/// @return the exit status
/// @throws Refusal (kExitNotFound: a payload named is not on record; kExitError: import could not write a value, or output
///         was lost), Unreadable
int exportPayloads(Options const& options);

/// Prints settings, a line of JSON each.
int exportSettings(Options const& options);

/// Reads such lines from a file or standard input, and puts them on record in one transaction.
///
/// @return the exit status
/// @throws Refusal; the records are unchanged then
int importPayloads(Options const& options);
int importSettings(Options const& options);

} // namespace veskdb

#endif
