#include "tools/veskdb/status_name.h"

#include "libdolmvesk/vesk_status.h"

#include <fmt/format.h>

namespace veskdb {

std::string describeStatus(int32_t status, std::string const& reason)
{
    struct
    {
        VeskStatus status;
        char const* name;
        char const* meaning;
    } const statuses[] = {
        {kVeskOK, "kVeskOK", "all went well"},
        {kVeskFailed, "kVeskFailed", "the database could not be opened or set up"},
        {kVeskNoMemory, "kVeskNoMemory", "there is not enough memory"},
        {kVeskIOError, "kVeskIOError", "the file cannot be read or written, or is not an intact database"},
        {kVeskNeedsRestore, "kVeskNeedsRestore", "the database is gone and its backup is there"},
        {kVeskConstraint, "kVeskConstraint", "the database's own rules refuse the row"},
        {kVeskNotFound, "kVeskNotFound", "it does not exist"},
        {kVeskNoDataStore, "kVeskNoDataStore", "the database is not open"},
        {kVeskInvalidArgument, "kVeskInvalidArgument", "a value is out of range"},
        {kVeskAccessDenied, "kVeskAccessDenied",
         "this user may not do that, or the file is not safe to open; run this as root, or veskdb verify"},
        {kVeskError, "kVeskError", "the database refuses the statement"},
        {kVeskSchemaTooNew, "kVeskSchemaTooNew", "the database is of a newer version than this program"},
        {kVeskBusy, "kVeskBusy", "another program keeps the database locked"},
        {kVeskConflict, "kVeskConflict", "a payload in conflict with it is on record"},
    };
    for (auto const& each : statuses) {
        if (each.status == status) {
            return fmt::format("{} ({}), {}", each.name, status, reason.empty() ? each.meaning : reason);
        }
    }
    return fmt::format("status {}", status);
}

} // namespace veskdb
