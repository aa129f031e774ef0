#include "tools/veskdb/created_database.h"

#include "libdolmvesk/vesk_status.h"
#include "tools/veskdb/refusal.h"

#include <fmt/format.h>
#include <sqlite3.h>

namespace veskdb {

void createInMemory(VeskiDataStore& store, Database const& database, int version, int pageSize)
{
    store.schemaLists = database.store->schemas;
    store.schemaType = database.store->type;
    store.status = sqlite3_open(":memory:", &store.db) == SQLITE_OK ? kVeskOK : kVeskNoMemory;
    int32_t status = store.queryNR("PRAGMA page_size = %d", pageSize); // 0 changes nothing
    for (int step = 1; status == kVeskOK && step <= version; ++step) {
        status = store.loadSchema(step);
    }
    if (status != kVeskOK) {
        throw Refusal(kExitError, fmt::format("{} cannot be created in memory", database.title));
    }
}

} // namespace veskdb
