// Every allocation and every system call fails once, then from then on, then the process is killed there: nothing that
// was acknowledged is lost, nothing is left behind, and the next use works.
#include "tests/reliability/records.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <csignal>
#include <sys/wait.h>

using namespace testing_support;

namespace {

// Every place; fewer under sanitizers, which are slow, and in 32-bit builds, where the places are the same.
int const stride = UNDER_SANITIZERS || sizeof(void*) == 4 ? 5 : 1;

class Faults : public ScratchRootTest
{
protected:
    /// Makes each fault strike at every `step`th place, each time in a run of its own.
    ///
    /// @param check  takes the result of `use`, a default one if the process was killed, and whether the process could
    ///               not clean up: it was killed, or the calls went on to fail
    template<class Prepare, class Use, class Check>
    void sweep(int step, Prepare prepare, Use use, Check check)
    {
        for (auto const& fault : allFaults) {
            for (auto const strike : {Strike::kOnce, Strike::kFromThenOn, Strike::kDeath}) {
                // Allocations change nothing on the disk: being killed there proves nothing.
                bool struck = &fault != allFaults || strike != Strike::kDeath;
                for (int nth = 1; struck && !HasFailure(); nth += &fault == allFaults ? 3 * step : step) {
                    SCOPED_TRACE(testing::Message() << fault.calls << nth << ", " << int(strike));
                    prepare();
                    decltype(use()) outcome = {};
                    if (strike == Strike::kDeath) {
                        struck = isKilled([&] { arm(fault, nth, strike), use(); });
                    } else {
                        arm(fault, nth, strike);
                        outcome = use();
                        struck = disarm();
                    }
                    EXPECT_EQ(openDescriptors(), descriptors);
                    check(outcome, strike != Strike::kOnce && struck);
                    ++runs;
                }
            }
        }
    }

    static bool isKilled(std::function<void()> const& body)
    {
        pid_t const child = fork();
        if (child == 0) {
            body();
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(status == 0 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)) << status;
        return status != 0;
    }

    ~Faults() override { std::printf("%d faults\n", runs); }

    int runs = 0;
};

TEST_F(Faults, LoseNothingOfStoresInUse)
{
    Machine const machine = makeMachine();
    for (auto const& store : stores) {
        sweep(
            stride, [&] { restoreMachine(machine); }, [&] { return useStore(store); },
            [&](Outcome const& outcome, bool) { expectWholeAndUsable(store, outcome); });
    }
}

TEST_F(Faults, LeaveNewStoresUsable)
{
    for (auto const& store : stores) {
        useStore(store); // SQLite allocates some memory once
        // Most of the work is creating tables, all alike.
        sweep(
            5 * stride, [&] { root.renew(); }, [&] { return useStore(store); },
            [&](Outcome const& outcome, bool) { expectWholeAndUsable(store, outcome, false); });
    }
}

TEST_F(Faults, LeaveNoHalfFileOfAPhase)
{
    Machine const machine = makeMachine();
    runEveryPhase();
    int identifiers = 0;
    sweep(
        stride, [&] { restoreMachine(machine); }, [] { return runEveryPhase() ? 1 : -1; },
        [&](int fine, bool uncleaned) {
            EXPECT_GE(fine, 0);
            auto const hasIn = [&](std::string const& folder, std::string const& name,
                                   std::string const& file, char const* end) {
                Texts const names = exists(folder) ? namesIn(folder) : Texts();
                bool const has = std::count(names.begin(), names.end(), name) == 1;
                EXPECT_LE(names.size(), (has ? 1U : 0U) + (uncleaned ? 1U : 0U)) << names.front();
                EXPECT_TRUE(!has || readFile(folder + file).find(end) != std::string::npos) << file;
                return has;
            };
            hasIn(newEventsFolder + "/Tessarine", "customevents.dat", "/customevents.dat/folder/file",
                  "events");
            identifiers += hasIn(identifierFolder, "UUID.plist", "/UUID.plist", "</plist>") ? 1 : 0;
            EXPECT_EQ(readFile(payloadFile), machine.at(payloadFile));
            EXPECT_EQ(rows(masterFile, "PRAGMA integrity_check"), "ok");
        });
    EXPECT_GT(identifiers, 0);
    for (auto const& store : stores) {
        expectWholeAndUsable(store, {});
    }
}

} // namespace
