// The product code that a reinstall records: the phase's status, its log line by line, and the row.
#include "hooks/CustomHooks.h"
#include "libdolmvesk/pcd_compat.h"
#include "tests/support/database_file.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_root.h"
#include "tests/support/stores.h"

#include <gmock/gmock.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;
using Texts = std::vector<std::string>;

namespace {

HookProperty const noCode[] = {{"zelkoCode", "FT-12"}, {nullptr, "ZelkoCode"}};
HookProperty const productCode[] = {{"INSTALLDIR", "/"}, {"ZelkoCode", "{FT'12}"}, {nullptr, nullptr}};
HookProperty const nullCode[] = {{"ZelkoCode", nullptr}, {nullptr, nullptr}};

std::string const begin = "Begin Extracting Tessarine ZelkoCode",
                  error = "Error Extracting Tessarine ZelkoCode";
std::string const extracted = "Extracted Tessarine ZelkoCode", closing = "Closing Master PCD";
Texts const noStore{begin, extracted, "={FT'12}", "Master PCD does not exists", closing};

/// The record's lines with a store, up to the outcome.
Texts withStore(std::string const& code, std::string const& outcome)
{
    return {begin,   extracted, "=" + code, "Master PCD exists", "Updating Key in Master PCD",
            outcome, closing};
}

class ReinstallRecord : public ScratchRootTest
{
protected:
    /// Runs the phase and expects a status and the lines of the record, given without their common prefix
    /// except where "=" stands before the whole line; the events file's migration follows.
    void expectPhase(HookProperty const* properties, uint32_t status, Texts const& record)
    {
        Texts expected{"::FT::In PostPayloadReinstallProc"};
        for (auto const& line : record) {
            expected.push_back(line[0] == '=' ? line.substr(1) : "::FT::CUSTOM ACTION: " + line);
        }
        expected.emplace_back(
            "::FT::CUSTOM ACTION: Function start, to copy customevents.dat file from previous install");
        expected.insert(expected.end(), 4, "::FT::CUSTOM ACTION: customevents.dat file not found");
        EXPECT_EQ(QvInstallerCustomHookProc(properties, kHookPostPayload, kHookReinstall, 0,
                                            LogRecorder::callback()),
                  status);
        EXPECT_EQ(recorder.take(), expected);
    }
    static Texts rows() { return sql(masterFile, "SELECT * FROM domain_data"); }

    LogRecorder recorder;
};

TEST_F(ReinstallRecord, WithoutProductCodeNothingIsTouched)
{
    expectPhase(noCode, kHookNoProductCode, {begin, error});
    expectPhase(nullptr, kHookNoProductCode, {begin, "=Property map is not initialized.", error});
    EXPECT_THAT(namesIn("/"), ElementsAre());
    opened(pcdOpenSession);
    unlink(cacheFile.c_str());
    expectPhase(noCode, kHookNoProductCode, {begin, error});
    EXPECT_FALSE(exists(cacheFile)); // opening the master would have brought it back
}

TEST_F(ReinstallRecord, AMissingStoreIsNotCreated)
{
    expectPhase(productCode, kHookOK, noStore);
    EXPECT_THAT(namesIn("/"), ElementsAre());
    opened(pcdOpenCacheSession);
    expectPhase(productCode, kHookOK, noStore);
    EXPECT_FALSE(exists(masterFile));
}

TEST_F(ReinstallRecord, TheRowIsWrittenOnce)
{
    opened(pcdOpenSession);
    for (int mode : {kHookInstall, kHookUninstall}) {
        QvInstallerCustomHookProc(productCode, kHookPostPayload, mode, 0, nullptr);
        EXPECT_EQ(rows(), Texts{});
    }
    int const descriptors = openDescriptors();
    for (int run = 0; run < 2; ++run) {
        expectPhase(productCode, kHookOK, withStore("{FT'12}", "Key updated successfully"));
        EXPECT_EQ(rows(), (Texts{"1", "{FT'12}", "DefaultDriverPayload", "{FT'12}"}));
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(ReinstallRecord, FailuresAreLoggedAndSwallowed)
{
    opened(pcdOpenSession);
    Texts const refused = withStore("{FT'12}", "Error updating Key");
    expectPhase(nullCode, kHookOK, withStore("", "Error updating Key"));
    if (canBecomeOrdinaryUser()) {
        asOrdinaryUser([&] { expectPhase(productCode, kHookOK, refused); });
    }
    sql(masterFile, "CREATE TRIGGER refuse BEFORE INSERT ON domain_data BEGIN SELECT RAISE(ABORT, ''); END");
    expectPhase(productCode, kHookOK, refused);
    EXPECT_EQ(rows(), Texts{});
    EXPECT_EQ(sql(masterFile, "BEGIN EXCLUSIVE; DROP TRIGGER refuse; COMMIT"), Texts{}); // nothing is held

    // The master store opens and the cache store does not: the log calls that no master either.
    unlink(cacheFile.c_str());
    makeFolders(cacheFile);
    int const descriptors = openDescriptors();
    expectPhase(productCode, kHookOK, noStore);
    EXPECT_EQ(rows(), Texts{});
    EXPECT_EQ(openDescriptors(), descriptors); // the live handle was closed
}

} // namespace
