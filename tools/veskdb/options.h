/// What a user asks of veskdb: its command line, checked. No file is looked at.
#ifndef TOOLS_VESKDB_OPTIONS_H
#define TOOLS_VESKDB_OPTIONS_H

#include "tools/veskdb/databases.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskdb {

enum class Command
{
    kListPayloads,
    kListCatalogue,
    kListSettings,
    kShowPayload,
    kShowCatalogue,
    kAddPayload,
    kSetPayload,
    kSetSetting,
    kRemovePayload,
    kRemoveSettings,
    kVerify,
    kBackup,
    kRestore,
    kInfo
};

/// A value of a payload, or a part of a setting's address.
struct PayloadValue
{
    int32_t domain;
    std::string key;
    std::string value;
};

struct Options
{
    Command command = Command::kInfo;
    std::vector<Database const*> named; ///< the databases given
    std::string payloadID;              ///< or the catalogue's identifier to show
    std::optional<int32_t> domain;      ///< of a setting
    std::vector<std::string> address;   ///< what follows the domain: subdomain, key, value

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

/// Reads and checks the command line. Prints the help when that is what was asked for.
///
/// @return the options; none when the help was printed
/// @throws Refusal (kExitError)
std::optional<Options> readOptions(int argc, char const* const* argv);

} // namespace veskdb

#endif
