#include "platform/thread_rights.h"

#include <sys/kauth.h>
#include <unistd.h>

namespace platform {

ThreadRights::ThreadRights(Account const* account)
{
    if (account != nullptr) {
        changed = pthread_setugid_np(account->user, account->group) == 0;
    }
    complete = account == nullptr || changed;
}

ThreadRights::~ThreadRights()
{
    if (changed) {
        pthread_setugid_np(KAUTH_UID_NONE, KAUTH_GID_NONE);
    }
}

} // namespace platform
