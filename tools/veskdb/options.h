/// A command line that was read and checked. No file has been examined.
#ifndef TOOLS_VESKDB_OPTIONS_H
#define TOOLS_VESKDB_OPTIONS_H

#include "tools/veskdb/databases.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskdb {

/// The address of a value of a payload.
struct DataAddress
{
    int32_t domain;
    std::string key;
};

/// A relation that a payload declares.
struct Relation
{
    int32_t type; ///< a PdbDependencyType
    std::string other;
};

struct Options
{
    std::vector<Database const*> named; ///< the databases given
    std::string id;                     ///< of a payload or collection
    std::optional<int32_t> domain;      ///< of a setting
    std::vector<std::string> address;   ///< what follows the domain: subdomain, key
    std::string value;                  ///< of a setting or of a payload's data

    std::optional<std::string> root;
    bool json = false;
    std::optional<int32_t> state; ///< a PdbInstallState
    std::string family;
    std::string name;
    std::string version;
    std::string signature;
    bool replace = false;
    std::optional<DataAddress> data;
    std::vector<std::string> ids;   ///< of payloads to export
    std::vector<std::string> files; ///< to compare, or roots
    std::string text;               ///< to find
    std::string format = "dot";     ///< of a graph: dot, mermaid or svg
    std::optional<int32_t> depth;   ///< at most this many relations away from the payload
    bool yes = false;
    std::optional<std::string> to;        ///< absolute when a root is given
    std::optional<std::string> from;      ///< absolute when a root is given
    std::optional<std::string> file;      ///< absolute when a root is given
    std::optional<std::string> valueFrom; ///< where the value is read from, "-" for standard input
    std::vector<Relation> relations;      ///< to record, conflicts and upgrades included
    std::optional<std::string> other;     ///< the payload whose relation is to be removed

    Database const& database() const { return *named.front(); }
};

} // namespace veskdb

#endif
