// Other processes that use the same databases.
#include "libdolmvesk/pcd_compat.h"
#include "tests/reliability/records.h"

#include <algorithm>
#include <list>
#include <unistd.h>

using namespace testing_support;

namespace {

class OtherUsers : public ScratchRootTest
{
};

/// Writes numbered rows, each in a transaction of its own, and tries again when told that the database is busy. Between
/// writing and committing it makes backups, which read the live files: no lock may be lost over that.
void writeRows(int process, int count)
{
    for (auto const& store : stores) {
        VeskSession* session = nullptr;
        ASSERT_EQ(store.open(&session), kVeskOK);
        for (int row = 0; row < count;) {
            std::string const key = std::to_string(process) + "/" + std::to_string(row);
            int32_t status = store.write(session, key.c_str());
            pdbBackup();
            veskBackup();
            status = status == kVeskOK ? store.commit(session) : status;
            row += status == kVeskOK ? 1 : 0;
            if (status != kVeskOK) {
                EXPECT_EQ(status, kVeskBusy);
                EXPECT_EQ(veskSessionRollback(session), kVeskOK);
            }
        }
        EXPECT_EQ(store.close(session), kVeskOK);
    }
}

TEST_F(OtherUsers, WritersLoseNothingToEachOther)
{
    for (int const processes : {2, 4}) {
        int const count = 120 / processes;
        root.renew();
        {
            std::list<OtherProcess> writers;
            for (int process = 0; process < processes; ++process) {
                writers.emplace_back([=] { writeRows(process, count); });
            }
            inChildProcess([] { makeMachine(); });
            for (auto const& writer : writers) {
                writer.start();
            }
            for (auto const& writer : writers) {
                writer.wait();
            }
        }
        for (auto const& store : stores) {
            std::string const keys = rows(store.file, store.keys);
            EXPECT_EQ(std::count(keys.begin(), keys.end(), ','), 3 + processes * count - 1) << store.name;
            EXPECT_EQ(rows(store.file, "PRAGMA integrity_check"), "ok");
        }
    }
}

} // namespace
