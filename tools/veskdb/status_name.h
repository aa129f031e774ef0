/// The record library's statuses, for people.
#ifndef TOOLS_VESKDB_STATUS_NAME_H
#define TOOLS_VESKDB_STATUS_NAME_H

#include <cstdint>
#include <string>

namespace veskdb {

/// @return name, number and meaning, such as "kVeskNotFound (8), it does not exist"; "status 99" for a number
///         that is no status
/// @param reason  what is known of the cause, in place of the meaning; empty: nothing
std::string describeStatus(int32_t status, std::string const& reason = "");

} // namespace veskdb

#endif
