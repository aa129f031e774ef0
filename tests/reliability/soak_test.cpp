// Ten thousand cycles leave descriptors, memory and files as they were.
#include "tests/reliability/records.h"
#include "tests/support/faults.h"

#include <filesystem>
#include <malloc.h>

using namespace testing_support;

namespace {

int const cycles = UNDER_SANITIZERS ? 1000 : 10000;

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
    template<class Cycle>
    void leavesNothing(Cycle cycle)
    {
        cycle(); // what is made once
        Resources const before;
        for (int count = 0; count < cycles; ++count) {
            cycle();
        }
        Resources const after;
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_EQ(after.allocations, before.allocations);
        EXPECT_LE(after.bytes, before.bytes + 65536); // less than seven bytes a cycle
        EXPECT_EQ(after.files, before.files);
    }
};

TEST_F(Soak, OpeningAndClosingLeavesNothing)
{
    makeMachine();
    leavesNothing([] {
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
    leavesNothing([] { EXPECT_TRUE(runEveryPhase()); });
}

} // namespace
