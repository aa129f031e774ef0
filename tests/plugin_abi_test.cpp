// The built plug-in's binary interface: symbols are looked up by name and called with machine words. The plug-in's
// headers are not used, so that a changed type or calling convention in them cannot change both sides.
#include "tests/support/scratch_root.h"

#include <array>
#include <cstdint>
#include <dlfcn.h>

namespace {

using Word = std::uintptr_t;
using Words = std::array<Word, 5>;
std::string firstLine;

void recordLine(char const* message)
{
    firstLine = firstLine.empty() ? message : firstLine;
}

/// Calls a procedure with five words as cdecl code does: on the stack, from which the caller removes them.
__attribute__((noinline)) std::uint32_t callWithWords(void* procedure, Words words)
{
#ifdef __i386__
    std::uint32_t status;
    Word const* first = words.data();
    int removed, callersStack;
    // clang-format off
    asm volatile("mov %%esp, %%edi; and $-16, %%esp; sub $12, %%esp\n\t"
                 "push 16(%%ecx); push 12(%%ecx); push 8(%%ecx); push 4(%%ecx); push (%%ecx)\n\t"
                 "mov %%esp, %%esi; call *%%edx; sub %%esp, %%esi; mov %%edi, %%esp"
                 : "=a"(status), "=S"(removed), "=D"(callersStack), "+c"(first), "+d"(procedure) : : "memory", "cc");
    // clang-format on
    EXPECT_EQ(removed, 0) << "the procedure removed its arguments from the stack";
    return status;
#else
    auto const call = reinterpret_cast<std::uint32_t (*)(Word, Word, Word, Word, Word)>(procedure);
    return call(words[0], words[1], words[2], words[3], words[4]);
#endif
}

TEST(PluginABI, EntryPointsTakeWordsAndPhaseProceduresARecordByReference)
{
    // Load the plug-in and its libraries before entering the scratch root.
    void* const plugin = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << dlerror();
    testing_support::ScratchRoot const root;
    char const* const properties[] = {"ZelkoCode", "FT-12", nullptr, nullptr};
    Word const map = reinterpret_cast<Word>(properties), callback = reinterpret_cast<Word>(recordLine);
    Words const stray = {1, ~Word{0}, 0x7FFFFFFF, 0x80000000, 3};
    // clang-format off
    struct { Word propertyMap; std::uint32_t numbers[3]; Word logCallback; } const record = {0, {0, 0, 0}, callback};
    struct { char const* symbol; Words words; std::uint32_t status; char const* firstLine; } const cases[] = {
        {"QvInstallerCustomHookInitSession", stray, 0, ""},
        {"QvInstallerCustomHookCloseSession", stray, 0, ""},
        {"QvInstallerCustomHookProc", {map, 4, 2, 77, callback}, 0, "::FT::In UninstallSessionCloseProc"},
        {"QvInstallerCustomHookProc", {map, 2, 1, 77, callback}, 0, "::FT::In PostPayloadReinstallProc"},
        {"QvInstallerCustomHookProc", {map, 0xFFFFFFFF, 0, 77, callback}, 4, "::FT::Unsupported entry mode specified."},
        {"QvInstallerCustomHookProc", {0, 0, ~Word{0}, ~Word{0}, callback}, 3, "::FT::Unsupported install mode specified."},
        {"QvInstallerCustomHookProc", {0, 1, 0, 77, 0}, 0, ""},
        {"_Z23InstallSessionCloseProcRK18CCustomHookSession", {reinterpret_cast<Word>(&record), 9, 9, 9, 9}, 0, "::FT::In InstallSessionCloseProc"},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << each.symbol << ' ' << each.words[1] << ' ' << each.words[2]);
        void* const procedure = dlsym(plugin, each.symbol);
        ASSERT_NE(procedure, nullptr);
        EXPECT_EQ(callWithWords(procedure, each.words), each.status);
        EXPECT_EQ(std::exchange(firstLine, ""), each.firstLine);
    }
}

} // namespace
