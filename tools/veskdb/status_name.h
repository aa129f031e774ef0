/// The record library's statuses in words.
#ifndef TOOLS_VESKDB_STATUS_NAME_H
#define TOOLS_VESKDB_STATUS_NAME_H

#include <cstdint>
#include <string>

namespace veskdb {

/// @param reason  replaces the meaning; empty: no more is known than the status
/// @return name, number and meaning, such as "kVeskNotFound (8), it does not exist"; "status 99" for a number
///         that is not a status
std::string describeStatus(int32_t status, std::string const& reason = "");

} // namespace veskdb

#endif
