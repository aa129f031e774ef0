/// A second, independent look at a database file: SQLite itself, with nothing of the product between.
#ifndef TESTS_SUPPORT_DATABASE_FILE_H
#define TESTS_SUPPORT_DATABASE_FILE_H

#include <string>
#include <vector>

namespace testing_support {

/// Runs statements on a file, which is created when missing, on a connection of its own that does not wait for
/// locks. All values of all rows come back, an SQL NULL as "NULL"; a failure as one text, "error: " and
/// SQLite's message.
std::vector<std::string> sql(std::string const& path, std::string const& statements);

} // namespace testing_support

#endif
