#include "tools/hookhost/changes.h"

#include "tools/hookhost/progress.h"

#include <exception>
#include <iterator>

namespace hookhost {

namespace {

/// Ends the reading of a tree.
class Interrupted : public std::exception
{
};

bool isSame(std::optional<TreeEntry> const& before, std::optional<TreeEntry> const& after)
{
    return before && after ? !differ(*before, *after) : !before && !after;
}

} // namespace

Changes::Changes(TreeSource const& treeSource, std::size_t steps) : source(treeSource), counts(steps)
{
    Progress progress("files read");
    latest = source.read({}, [&] { progress.advance(); });
}

void Changes::record(Report& report, Step step, pid_t worker, std::function<bool()> const& interrupted)
{
    Tree now;
    try {
        Progress progress("files read");
        now = source.read(latest, [&] {
            progress.advance();
            if (interrupted()) {
                throw Interrupted();
            }
        });
    } catch (Interrupted const&) {
        return;
    }
    RecordWriter::Turn turn = report.turn();
    auto const compare = [&](std::string const& path, std::optional<TreeEntry> const& before,
                             std::optional<TreeEntry> const& after) {
        if (!isSame(before, after)) {
            ++(!before ? counts[step].created : !after ? counts[step].removed : counts[step].changed);
            report.change(turn, step, worker, path, before, after);
        }
    };
    auto before = latest.begin();
    auto after = now.begin();
    while (before != latest.end() || after != now.end()) {
        bool const onlyBefore =
            after == now.end() || (before != latest.end() && before->first < after->first);
        bool const onlyAfter = before == latest.end() || (after != now.end() && after->first < before->first);
        std::string const& path = onlyAfter ? after->first : before->first;
        compare(path, onlyAfter ? source.original(path) : before->second,
                onlyBefore ? source.original(path) : after->second);
        before = onlyAfter ? before : std::next(before);
        after = onlyBefore ? after : std::next(after);
    }
    latest = std::move(now);
}

void Changes::recordTotals(Report& report) const
{
    RecordWriter::Turn turn = report.turn();
    report.totals(turn, counts);
}

} // namespace hookhost
