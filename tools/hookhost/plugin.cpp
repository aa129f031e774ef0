#include "tools/hookhost/plugin.h"

#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/hook_interface.h"
#include "tools/hookhost/plugin_file.h"

#include <cstring>
#include <dlfcn.h>
#include <fmt/format.h>

namespace hookhost {

namespace {

void* load(std::string const& path)
{
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw Refusal(kExitNotLoadable,
                      fmt::format("plug-in '{}': it cannot be loaded: {}", path, dlerror()));
    }
    return library;
}

template<class Function>
Function find(std::string const& path, void* library, char const* symbol)
{
    void* const address = dlsym(library, symbol);
    if (address == nullptr) {
        refuseWithoutEntry(path, symbol);
    }
    return reinterpret_cast<Function>(address);
}

} // namespace

Plugin loadPlugin(std::string const& path)
{
    void* const library = load(path);
    return {library, find<decltype(Plugin::open)>(path, library, openEntry),
            find<decltype(Plugin::proc)>(path, library, procEntry),
            find<decltype(Plugin::close)>(path, library, closeEntry)};
}

void unloadPlugin(Plugin const& plugin)
{
    dlclose(plugin.library);
}

std::string describePlugin(std::string const& path, bool& allEntries)
{
    void* const library = load(path);
    std::string lines;
    auto const describe = [&](std::string const& what, char const* name, bool exported) {
        lines += fmt::format("{:<28}  {:<33}  {}\n", what, name, exported ? "exported" : "missing");
    };
    allEntries = true;
    for (char const* const entry : entryPoints) {
        bool const exported = dlsym(library, entry) != nullptr;
        describe("entry point", entry, exported);
        allEntries &= exported;
    }
    constexpr std::size_t modes = modeNames.size();
    constexpr std::size_t phases = phaseNames.size();
    for (std::size_t mode = 0; mode < modes; ++mode) {
        for (std::size_t phase = 0; phase < phases; ++phase) {
            char const* const name = phaseProcedures[mode][phase];
            std::string const symbol = fmt::format("_Z{}{}RK18CCustomHookSession", std::strlen(name), name);
            if (dlsym(library, symbol.c_str()) != nullptr) { // no plug-in needs them
                describe(fmt::format("{}/{}", modeNames[mode], phaseNames[phase]), name, true);
            }
        }
    }
    return lines;
}

} // namespace hookhost
