/// Graphviz's program dot, which draws a graph.
#ifndef TOOLS_VESKDB_RENDERER_H
#define TOOLS_VESKDB_RENDERER_H

#include "platform/descriptor.h"

#include <string>
#include <sys/types.h>

namespace veskdb {

/// A process of dot that waits for its graph. It is started, and stays, in the machine's own root.
class Renderer
{
public:
    /// @throws Refusal (kExitError); if the program is missing, it names the package
    Renderer();
    Renderer(Renderer const&) = delete;
    Renderer& operator=(Renderer const&) = delete;
    ~Renderer();

    /// Draws one graph.
    ///
    /// @param graph  in dot's language
    /// @return SVG
    /// @throws Refusal (kExitError)
    std::string draw(std::string const& graph);

private:
    pid_t child = -1;
    platform::Descriptor input;
    platform::Descriptor output;
};

} // namespace veskdb

#endif
