/// One session of the record library that changes a database completely or not at all.
#ifndef TOOLS_VESKDB_CHANGE_H
#define TOOLS_VESKDB_CHANGE_H

#include "tools/veskdb/databases.h"
#include "tools/veskdb/held_signals.h"

namespace veskdb {

/// A session in a transaction that is rolled back unless it is committed. No other process writes during its lifetime,
/// so what is read through it is current.
class Change
{
public:
    enum class WhenMissing
    {
        kCreate,
        kRefuse
    };

    /// @throws Refusal: the database is unchanged then
    Change(Database const& changed, WhenMissing whenMissing);
    Change(Change const&) = delete;
    Change& operator=(Change const&) = delete;
    ~Change();

    VeskSession* get() const { return session; }

    /// Refuses unless a call on the session succeeded.
    ///
    /// @param status  of the call
    /// @param what    what the call works on, for the message
    /// @throws Refusal (kExitNotFound: kVeskNotFound; kExitError: any other status)
    void require(int32_t status, std::string const& what);

    /// @throws Refusal: the destructor rolls back
    void commit();

private:
    std::string reasonForFailure(std::string const& path);
    void end();

    HeldSignals signals;
    Database const& database;
    VeskSession* session = nullptr;
};

} // namespace veskdb

#endif
