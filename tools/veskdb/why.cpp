#include "tools/veskdb/why.h"

#include "libdolmvesk/payloaddb.h"
#include "tools/veskdb/listing.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/value_text.h"

#include <fmt/format.h>

namespace veskdb {

namespace {

/// The relations of a type that a payload declares or that others declare to it, with the identifier and state of the
/// other payload; null if that one is not on record.
std::vector<Row> relationsOf(RecordReader const& reader, std::string const& payloadID, int type)
{
    return reader.rows(
        "SELECT dependencies.PayloadID, PayloadIDb, other.PayloadID, other.installState FROM dependencies LEFT JOIN "
        "payloads AS other ON other.PayloadID = CASE dependencies.PayloadID WHEN ?1 THEN PayloadIDb ELSE "
        "dependencies.PayloadID END WHERE ?1 IN (dependencies.PayloadID, PayloadIDb) AND type = CAST(?2 AS INTEGER) "
        "ORDER BY 1, 2",
        {payloadID, std::to_string(type)});
}

void addRelations(Presenter& presenter, char const* section, std::vector<Row> const& relations)
{
    presenter.begin({section,
                     false,
                     {{"PayloadID", "PayloadID"},
                      {"PayloadIDb", "PayloadIDb"},
                      {"onRecord", "on record"},
                      {"installState", "installState", kindOf("installState")}}});
    for (Row const& row : relations) {
        presenter.add({row[0], row[1], !std::holds_alternative<Null>(row[2]), row[3]});
    }
}

/// The payloads on record that prevent another from being marked installed.
std::string blockersIn(std::vector<Row> const& conflicts)
{
    std::string names;
    for (Row const& row : conflicts) {
        std::string const name = fmt::format("'{}'", asText(row[2]));
        if (!std::holds_alternative<Null>(row[2]) && names.find(name) == std::string::npos) {
            names += (names.empty() ? "" : ", ") + name;
        }
    }
    return names;
}

} // namespace

int explainState(Options const& options)
{
    auto const reader =
        openToRead(options.database(), {"payloads", "dependencies", "upgraded_payloads", "payload_data"});
    requirePayload(*reader, options.id);
    std::vector<Row> const conflicts = relationsOf(*reader, options.id, kPdbConflicts);
    std::string const blockers = blockersIn(conflicts);

    Presenter presenter(options.json);
    presenter.begin({"payload",
                     true,
                     {{"PayloadID", "PayloadID"},
                      {"installState", "installState", kindOf("installState")},
                      {"installable", "can be marked installed"},
                      {"reason", "reason"}}});
    Value const state =
        reader->rows("SELECT installState FROM payloads WHERE PayloadID = ?1", {options.id})[0][0];
    presenter.add({options.id, state, blockers.empty(),
                   blockers.empty()
                       ? std::string("no payload in conflict with it is on record")
                       : fmt::format("in conflict with it and on record, in any state: {}", blockers)});
    addRelations(presenter, "conflicts", conflicts);
    addRelations(presenter, "upgrades", relationsOf(*reader, options.id, kPdbUpgrades));
    presenter.begin(
        {"upgraded_payloads",
         false,
         {{"payloadIDOriginal", "payloadIDOriginal"}, {"payloadIDUpgraded", "payloadIDUpgraded"}}});
    for (Row const& row :
         reader->rows("SELECT payloadIDOriginal, payloadIDUpgraded FROM upgraded_payloads WHERE ?1 "
                      "IN (payloadIDOriginal, payloadIDUpgraded) ORDER BY 1, 2",
                      {options.id})) {
        presenter.add(row);
    }
    presenter.begin({"removed_with_it",
                     false,
                     {{"PayloadID", "PayloadID"},
                      {"installState", "installState", kindOf("installState")},
                      {"relations", "relations"},
                      {"data", "data"}}});
    std::vector<std::string> removed = originalsUpgradedBy(*reader, options.id);
    removed.insert(removed.begin(), options.id);
    for (std::string const& each : removed) {
        presenter.add(
            reader->rows("SELECT PayloadID, installState, (SELECT count(*) FROM dependencies WHERE PayloadID "
                         "= ?1), (SELECT count(*) FROM payload_data WHERE PayloadID = ?1) FROM payloads "
                         "WHERE PayloadID = ?1",
                         {each})[0]);
    }
    presenter.print();
    return blockers.empty() ? kExitDone : kExitNotFound;
}

} // namespace veskdb
