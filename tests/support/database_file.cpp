#include "tests/support/database_file.h"

#include <sqlite3.h>

namespace testing_support {

std::vector<std::string> sql(std::string const& path, std::string const& statements)
{
    std::vector<std::string> values;
    auto const collect = [](void* into, int columns, char** texts, char** /*names*/) {
        for (int column = 0; column < columns; ++column) {
            static_cast<std::vector<std::string>*>(into)->emplace_back(texts[column] ? texts[column]
                                                                                     : "NULL");
        }
        return 0;
    };
    sqlite3* database = nullptr;
    sqlite3_open(path.c_str(), &database);
    if (sqlite3_exec(database, statements.c_str(), collect, &values, nullptr) != SQLITE_OK) {
        values = {std::string("error: ") + sqlite3_errmsg(database)};
    }
    sqlite3_close(database);
    return values;
}

} // namespace testing_support
