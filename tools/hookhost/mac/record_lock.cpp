#include "tools/hookhost/record_lock.h"

#include <unistd.h>

namespace hookhost {

RecordLock::RecordLock() : mutex()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

// Deliberate: this system does not release what a dead process held, so records that follow are lost, which is
// reported. The run itself ends: nothing waits for the lock without a limit.
bool RecordLock::lock(int longest) noexcept
{
    bool held = pthread_mutex_trylock(&mutex) == 0;
    for (int waited = 0; !held && waited < longest; ++waited) {
        usleep(1000);
        held = pthread_mutex_trylock(&mutex) == 0;
    }
    return held;
}

void RecordLock::unlock() noexcept
{
    pthread_mutex_unlock(&mutex);
}

} // namespace hookhost
