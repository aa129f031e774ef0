#include "tools/hookhost/dry_run.h"

#include "tools/common/printable.h"
#include "tools/hookhost/hook_interface.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/plugin_file.h"
#include "tools/hookhost/run.h"

#include <fmt/format.h>

namespace hookhost {

namespace {

/// Adds a line: "would " and a sentence, in which control characters are escaped.
template<class... Arguments>
void add(std::string& lines, char const* sentence, Arguments const&... arguments)
{
    lines += "would " + common::printable(fmt::format(fmt::runtime(sentence), arguments...), "\\\t") + '\n';
}

} // namespace

int showRun(Options const& options)
{
    requireRunnable(options);
    requireEntryPoints(options.plugin);
    std::string lines;
    add(lines, "load {}", options.plugin);
    if (options.overlay) {
        add(lines, "make an overlay of {}", options.root.value_or("/"));
    } else if (options.root) {
        add(lines, "enter the root {}", *options.root);
    }
    if (options.home) {
        add(lines, "set HOME to {}", *options.home);
    }
    for (auto const& [name, value] : options.properties) {
        add(lines, "pass the property {}={}", name, value);
    }
    add(lines, "call {}()", openEntry);
    for (HookNumber const& phase : options.phases) {
        add(lines, "call {}({}, {}, {}, 0, {}) for {}/{}", procEntry,
            options.nullProperties ? "null" : "properties", phase.value,
            static_cast<int32_t>(options.mode.value), options.logCallback ? "log" : "null", options.mode.name,
            phase.name);
    }
    add(lines, "call {}()", closeEntry);
    printResult(lines);
    return 0;
}

} // namespace hookhost
