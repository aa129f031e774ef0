/// The verb graph: payloads and their relations as a picture.
#ifndef TOOLS_VESKDB_GRAPH_H
#define TOOLS_VESKDB_GRAPH_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Starts Graphviz, if it is needed, in the machine's own root. Call it before another root is entered.
///
/// @throws Refusal (kExitError: Graphviz is missing)
void prepareGraph(Options const& options);

/// Prints payloads as boxes and their relations as arrows: all, or those that relations connect with one payload.
///
/// @return the exit status
/// @throws Refusal (kExitNotFound: there is no such payload; kExitError: output was lost, or Graphviz failed),
///         Unreadable
int drawGraph(Options const& options);

} // namespace veskdb

#endif
