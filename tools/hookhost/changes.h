/// What each step of a run created, removed and changed below the root.
#ifndef TOOLS_HOOKHOST_CHANGES_H
#define TOOLS_HOOKHOST_CHANGES_H

#include "tools/hookhost/report.h"
#include "tools/hookhost/tree_source.h"

#include <functional>
#include <vector>

namespace hookhost {

/// Compares the tree after each step with the tree before.
class Changes
{
public:
    /// Reads the tree as it is before the run.
    ///
    /// @param source  outlives this object
    /// @param steps   number of the run's steps
    Changes(TreeSource const& source, std::size_t steps);

    /// Records, sorted by path, what has changed since the last call. The changes count as the step's.
    ///
    /// @param worker       the plug-in's process
    /// @param interrupted  called for every entry; if it returns true, nothing is recorded
    void record(Report& report, Step step, pid_t worker, std::function<bool()> const& interrupted);

    /// Records how many paths each step created, removed and changed: every phase, and other steps if they did.
    void recordTotals(Report& report) const;

private:
    TreeSource const& source;
    Tree latest;
    std::vector<ChangeCounts> counts;
};

} // namespace hookhost

#endif
