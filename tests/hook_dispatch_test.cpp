#include "hooks/CustomHooks.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_root.h"

#include <gmock/gmock.h>

using namespace testing_support;
using testing::ElementsAre;

namespace {

class HookDispatch : public ScratchRootTest
{
protected:
    LogRecorder recorder;
};

TEST_F(HookDispatch, RunsTheProcedureOfEachModeAndPhase)
{
    char const* const procedures[3][5] = {
        {"InstallPreSystemCheckProc", "PrePayloadInstallProc", "PostPayloadInstallProc",
         "InstallSessionOpenProc", "InstallSessionCloseProc"},
        {"ReinstallPreSystemCheckProc", "PrePayloadReinstallProc", "PostPayloadReinstallProc",
         "ReinstallSessionOpenProc", "ReinstallSessionCloseProc"},
        {"UninstallPreSystemCheckProc", "PrePayloadUninstallProc", "PostPayloadUninstallProc",
         "UninstallSessionOpenProc", "UninstallSessionCloseProc"},
    };
    HookProperty const properties[] = {{"ZelkoCode", "FT-12"}, {nullptr, nullptr}};
    EXPECT_EQ(QvInstallerCustomHookInitSession(), 0U);
    for (int mode = 0; mode < 3; ++mode) {
        for (unsigned phase = 0; phase < 5; ++phase) {
            SCOPED_TRACE(procedures[mode][phase]);
            EXPECT_EQ(QvInstallerCustomHookProc(properties, phase, mode, 77, LogRecorder::callback()), 0U);
            auto const lines = recorder.take();
            ASSERT_FALSE(lines.empty());
            EXPECT_EQ(lines[0], std::string("::FT::In ") + procedures[mode][phase]);
            // Only the phases with custom actions say more.
            bool const acts =
                phase == kHookPreSystemCheck || (phase == kHookPostPayload && mode != kHookUninstall);
            EXPECT_EQ(lines.size() > 1, acts);
            EXPECT_EQ(QvInstallerCustomHookProc(properties, phase, mode, 77, nullptr), 0U);
        }
    }
    EXPECT_EQ(QvInstallerCustomHookCloseSession(), 0U);
}

TEST_F(HookDispatch, RefusesOtherModesAndPhases)
{
    struct
    {
        int32_t installMode;
        uint32_t entryMode;
        uint32_t status;
        char const* message;
    } const cases[] = {
        {3, 0, 3, "::FT::Unsupported install mode specified."},
        {-1, 0, 3, "::FT::Unsupported install mode specified."},
        {INT32_MIN, 99, 3, "::FT::Unsupported install mode specified."},
        {0, 5, 4, "::FT::Unsupported entry mode specified."},
        {2, 0xFFFFFFFF, 4, "::FT::Unsupported entry mode specified."},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << each.installMode << '/' << each.entryMode);
        EXPECT_EQ(
            QvInstallerCustomHookProc(nullptr, each.entryMode, each.installMode, 0, LogRecorder::callback()),
            each.status);
        EXPECT_THAT(recorder.take(), ElementsAre(each.message));
        EXPECT_EQ(QvInstallerCustomHookProc(nullptr, each.entryMode, each.installMode, 0, nullptr),
                  each.status);
    }
}

TEST(HookProperties, LookUp)
{
    LogRecorder recorder;
    HookProperty const none[] = {{nullptr, "unreachable"}};
    HookProperty const some[] = {
        {"Code", "first"}, {"code", nullptr}, {"Code", "second"}, {nullptr, nullptr}};
    char const untouched[] = "untouched";
    struct
    {
        HookProperty const* map;
        char const* name;
        bool wantsValue;
        bool found;
        char const* value;
        std::vector<std::string> lines;
    } const cases[] = {
        {some, "Code", true, true, some[0].value, {}},
        {some, "code", true, true, nullptr, {}},
        {some, "CODE", true, false, untouched, {}},
        {none, "Code", true, false, untouched, {}},
        {nullptr, "Code", true, false, untouched, {"Property map is not initialized."}},
        {nullptr, "Code", false, false, untouched, {"NULL pointer passed for property name."}},
        {nullptr, nullptr, false, false, untouched, {"NULL pointer passed as property name."}},
    };
    for (auto const& each : cases) {
        char const* value = untouched;
        EXPECT_EQ(
            LogRecorder::session(each.map).GetPropetyValue(each.name, each.wantsValue ? &value : nullptr),
            each.found);
        EXPECT_EQ(value, each.value); // the very pointer
        EXPECT_EQ(recorder.take(), each.lines);
    }
}

} // namespace
