/// A lock in memory that several processes share.
#ifndef TOOLS_HOOKHOST_RECORD_LOCK_H
#define TOOLS_HOOKHOST_RECORD_LOCK_H

#include <pthread.h>

namespace hookhost {

/// Held by one thread of one process at a time. The kernel releases it if its holder dies (Linux). Make it in shared
/// memory before the other processes are forked; it is never destroyed.
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

    /// Releases the lock, which this thread holds.
    void unlock() noexcept;

private:
    pthread_mutex_t mutex;
};

} // namespace hookhost

#endif
