// Ten thousand cycles leave descriptors, memory and files as they were.
#include "tests/reliability/records.h"
#include "tests/support/faults.h"

#include <filesystem>
#include <malloc.h>

using namespace testing_support;

namespace {

int const cycles = UNDER_SANITIZERS ? 1000 : 10000; // of a session, or of a mode's five phases

struct Resources
{
    int descriptors = openDescriptors();
    long allocations = liveAllocations;
    size_t bytes = UNDER_SANITIZERS ? 0 : mallinfo2().uordblks; // of every library
    long files = std::distance(std::filesystem::recursive_directory_iterator("/"), {});
};

class Soak : public ScratchRootTest
{
protected:
    /// @param atOnce  how many cycles one call runs
    template<class Cycle>
    void leavesNothing(int atOnce, Cycle cycle)
    {
        for (int count = 0; count < cycles / 10; count += atOnce) {
            cycle(); // what is made once, and caches that fill
        }
        Resources const before;
        for (int count = 0; count < cycles; count += atOnce) {
            cycle();
        }
        Resources const after;
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_EQ(after.allocations, before.allocations);
        EXPECT_LE(after.bytes,
                  before.bytes + 8 * cycles); // the heap's own unrest: less than the smallest block a cycle
        EXPECT_EQ(after.files, before.files);
    }
};

TEST_F(Soak, OpeningAndClosingLeavesNothing)
{
    makeMachine();
    leavesNothing(stores.size(), [] {
        for (auto const& store : stores) {
            VeskSession* session = nullptr;
            EXPECT_EQ(store.open(&session), kVeskOK);
            EXPECT_EQ(store.close(session), kVeskOK);
        }
    });
}

TEST_F(Soak, PhasesLeaveNothing)
{
    makeMachine();
    leavesNothing(3, [] { EXPECT_TRUE(runEveryPhase()); });
}

} // namespace
