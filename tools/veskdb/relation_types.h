/// The types of relations between payloads, as words of the command line.
#ifndef TOOLS_VESKDB_RELATION_TYPES_H
#define TOOLS_VESKDB_RELATION_TYPES_H

#include <array>
#include <cstdint>
#include <string>

namespace veskdb {

/// The index of each is its PdbDependencyType.
extern std::array<char const*, 8> const relationTypes;

/// @throws Refusal (kExitError) that names the types
int32_t relationTypeNamed(std::string const& name);

} // namespace veskdb

#endif
