#include "hooks/CustomHooks.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_root.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <iterator>

using namespace testing_support;

namespace {

using HookDispatch = ScratchRootTest;

TEST_F(HookDispatch, RunsTheProcedureOfEachModeAndPhaseAndRefusesOthers)
{
    LogRecorder recorder;
    // clang-format off
    using Lines = std::vector<std::string>;
    std::string const helpers = "* Opening PDB Session", identifier = "* Inside Creating UUID", code = "* Begin Extracting Tessarine ZelkoCode";
    std::string const events = "* Function start, to copy customevents.dat file from previous install";
    std::string const procedures[3][5] = {
        {"InstallPreSystemCheckProc", "PrePayloadInstallProc", "PostPayloadInstallProc", "InstallSessionOpenProc", "InstallSessionCloseProc"},
        {"ReinstallPreSystemCheckProc", "PrePayloadReinstallProc", "PostPayloadReinstallProc", "ReinstallSessionOpenProc", "ReinstallSessionCloseProc"},
        {"UninstallPreSystemCheckProc", "PrePayloadUninstallProc", "PostPayloadUninstallProc", "UninstallSessionOpenProc", "UninstallSessionCloseProc"},
    };
    // clang-format on
    HookProperty const properties[] = {{"ZelkoCode", "FT-12"}, {nullptr, nullptr}};
    for (int32_t mode : {0, 1, 2, 3, -1, INT32_MIN}) {
        for (uint32_t phase : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(testing::Message() << mode << '/' << phase);
            bool const knownMode = mode >= 0 && mode < 3, known = knownMode && phase < 5;
            uint32_t const status = known ? 0 : knownMode ? 4 : 3;
            EXPECT_EQ(QvInstallerCustomHookProc(properties, phase, mode, 77, LogRecorder::callback()),
                      status);
            auto const lines = recorder.take();
            ASSERT_FALSE(lines.empty());
            EXPECT_EQ(lines[0], known       ? "::FT::In " + procedures[mode][phase]
                                : knownMode ? "::FT::Unsupported entry mode specified."
                                            : "::FT::Unsupported install mode specified.");
            // The custom actions that run, by their first lines.
            std::vector<std::string> actions;
            std::copy_if(lines.begin(), lines.end(), std::back_inserter(actions), [&](auto const& line) {
                return line == helpers || line == identifier || line == events || line == code;
            });
            bool const postPayload = known && phase == kHookPostPayload;
            EXPECT_EQ(actions, known && phase == kHookPreSystemCheck   ? Lines{helpers}
                               : postPayload && mode == kHookInstall   ? (Lines{identifier, events})
                               : postPayload && mode == kHookReinstall ? (Lines{code, events})
                                                                       : Lines());
            EXPECT_EQ(lines.size() > 1, !actions.empty());
            EXPECT_EQ(QvInstallerCustomHookProc(properties, phase, mode, 77, nullptr), status);
        }
    }
}

TEST_F(HookDispatch, PropertiesAreLookedUp)
{
    LogRecorder recorder;
    HookProperty const none[] = {{nullptr, "unreachable"}};
    HookProperty const some[] = {
        {"Code", "first"}, {"code", nullptr}, {"Code", "second"}, {nullptr, nullptr}};
    char const untouched[] = "untouched";
    // clang-format off
    struct { HookProperty const* map; char const* name; bool wantsValue, found; char const* value; std::vector<std::string> lines; } const cases[] = {
        {some, "Code", true, true, some[0].value, {}},
        {some, "code", true, true, nullptr, {}},
        {some, "CODE", true, false, untouched, {}},
        {none, "Code", true, false, untouched, {}},
        {nullptr, "Code", true, false, untouched, {"Property map is not initialized."}},
        {nullptr, "Code", false, false, untouched, {"NULL pointer passed for property name."}},
        {nullptr, nullptr, false, false, untouched, {"NULL pointer passed as property name."}},
    };
    // clang-format on
    for (auto const& each : cases) {
        char const* value = untouched;
        auto const session = LogRecorder::session(each.map);
        EXPECT_EQ(session.GetPropetyValue(each.name, each.wantsValue ? &value : nullptr), each.found);
        EXPECT_EQ(value, each.value); // the same pointer, not a copy
        EXPECT_EQ(recorder.take(), each.lines);
    }
}

} // namespace
