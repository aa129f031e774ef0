/// What a user asks of veskdb: a command line that was read and checked. No file has been looked at.
#ifndef TOOLS_VESKDB_OPTIONS_H
#define TOOLS_VESKDB_OPTIONS_H

#include "tools/veskdb/databases.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskdb {

/// A value of a payload.
struct PayloadValue
{
    int32_t domain;
    std::string key;
    std::string value;
};

struct Options
{
    std::vector<Database const*> named; ///< the databases given
    std::string id;                     ///< of a payload or collection
    std::optional<int32_t> domain;      ///< of a setting
    std::vector<std::string> address;   ///< what follows the domain: subdomain, key
    std::string value;                  ///< of a setting

    std::optional<std::string> root;
    bool json = false;
    std::optional<int32_t> state; ///< a PdbInstallState
    std::string family;
    std::string name;
    std::string version;
    std::string signature;
    std::vector<std::string> conflicts;
    std::vector<std::string> upgrades;
    bool replace = false;
    std::optional<PayloadValue> data;
    bool yes = false;
    std::optional<std::string> to;   ///< absolute when a root is given
    std::optional<std::string> from; ///< absolute when a root is given

    Database const& database() const { return *named.front(); }
};

} // namespace veskdb

#endif
