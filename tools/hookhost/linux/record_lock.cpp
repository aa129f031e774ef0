#include "tools/hookhost/record_lock.h"

#include <cerrno>
#include <ctime>

namespace hookhost {

RecordLock::RecordLock() : mutex()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes,
                                PTHREAD_MUTEX_ROBUST); // the kernel releases what a dead thread held
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

bool RecordLock::lock(int longest) noexcept
{
    timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    long const nanoseconds = until.tv_nsec + longest % 1000 * 1000000L;
    until.tv_sec += longest / 1000 + nanoseconds / 1000000000;
    until.tv_nsec = nanoseconds % 1000000000;
    int const error = pthread_mutex_timedlock(&mutex, &until);
    if (error == EOWNERDEAD) {
        pthread_mutex_consistent(&mutex);
    }
    return error == 0 || error == EOWNERDEAD;
}

void RecordLock::unlock() noexcept
{
    pthread_mutex_unlock(&mutex);
}

} // namespace hookhost
