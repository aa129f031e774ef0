// Every allocation, every file operation and every system call fails once, and then for ever: nothing that was
// acknowledged is lost, nothing is left behind, and the next use works.
#include "tests/reliability/records.h"
#include "tests/support/faults.h"

using namespace testing_support;

namespace {

// Every place; one of so many where everything is slower, and where the same places have been swept in the other word
// size.
int const stride = UNDER_SANITIZERS ? 5 : sizeof(void*) == 4 ? 3 : 1;

class Faults : public ScratchRootTest
{
protected:
    /// Lets each fault strike at each place that there is, or each so many, in a run of its own: once, then for ever.
    template<class Prepare, class Use, class Check>
    void sweep(int step, Prepare prepare, Use use, Check check)
    {
        for (auto const& fault : allFaults) {
            for (bool const forEver : {false, true}) {
                for (int nth = 1; !HasFailure(); nth += step) {
                    SCOPED_TRACE(testing::Message()
                                 << fault.name << ' ' << nth << (forEver ? " for ever" : ""));
                    prepare();
                    long const before = liveAllocations;
                    arm(fault, nth, forEver);
                    auto const outcome = use();
                    disarm();
                    EXPECT_EQ(liveAllocations, before);
                    EXPECT_EQ(openDescriptors(), descriptors);
                    check(outcome);
                    ++runs;
                    if (!struck()) {
                        break;
                    }
                }
            }
        }
    }

    ~Faults() override { std::printf("%d faults\n", runs); }

    int runs = 0;
    int descriptors = openDescriptors();
    FailingVfs layer;
};

TEST_F(Faults, LoseNothingOfStoresInUse)
{
    Machine const machine = makeMachine();
    for (auto const& store : stores) {
        sweep(
            stride, [&] { restoreMachine(machine); }, [&] { return useStore(store); },
            [&](Outcome const& outcome) { expectWholeAndUsable(store, outcome); });
    }
}

TEST_F(Faults, LeaveNewStoresUsable)
{
    for (auto const& store : stores) {
        useStore(store); // whatever SQLite allocates once
        // Creating its tables is most of the work, one like the other.
        sweep(
            5 * stride, [&] { root.renew(); }, [&] { return useStore(store); },
            [&](Outcome const& outcome) { expectWholeAndUsable(store, outcome, false); });
    }
}

TEST_F(Faults, LeaveNoHalfFileOfAPhase)
{
    Machine const machine = makeMachine();
    runEveryPhase();
    int identifiers = 0;
    sweep(
        stride, [&] { restoreMachine(machine); }, runEveryPhase,
        [&](bool allFine) {
            EXPECT_TRUE(allFine);
            EXPECT_LE(exists(identifierFolder) ? namesIn(identifierFolder).size() : 0, 1U);
            std::string const identifier = readFile(identifierFolder + "/UUID.plist");
            EXPECT_TRUE(identifier.empty() || identifier.find("</plist>") != std::string::npos) << identifier;
            std::string const events = readFile(newEventsFolder + "/Tessarine/customevents.dat");
            EXPECT_TRUE(events.empty() || events == "events");
            identifiers += identifier.empty() ? 0 : 1;
            EXPECT_EQ(readFile(payloadFile), machine.at(payloadFile));
            EXPECT_EQ(rows(masterFile, "PRAGMA integrity_check"), "ok");
        });
    EXPECT_GT(identifiers, 0);
    for (auto const& store : stores) {
        expectWholeAndUsable(store, {});
    }
}

} // namespace
