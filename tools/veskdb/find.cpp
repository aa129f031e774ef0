#include "tools/veskdb/find.h"

#include "tools/veskdb/file_status.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/schema.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>

namespace veskdb {

namespace {

/// @return how many values contain the text
std::size_t findIn(Database const& database, std::string const& text, Presenter& presenter)
{
    Tables names;
    for (Table const& table : tablesOf(database)) {
        names.push_back(table.name);
    }
    auto const reader = openToRead(database, names);
    std::size_t found = 0;
    for (Table const& table : tablesOf(database)) {
        Cursor cursor = reader->query(selectAll(table));
        while (cursor.next()) {
            for (std::size_t each = 0; each < table.columns.size(); ++each) {
                if (asText(cursor.row()[each]).find(text) != std::string::npos) {
                    presenter.add({std::string(database.name), table.name, keyOf(table, cursor.row()),
                                   table.columns[each]});
                    ++found;
                }
            }
        }
    }
    return found;
}

} // namespace

int findText(Options const& options)
{
    Presenter presenter(options.json);
    presenter.begin(
        {"", false, {{"database", "DB"}, {"table", "TABLE"}, {"key", "KEY"}, {"column", "COLUMN"}}});
    std::size_t found = 0;
    for (Database const& database : databases) {
        bool const named =
            std::find(options.named.begin(), options.named.end(), &database) != options.named.end();
        if (named || (options.named.empty() && statusOf(pathOf(database)))) {
            found += findIn(database, options.text, presenter);
        }
    }
    presenter.print();
    return found > 0 ? kExitDone : kExitNotFound;
}

} // namespace veskdb
