// Recording the product code in a reinstall: the phase's status, its log lines, and the row.
#include "hooks/CustomHooks.h"
#include "libdolmvesk/pcd_compat.h"
#include "tests/support/log_recorder.h"
#include "tests/support/stores.h"

#include <unistd.h>

using namespace testing_support;

namespace {

HookProperty const noCode[] = {{"zelkoCode", "FT-12"}, {nullptr, "ZelkoCode"}};
HookProperty const productCode[] = {{"INSTALLDIR", "/"}, {"ZelkoCode", "{FT'12}"}, {nullptr, nullptr}};
HookProperty const nullCode[] = {{"ZelkoCode", nullptr}, {nullptr, nullptr}};

// The log lines of this action.
// clang-format off
std::string const begins = "* Begin Extracting Tessarine ZelkoCode", extracted = "* Extracted Tessarine ZelkoCode", closes = "* Closing Master PCD";
Texts const refused{begins, "* Error Extracting Tessarine ZelkoCode"};
Texts const noMap{begins, "Property map is not initialized.", refused[1]};
Texts const noStore{begins, extracted, "{FT'12}", "* Master PCD does not exists", closes};
Texts const written{begins, extracted, "{FT'12}", "* Master PCD exists", "* Updating Key in Master PCD", "* Key updated successfully", closes};
Texts const failed{begins, extracted, "{FT'12}", written[3], written[4], "* Error updating Key", closes};
Texts const failedWithNull{begins, extracted, "", written[3], written[4], failed[5], closes};
// clang-format on

class ReinstallRecord : public ScratchRootTest
{
protected:
    /// Runs the phase and expects a status, the action's log lines and the row in the store.
    void expectPhase(HookProperty const* properties, uint32_t status, Texts const& record,
                     char const* row = "")
    {
        Texts expected = record;
        expected.insert(expected.begin(), "::FT::In PostPayloadReinstallProc");
        EXPECT_EQ(QvInstallerCustomHookProc(properties, kHookPostPayload, 1, 0, LogRecorder::callback()),
                  status);
        Texts lines = recorder.take();
        ASSERT_EQ(lines.size(), expected.size() + 5); // the lines about the events file follow
        lines.resize(expected.size());
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(exists(masterFile) ? rows(masterFile, "SELECT * FROM domain_data") : "", row);
    }

    LogRecorder recorder;
};

TEST_F(ReinstallRecord, NothingIsCreatedWithoutProductCodeOrStore)
{
    expectPhase(noCode, kHookNoProductCode, refused);
    expectPhase(nullptr, kHookNoProductCode, noMap);
    expectPhase(productCode, kHookOK, noStore);
    EXPECT_EQ(namesIn("/"), Texts{});
    opened(pcdOpenCacheSession);
    expectPhase(productCode, kHookOK, noStore);
    EXPECT_FALSE(exists(masterFile));
    opened(pcdOpenSession);
    unlink(cacheFile.c_str());
    expectPhase(noCode, kHookNoProductCode, refused);
    EXPECT_FALSE(exists(cacheFile)); // opening the master would have created it
}

TEST_F(ReinstallRecord, TheRowIsWrittenOnceAndFailuresAreIgnored)
{
    opened(pcdOpenSession);
    for (int mode : {kHookInstall, kHookUninstall}) {
        QvInstallerCustomHookProc(productCode, kHookPostPayload, mode, 0, nullptr);
    }
    expectPhase(nullCode, kHookOK, failedWithNull);
    setHome("/"); // Foundation requires a record of the user
    canBecomeOrdinaryUser() ? asOrdinaryUser([&] { expectPhase(productCode, kHookOK, failed); }) : void();
    sql(masterFile, "CREATE TRIGGER refuse BEFORE INSERT ON domain_data BEGIN SELECT RAISE(ABORT, ''); END");
    expectPhase(productCode, kHookOK, failed);
    EXPECT_EQ(rows(masterFile, "BEGIN EXCLUSIVE; DROP TRIGGER refuse; COMMIT"), ""); // no lock is held
    for (int run = 0; run < 2; ++run) {
        expectPhase(productCode, kHookOK, written, "1,{FT'12},DefaultDriverPayload,{FT'12}");
    }
    // The master store opens and the cache store does not: logged as a missing master store.
    sql(masterFile, "DELETE FROM domain_data");
    unlink(cacheFile.c_str());
    makeFolders(cacheFile);
    expectPhase(productCode, kHookOK, noStore); // and the master's session is closed
}

} // namespace
