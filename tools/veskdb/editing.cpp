#include "tools/veskdb/editing.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "tools/veskdb/change.h"
#include "tools/veskdb/consent.h"
#include "tools/veskdb/input_text.h"
#include "tools/veskdb/listing.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/relation_types.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <fmt/format.h>

namespace veskdb {

namespace {

using WhenMissing = Change::WhenMissing;

std::string settingName(Options const& options, std::string const& key)
{
    return fmt::format("setting {} '{}' '{}'", *options.domain, options.address[0], key);
}

std::string dataName(Options const& options)
{
    return fmt::format("payload '{}', data {} '{}'", options.id, options.data->domain, options.data->key);
}

void addRelations(Change& change, Options const& options)
{
    for (Relation const& relation : options.relations) {
        change.require(
            pdbAddPayloadDependency(change.get(), options.id.c_str(), relation.type, relation.other.c_str()),
            fmt::format("payload '{}', {} '{}'", options.id,
                        relationTypes[static_cast<std::size_t>(relation.type)], relation.other));
    }
}

int removeWhole(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.id);
    std::string question = fmt::format("Remove {}", what);
    {
        auto const reader = openToRead(options.database(), {"payloads", "upgraded_payloads"});
        requirePayload(*reader, options.id);
        auto const originals = originalsUpgradedBy(*reader, options.id);
        if (!originals.empty()) {
            question += fmt::format(" and, with it, what it has upgraded: '{}'",
                                    escaped(fmt::format("{}", fmt::join(originals, "', '"))));
        }
    }
    requireConsent(question + '?', options.yes);
    Change change(options.database(), WhenMissing::kRefuse);
    int32_t state = {};
    change.require(pdbGetInstallState(change.get(), options.id.c_str(), &state), what);
    change.require(pdbRemovePayload(change.get(), options.id.c_str()), what);
    change.commit();
    return kExitDone;
}

/// The payload itself need not be on record: its data may be all that is left of it.
int removeData(Options const& options)
{
    std::string const what = dataName(options);
    {
        auto const reader = openToRead(options.database(), {"payload_data"});
        if (reader
                ->rows("SELECT 1 FROM payload_data WHERE PayloadID = ?1 AND domain = ?2 AND key = ?3",
                       {options.id, std::to_string(options.data->domain), options.data->key})
                .empty()) {
            throw Refusal(kExitNotFound, fmt::format("{}: {}", what, describeStatus(kVeskNotFound)));
        }
    }
    requireConsent(fmt::format("Remove {}?", what), options.yes);
    Change change(options.database(), WhenMissing::kRefuse);
    change.require(pdbRemovePayloadData(change.get(), options.id.c_str(), options.data->domain,
                                        options.data->key.c_str()),
                   what);
    change.commit();
    return kExitDone;
}

/// As for data, the payload itself need not be on record.
int removeRelation(Options const& options)
{
    std::string what = fmt::format("payload '{}', its relation to '{}'", options.id, *options.other);
    std::vector<Row> types;
    {
        auto const reader = openToRead(options.database(), {"dependencies"});
        types = reader->rows("SELECT type FROM dependencies WHERE PayloadID = ?1 AND PayloadIDb = ?2",
                             {options.id, *options.other});
    }
    auto const* const type = types.empty() ? nullptr : std::get_if<int64_t>(&types[0][0]);
    if (type == nullptr) {
        throw Refusal(kExitNotFound, fmt::format("{}: {}", what, describeStatus(kVeskNotFound)));
    }
    bool const named = *type >= 0 && *type < static_cast<int64_t>(relationTypes.size());
    what +=
        fmt::format(" ({})", named ? relationTypes[static_cast<std::size_t>(*type)] : std::to_string(*type));
    requireConsent(fmt::format("Remove {}?", what), options.yes);
    Change change(options.database(), WhenMissing::kRefuse);
    change.require(pdbRemovePayloadDependency(change.get(), options.id.c_str(), static_cast<int32_t>(*type),
                                              options.other->c_str()),
                   what);
    change.commit();
    return kExitDone;
}

/// A value of any size, byte for byte.
std::string readValueFrom(std::string const& path)
{
    std::string value = readInput(path);
    if (value.find('\0') != std::string::npos) {
        throw Refusal(kExitError,
                      fmt::format("--value-from {}: it holds a NUL byte, at which a value ends; give it "
                                  "in another form",
                                  nameOfInput(path)));
    }
    return value;
}

} // namespace

std::string conflictsOnRecord(Change const& change, std::string const& payloadID)
{
    std::string names;
    for (auto* const read : {pdbGetPayloadDependency, pdbGetPayloadDependencyReverse}) {
        char const** others = nullptr;
        if (read(change.get(), payloadID.c_str(), kPdbConflicts, &others) != kVeskOK) {
            continue;
        }
        for (; *others != nullptr; ++others) {
            int32_t state = {};
            std::string const quoted = fmt::format("'{}'", escaped(*others));
            if (pdbGetInstallState(change.get(), *others, &state) == kVeskOK &&
                names.find(quoted) == std::string::npos) {
                names += (names.empty() ? "" : ", ") + quoted;
            }
        }
    }
    return fmt::format(": it is in conflict with {}", names);
}

int addPayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.id);
    Change change(options.database(), WhenMissing::kCreate);
    PdbPayloadInfo existing = {};
    int32_t const found = pdbGetPayload(change.get(), options.id.c_str(), &existing);
    if (found == kVeskOK && !options.replace) {
        throw Refusal(kExitError, fmt::format("{} is on record already; give --replace to replace it, which "
                                              "marks it not installed",
                                              what));
    }
    if (found != kVeskNotFound) {
        change.require(found, what);
    }
    change.require(pdbAddPayload(change.get(), options.id.c_str(), options.family.c_str(),
                                 options.name.c_str(), options.version.c_str(), options.signature.c_str(),
                                 nullptr, nullptr),
                   what);
    addRelations(change, options);
    change.commit();
    return kExitDone;
}

int setPayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.id);
    char const* const payloadID = options.id.c_str();
    std::string const value = options.valueFrom ? readValueFrom(*options.valueFrom) : options.value;
    Change change(options.database(), WhenMissing::kRefuse);
    int32_t state = {};
    change.require(pdbGetInstallState(change.get(), payloadID, &state), what);
    addRelations(change, options);
    if (options.data) {
        change.require(pdbSetPayloadData(change.get(), payloadID, options.data->domain,
                                         options.data->key.c_str(), value.c_str()),
                       dataName(options));
    }
    if (options.state) {
        int32_t const marked = pdbSetInstallState(change.get(), payloadID, *options.state);
        change.require(marked,
                       fmt::format("{} cannot be marked{}", what,
                                   marked == kVeskConflict ? conflictsOnRecord(change, options.id) : ""));
    }
    change.commit();
    return kExitDone;
}

int setSetting(Options const& options)
{
    std::vector<std::string> const& address = options.address;
    std::string const value = options.valueFrom ? readValueFrom(*options.valueFrom) : options.value;
    Change change(options.database(), WhenMissing::kCreate);
    change.require(pcdSetDomainData(change.get(), *options.domain, address[0].c_str(), address[1].c_str(),
                                    value.c_str()),
                   settingName(options, address[1]));
    change.commit();
    return kExitDone;
}

int removePayload(Options const& options)
{
    requireNotLost(options.database());
    return options.data    ? removeData(options)
           : options.other ? removeRelation(options)
                           : removeWhole(options);
}

int removeSettings(Options const& options)
{
    char const* const subdomain = options.address[0].c_str();
    bool const one = options.address.size() == 2;
    std::string const what = settingName(options, one ? options.address[1] : "*");
    if (!one) {
        requireConsent(fmt::format("Remove every key of domain {}, subdomain '{}'?", *options.domain,
                                   options.address[0]),
                       options.yes);
    }
    Change change(options.database(), WhenMissing::kRefuse);
    char const** keys = nullptr;
    change.require(pcdGetDomainDataKeys(change.get(), *options.domain, subdomain, &keys), what);
    bool found = false;
    for (; *keys != nullptr; ++keys) {
        if (!one || *keys == options.address[1]) {
            found = true;
            change.require(pcdRemoveDomainData(change.get(), *options.domain, subdomain, *keys), what);
        }
    }
    change.require(found ? kVeskOK : kVeskNotFound, what);
    if (!one && pcdGetDomainDataKeys(change.get(), *options.domain, subdomain, &keys) != kVeskNotFound) {
        throw Refusal(kExitError,
                      fmt::format("{}: a key that is no text cannot be named, and stays; nothing was "
                                  "changed",
                                  what));
    }
    change.commit();
    return kExitDone;
}

} // namespace veskdb
