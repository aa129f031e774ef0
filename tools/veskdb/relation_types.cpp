#include "tools/veskdb/relation_types.h"

#include "tools/veskdb/refusal.h"

#include <algorithm>
#include <fmt/format.h>

namespace veskdb {

std::array<char const*, 8> const relationTypes = {"conflicts", "upgrades",    "requires",   "required",
                                                  "critical",  "recommended", "load-patch", "load-lang-pack"};

int32_t relationTypeNamed(std::string const& name)
{
    auto const* const found = std::find(relationTypes.begin(), relationTypes.end(), name);
    if (found == relationTypes.end()) {
        throw Refusal(kExitError, fmt::format("the type of relation '{}' is unknown; give {}", name,
                                              fmt::join(relationTypes, ", ")));
    }
    return static_cast<int32_t>(found - relationTypes.begin());
}

} // namespace veskdb
