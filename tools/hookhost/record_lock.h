/// A lock in memory that several processes share.
#ifndef TOOLS_HOOKHOST_RECORD_LOCK_H
#define TOOLS_HOOKHOST_RECORD_LOCK_H

#include <pthread.h>

namespace hookhost {

/// Held by one thread of one process at a time. A holder that dies loses it. Lives in shared memory, made before the
/// other processes are forked, and is never destroyed.
class RecordLock
{
public:
    RecordLock();
    RecordLock(RecordLock const&) = delete;
    RecordLock& operator=(RecordLock const&) = delete;

    /// Waits for the lock.
    ///
    /// @param longest  in milliseconds
    /// @return whether this thread holds it now
    bool lock(int longest) noexcept;
    void unlock() noexcept;

private:
    pthread_mutex_t mutex;
};

} // namespace hookhost

#endif
