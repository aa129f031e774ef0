#include "tools/veskdb/editing.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "tools/veskdb/change.h"
#include "tools/veskdb/consent.h"
#include "tools/veskdb/listing.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <fmt/format.h>

namespace veskdb {

namespace {

using WhenMissing = Change::WhenMissing;

std::vector<char const*> listOf(std::vector<std::string> const& texts)
{
    std::vector<char const*> list;
    list.reserve(texts.size() + 1);
    for (std::string const& text : texts) {
        list.push_back(text.c_str());
    }
    list.push_back(nullptr);
    return list;
}

std::string settingName(Options const& options, std::string const& key)
{
    return fmt::format("setting {} '{}' '{}'", *options.domain, options.address[0], key);
}

} // namespace

int addPayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.id);
    for (std::string const& other : options.upgrades) {
        if (std::count(options.conflicts.begin(), options.conflicts.end(), other) > 0) {
            throw Refusal(kExitError,
                          fmt::format("payload '{}' can be in conflict or be upgraded, not both", other));
        }
    }
    Change change(options.database(), WhenMissing::kCreate);
    PdbPayloadInfo existing = {};
    int32_t const found = pdbGetPayload(change.get(), options.id.c_str(), &existing);
    if (found == kVeskOK && !options.replace) {
        throw Refusal(kExitError, fmt::format("{} is on record already; give --replace to replace it, which "
                                              "marks it not installed",
                                              what));
    }
    if (found != kVeskOK && found != kVeskNotFound) {
        change.require(found, what);
    }
    change.require(pdbAddPayload(change.get(), options.id.c_str(), options.family.c_str(),
                                 options.name.c_str(), options.version.c_str(), options.signature.c_str(),
                                 listOf(options.conflicts).data(), listOf(options.upgrades).data()),
                   what);
    change.commit();
    return kExitDone;
}

int setPayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.id);
    char const* const payloadID = options.id.c_str();
    Change change(options.database(), WhenMissing::kRefuse);
    int32_t state = 0;
    change.require(pdbGetInstallState(change.get(), payloadID, &state), what);
    if (options.data) {
        change.require(pdbSetPayloadData(change.get(), payloadID, options.data->domain,
                                         options.data->key.c_str(), options.data->value.c_str()),
                       fmt::format("{}, data {} '{}'", what, options.data->domain, options.data->key));
    }
    if (options.state) {
        change.require(pdbSetInstallState(change.get(), payloadID, *options.state),
                       fmt::format("{} cannot be marked", what));
    }
    change.commit();
    return kExitDone;
}

int setSetting(Options const& options)
{
    std::vector<std::string> const& address = options.address;
    Change change(options.database(), WhenMissing::kCreate);
    change.require(pcdSetDomainData(change.get(), *options.domain, address[0].c_str(), address[1].c_str(),
                                    options.value.c_str()),
                   settingName(options, address[1]));
    change.commit();
    return kExitDone;
}

int removePayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.id);
    std::string question = fmt::format("Remove {}", what);
    {
        RecordReader const reader = openToRead(options.database());
        requirePayload(reader, options.id);
        auto const originals = originalsUpgradedBy(reader, options.id);
        if (!originals.empty()) {
            question += fmt::format(" and, with it, what it has upgraded: '{}'",
                                    escaped(fmt::format("{}", fmt::join(originals, "', '"))));
        }
    }
    requireConsent(question + '?', options.yes);
    Change change(options.database(), WhenMissing::kRefuse);
    int32_t state = 0;
    change.require(pdbGetInstallState(change.get(), options.id.c_str(), &state), what);
    change.require(pdbRemovePayload(change.get(), options.id.c_str()), what);
    change.commit();
    return kExitDone;
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
