#include "tools/hookhost/run_state.h"

#include <new>
#include <sys/mman.h>

namespace hookhost {

void UnmapRunState::operator()(RunState* state) const
{
    munmap(state, size);
}

SharedRunState newRunState(std::size_t steps, std::size_t expectations)
{
    std::size_t const size =
        sizeof(RunState) + steps * sizeof(std::atomic<uint32_t>) + expectations * sizeof(std::atomic<bool>);
    void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    auto* const state = new (memory) RunState;
    state->statuses = reinterpret_cast<std::atomic<uint32_t>*>(state + 1); // both arrays begin as zeros
    state->logged = reinterpret_cast<std::atomic<bool>*>(state->statuses + steps);
    return SharedRunState(state, UnmapRunState{size});
}

} // namespace hookhost
