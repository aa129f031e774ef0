/// Reads a database file with SQLite itself, without the product.
#ifndef TESTS_SUPPORT_DATABASE_FILE_H
#define TESTS_SUPPORT_DATABASE_FILE_H

#include <string>
#include <vector>

namespace testing_support {

/// Runs statements on a file, which is created if it is missing, on a connection of its own that does not wait for
/// locks.
///
/// @return all values of all rows, an SQL NULL as "NULL"; after a failure one text, "error: " and SQLite's message
std::vector<std::string> sql(std::string const& path, std::string const& statements);

} // namespace testing_support

#endif
