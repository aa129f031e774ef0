#include "tools/hookhost/run_state.h"

#include <new>
#include <sys/mman.h>

namespace hookhost {

void UnmapRunState::operator()(RunState* state) const
{
    munmap(state, sizeof *state);
}

SharedRunState newRunState()
{
    void* const memory =
        mmap(nullptr, sizeof(RunState), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return SharedRunState(new (memory) RunState);
}

} // namespace hookhost
