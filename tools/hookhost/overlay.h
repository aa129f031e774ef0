/// A copy of the machine, or of another root, that a run may change and that is discarded.
#ifndef TOOLS_HOOKHOST_OVERLAY_H
#define TOOLS_HOOKHOST_OVERLAY_H

#include "tools/hookhost/tree_source.h"

#include <memory>
#include <string>

namespace hookhost {

/// An overlay of a root: reads come from the original, changes go to memory.
class Overlay : public TreeSource
{
public:
    /// The path by which this process and its children can enter the overlay as their root, while this object lives.
    virtual std::string rootFolder() const = 0;

    /// Copies what was changed to a folder, with a character device 0:0 for each path that was removed.
    ///
    /// @param folder  an empty folder, by a path of the machine's own root
    /// @throws Refusal if not all of it could be copied
    virtual void copyChangesTo(std::string const& folder) const = 0;
};

/// Makes an overlay in a mount namespace of this process's own: other processes do not see it, and it ends with the
/// last process of the run. File systems mounted below the root get overlays too. One that cannot have any becomes an
/// empty, read-only folder, which a notice names. /proc and /sys are the machine's; /dev is a copy with the machine's
/// devices.
///
/// @param root  the original root folder, "/" for the machine's own
/// @throws Refusal if there can be no overlay
std::unique_ptr<Overlay> makeOverlay(std::string const& root);

} // namespace hookhost

#endif
