#include "tools/veskdb/sqlite_values.h"

#include "tools/veskdb/value_text.h"

#include <sqlite3.h>
#include <string_view>

namespace veskdb {

void readValue(sqlite3_stmt* statement, int column, Value& value)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        value = int64_t{sqlite3_column_int64(statement, column)};
        return;
    case SQLITE_FLOAT:
        value = sqlite3_column_double(statement, column);
        return;
    case SQLITE_NULL:
        value = nullptr;
        return;
    case SQLITE_BLOB: {
        auto const* const bytes = static_cast<char const*>(sqlite3_column_blob(statement, column));
        auto const size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
        value = Blob{std::string(bytes != nullptr ? bytes : "", bytes != nullptr ? size : 0)};
        return;
    }
    default:
        auto const* const bytes = reinterpret_cast<char const*>(sqlite3_column_text(statement, column));
        auto const size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
        std::string_view const text(bytes != nullptr ? bytes : "", bytes != nullptr ? size : 0);
        if (auto* const held = std::get_if<std::string>(&value)) {
            *held = text; // reuses the memory of the previous row
        } else {
            value = std::string(text);
        }
    }
}

int bindValue(sqlite3_stmt* statement, int index, Value const& value)
{
    if (auto const* const number = std::get_if<int64_t>(&value)) {
        return sqlite3_bind_int64(statement, index, *number);
    }
    if (auto const* const number = std::get_if<double>(&value)) {
        return sqlite3_bind_double(statement, index, *number);
    }
    auto const* const bytes = bytesIn(value);
    if (bytes == nullptr) {
        return sqlite3_bind_null(statement, index);
    }
    auto const size = static_cast<sqlite3_uint64>(bytes->size());
    return std::holds_alternative<Blob>(value)
               ? sqlite3_bind_blob64(statement, index, bytes->data(), size, SQLITE_STATIC)
               : sqlite3_bind_text64(statement, index, bytes->data(), size, SQLITE_STATIC, SQLITE_UTF8);
}

} // namespace veskdb
