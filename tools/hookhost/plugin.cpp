#include "tools/hookhost/plugin.h"

#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/hook_interface.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fmt/format.h>
#include <fstream>
#include <sys/stat.h>
#if __has_include(<elf.h>)
#include <elf.h>
#include <link.h>
#endif

namespace hookhost {

namespace {

[[noreturn]] void refuse(std::string const& path, std::string const& reason)
{
    throw Refusal(kExitNotLoadable, fmt::format("plug-in '{}': {}", path, reason));
}

#if __has_include(<elf.h>)
/// "64-bit x86-64", from the header of a library.
std::string kindOf(ElfW(Ehdr) const& header)
{
    struct
    {
        unsigned number;
        char const* name;
    } const machines[] = {{EM_386, "i386"}, {EM_X86_64, "x86-64"}, {EM_ARM, "arm"}, {EM_AARCH64, "arm64"}};
    std::string machine = fmt::format("machine {}", header.e_machine);
    for (auto const& each : machines) {
        machine = each.number == header.e_machine ? each.name : machine;
    }
    return fmt::format("{}-bit {}", header.e_ident[EI_CLASS] == ELFCLASS32 ? 32 : 64, machine);
}

void requireOwnKind(std::string const& path, ElfW(Ehdr) const& header)
{
    Dl_info self = {};
    dladdr(reinterpret_cast<void const*>(&requirePluginFile), &self);
    auto const& own = *static_cast<ElfW(Ehdr) const*>(self.dli_fbase);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        refuse(path, "this is not a dynamic library; give the plug-in's .so file");
    }
    // The fields up to the machine lie alike in both word sizes.
    if (header.e_ident[EI_CLASS] != own.e_ident[EI_CLASS] || header.e_machine != own.e_machine) {
        refuse(path,
               fmt::format("this is a {} library and this hookhost loads {} ones; give one of that kind "
                           "or use a hookhost of the library's kind",
                           kindOf(header), kindOf(own)));
    }
    if (header.e_type != ET_DYN) {
        refuse(path, "this is an object file or a program; give a dynamic library (linked with -shared)");
    }
}
#endif

void* load(std::string const& path)
{
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        refuse(path, fmt::format("it cannot be loaded: {}", dlerror()));
    }
    return library;
}

template<class Function>
Function find(std::string const& path, void* library, char const* symbol)
{
    void* const address = dlsym(library, symbol);
    if (address == nullptr) {
        throw Refusal(kExitSymbolMissing,
                      fmt::format("plug-in '{}' does not export {}; a plug-in needs {}, {} and {} as plain "
                                  "(extern \"C\") functions",
                                  path, symbol, openEntry, procEntry, closeEntry));
    }
    return reinterpret_cast<Function>(address);
}

} // namespace

void requirePluginFile(std::string const& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        refuse(path, fmt::format("{}; give the path of a dynamic library", std::strerror(errno)));
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, "this is not a file; give the path of a dynamic library");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        refuse(path, fmt::format("it cannot be read: {}", std::strerror(errno)));
    }
#if __has_include(<elf.h>)
    ElfW(Ehdr) header = {};
    file.read(reinterpret_cast<char*>(&header), sizeof header); // a short file leaves zeros: no library
    requireOwnKind(path, header);
#endif
}

PluginEntries loadPlugin(std::string const& path)
{
    void* const library = load(path);
    return {find<decltype(PluginEntries::open)>(path, library, openEntry),
            find<decltype(PluginEntries::proc)>(path, library, procEntry),
            find<decltype(PluginEntries::close)>(path, library, closeEntry)};
}

std::string describePlugin(std::string const& path, bool& allEntries)
{
    void* const library = load(path);
    std::string lines;
    auto const describe = [&](std::string const& what, char const* name, std::string const& symbol) {
        bool const exported = dlsym(library, symbol.c_str()) != nullptr;
        lines += fmt::format("{:<28}  {:<33}  {}\n", what, name, exported ? "exported" : "missing");
        return exported;
    };
    allEntries = true;
    for (char const* const entry : entryPoints) {
        allEntries &= describe("entry point", entry, entry);
    }
    for (std::size_t mode = 0; mode < modeNames.size(); ++mode) {
        for (std::size_t phase = 0; phase < phaseNames.size(); ++phase) {
            char const* const name = phaseProcedures[mode][phase];
            describe(fmt::format("{}/{}", modeNames[mode], phaseNames[phase]), name,
                     fmt::format("_Z{}{}RK18CCustomHookSession", std::strlen(name), name));
        }
    }
    return lines;
}

} // namespace hookhost
