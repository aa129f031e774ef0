// The built plug-in as an installer's process meets it: found by symbol names, called with words. Nothing of the
// plug-in's headers is used, so that a changed type or calling convention there cannot change both sides.
#include "tests/support/scratch_root.h"

#include <array>
#include <cstdint>
#include <dlfcn.h>
#include <string>
#include <vector>

using namespace testing_support;

namespace {

using Word = std::uintptr_t;

std::vector<std::string> lines;

void recordLine(char const* message)
{
    lines.emplace_back(message);
}

Word const callback = reinterpret_cast<Word>(recordLine);

/// Calls a procedure with five words as cdecl code does: they lie on the stack, and stay there for the caller to
/// remove.
__attribute__((noinline)) std::uint32_t callWithWords(void* procedure, std::array<Word, 5> words)
{
#ifdef __i386__
    std::uint32_t status;
    Word const* first = words.data();
    int removed;
    int callersStack;
    asm volatile("mov %%esp, %%edi\n\t"
                 "and $-16, %%esp\n\t"
                 "sub $12, %%esp\n\t"
                 "push 16(%%ecx)\n\t"
                 "push 12(%%ecx)\n\t"
                 "push 8(%%ecx)\n\t"
                 "push 4(%%ecx)\n\t"
                 "push (%%ecx)\n\t"
                 "mov %%esp, %%esi\n\t"
                 "call *%%edx\n\t"
                 "sub %%esp, %%esi\n\t"
                 "mov %%edi, %%esp"
                 : "=a"(status), "=S"(removed), "=D"(callersStack), "+c"(first), "+d"(procedure)
                 :
                 : "memory", "cc");
    EXPECT_EQ(removed, 0) << "the procedure removed its arguments from the stack";
    return status;
#else
    auto const call = reinterpret_cast<std::uint32_t (*)(Word, Word, Word, Word, Word)>(procedure);
    return call(words[0], words[1], words[2], words[3], words[4]);
#endif
}

class PluginABI : public testing::Test
{
protected:
    // Loaded before a test enters its scratch root, with all that it links.
    static void SetUpTestSuite() { plugin = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL); }
    static void TearDownTestSuite() { dlclose(plugin); }

    void SetUp() override
    {
        ASSERT_NE(plugin, nullptr) << dlerror();
        lines.clear();
    }

    static std::uint32_t call(char const* symbol, std::array<Word, 5> words)
    {
        void* const procedure = dlsym(plugin, symbol);
        return procedure != nullptr ? callWithWords(procedure, words) : 0xDEAD;
    }

    static void* plugin;
};

void* PluginABI::plugin = nullptr;

TEST_F(PluginABI, OpenAndCloseIgnoreStrayArguments)
{
    std::array<Word, 5> const stray = {1, ~Word{0}, 0x7FFFFFFF, 0x80000000, 3};
    EXPECT_EQ(call("QvInstallerCustomHookInitSession", stray), 0U);
    EXPECT_EQ(call("QvInstallerCustomHookCloseSession", stray), 0U);
}

TEST_F(PluginABI, HookProcedureTakesFiveWords)
{
    ScratchRoot const root;
    std::array<char const*, 4> const properties = {"ZelkoCode", "FT-12", nullptr, nullptr};
    Word const map = reinterpret_cast<Word>(properties.data());
    struct
    {
        std::array<Word, 5> words;
        std::uint32_t status;
        char const* firstLine;
    } const cases[] = {
        {{map, 4, 2, 77, callback}, 0, "::FT::In UninstallSessionCloseProc"},
        {{map, 2, 1, 77, callback}, 0, "::FT::In PostPayloadReinstallProc"},
        {{map, 0xFFFFFFFF, 0, 77, callback}, 4, "::FT::Unsupported entry mode specified."},
        {{0, 0, static_cast<Word>(-1), ~Word{0}, callback}, 3, "::FT::Unsupported install mode specified."},
        {{0, 1, 0, 77, 0}, 0, nullptr},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << "phase " << each.words[1] << ", mode " << each.words[2]);
        EXPECT_EQ(call("QvInstallerCustomHookProc", each.words), each.status);
        EXPECT_EQ(lines.empty(), each.firstLine == nullptr);
        if (!lines.empty()) {
            EXPECT_EQ(lines[0], each.firstLine);
        }
        lines.clear();
    }
}

TEST_F(PluginABI, PhaseProceduresTakeTheRecordByReference)
{
    struct
    {
        Word propertyMap;
        std::uint32_t numbers[3];
        Word logCallback;
    } const record = {0, {0, 0, 0}, callback};
    EXPECT_EQ(call("_Z23InstallSessionCloseProcRK18CCustomHookSession",
                   {reinterpret_cast<Word>(&record), 9, 9, 9, 9}),
              0U);
    EXPECT_EQ(lines, std::vector<std::string>{"::FT::In InstallSessionCloseProc"});
}

} // namespace
