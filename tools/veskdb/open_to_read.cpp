#include "tools/veskdb/open_to_read.h"

#include "libdolmvesk/vesk_status.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/schema.h"
#include "tools/veskdb/status_name.h"

#include <fmt/format.h>

namespace veskdb {

namespace {

bool isLost(Database const& database)
{
    return database.store->hasBackup && !statusOf(pathOf(database)) && statusOf(backupPathOf(database));
}

} // namespace

std::unique_ptr<RecordReader> openToRead(Database const& database, Tables const& tables)
{
    std::string const path = pathOf(database);
    if (!statusOf(path)) {
        throw Refusal(kExitNotFound,
                      fmt::format("{}, '{}': {}{}", database.title, path, describeStatus(kVeskNotFound),
                                  isLost(database)
                                      ? fmt::format(", but its backup does; to restore it: {}",
                                                    ownCommand(fmt::format("restore {}", database.name)))
                                      : ""));
    }
    return openToRead(path, database, tables);
}

std::unique_ptr<RecordReader> openToRead(std::string const& path, Database const& database,
                                         Tables const& tables)
{
    auto reader = std::make_unique<RecordReader>(path);
    Schema const present = schemaOf(*reader);
    for (std::string const& table : tables) {
        SchemaObject const* const found = find(present, "table", table);
        if (found == nullptr ||
            found->statement != find(schemaCreated(database, 1), "table", table)->statement) {
            throw Unreadable(
                fmt::format("'{}': {} {}", path,
                            found == nullptr ? "there is no table" : "not as the installer creates it: table",
                            table),
                ownCommand(fmt::format("verify {}", database.name)));
        }
    }
    return reader;
}

void requireNotLost(Database const& database)
{
    if (isLost(database)) {
        throw Refusal(kExitError, fmt::format("{}, '{}': {}; run: {}", database.title, pathOf(database),
                                              describeStatus(kVeskNeedsRestore),
                                              ownCommand(fmt::format("restore {}", database.name))));
    }
}

} // namespace veskdb
