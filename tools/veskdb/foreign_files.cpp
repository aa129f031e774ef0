#include "tools/veskdb/foreign_files.h"

#include "tools/veskdb/databases.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/id_mappings.h"

#include <algorithm>
#include <cstring>
#include <fts.h>
#include <memory>
#include <sys/stat.h>
#include <vector>

namespace veskdb {

ForeignFiles foreignFiles()
{
    std::string root = folderPart(folderOf(databases.front()));
    std::vector<std::string> shared;
    for (Database const& database : databases) {
        if (database.store->sharedAccess) {
            shared.push_back(folderOf(database));
        }
    }
    char* const start[] = {root.data(), nullptr};
    auto const byName = [](FTSENT const** one, FTSENT const** other) {
        return std::strcmp((*one)->fts_name, (*other)->fts_name);
    };
    std::unique_ptr<FTS, int (*)(FTS*)> const tree(
        fts_open(start, FTS_PHYSICAL | FTS_NOCHDIR | FTS_XDEV, byName), fts_close);
    ForeignFiles found;
    while (FTSENT* const entry = tree ? fts_read(tree.get()) : nullptr) {
        bool const examined =
            entry->fts_info != FTS_DP && entry->fts_info != FTS_NS && entry->fts_info != FTS_ERR;
        if (examined && std::find(shared.begin(), shared.end(), entry->fts_path) != shared.end()) {
            fts_set(tree.get(), entry, FTS_SKIP);
        } else if (examined && entry->fts_statp->st_uid != 0 && isUserVisible(entry->fts_statp->st_uid)) {
            found.first = found.number++ == 0 ? entry->fts_path : found.first;
        }
    }
    return found;
}

} // namespace veskdb
