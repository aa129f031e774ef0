#include "tools/veskdb/transfer.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "tools/common/utf8.h"
#include "tools/veskdb/change.h"
#include "tools/veskdb/editing.h"
#include "tools/veskdb/input_text.h"
#include "tools/veskdb/json_text.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace veskdb {

namespace {

using Json = nlohmann::json;

// Export

/// Appends the values of one record to a line.
class RecordWriter
{
public:
    /// @param kind  of the record, for messages
    /// @param name  of the record, for messages; must outlive this object
    RecordWriter(std::string& line, char const* kind, Value const& name)
        : output(line), recordKind(kind), recordName(name)
    {
    }

    /// Appends a text; bytes that are not UTF-8 as {"hex":"FF"}. Refuses what the record library's functions could not
    /// write.
    ///
    /// @param before  to be appended first
    /// @param column  for messages
    void text(char const* before, Value const& value, char const* column)
    {
        output += before;
        if (std::holds_alternative<Null>(value)) {
            refuse(column, "null");
        }
        auto const* const bytes = bytesIn(value);
        if (bytes != nullptr && appendPlain(output, *bytes)) {
            return;
        }
        std::string const held = asText(value);
        if (held.find('\0') != std::string::npos) {
            refuse(column, "a value with a NUL byte");
        }
        output += common::isUTF8(held) ? jsonText(held) : "{\"hex\":\"" + hexOf(held) + "\"}";
    }

    /// Appends a 32-bit number; a text column has its digits.
    void number(char const* before, Value const& value, char const* column)
    {
        auto const* const held = std::get_if<int64_t>(&value);
        std::string const digits = held != nullptr ? std::to_string(*held) : asText(value);
        int32_t read = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), read);
        if (std::to_string(read) != digits) {
            refuse(column, fmt::format("'{}', no 32-bit number", escaped(digits)));
        }
        output += before;
        output += digits;
    }

private:
    [[noreturn]] void refuse(char const* column, std::string const& what) const
    {
        throw Refusal(kExitError, fmt::format("{} '{}': its {} is {}, which import could not write",
                                              recordKind, textOf(recordName), column, what));
    }

    std::string& output;
    char const* const recordKind;
    Value const& recordName;
};

/// The rows of a table, sorted by the payload that they belong to.
class RowsOfPayloads
{
public:
    explicit RowsOfPayloads(Cursor rows) : cursor(std::move(rows)), hasRow(cursor.next()) {}

    /// Calls a body with each row whose first column is the payload's identifier. Call it with sorted identifiers. Rows
    /// of payloads that are not on record are left out.
    template<class Body>
    void forEach(std::string const& payloadID, Body body)
    {
        for (; hasRow; hasRow = cursor.next()) {
            std::string const* const owner = bytesIn(cursor.row()[0]);
            int const order = owner != nullptr ? owner->compare(payloadID) : -1;
            if (order > 0) {
                return;
            }
            if (order == 0) {
                body(cursor.row());
            }
        }
    }

private:
    Cursor cursor;
    bool hasRow;
};

/// Appends a list to a line; a body appends each entry.
template<class Body>
void appendList(std::string& line, char const* name, RowsOfPayloads& rows, std::string const& payloadID,
                Body body)
{
    line += name;
    line += '[';
    char const* separator = "";
    rows.forEach(payloadID, [&](Row const& row) {
        line += separator;
        separator = ",";
        body(row);
    });
    line += ']';
}

/// Writes the payloads that a condition selects.
///
/// @param parameters  of the condition
/// @return how many there are
std::size_t appendPayloads(RecordReader const& reader, std::string const& condition,
                           std::vector<std::string> const& parameters, std::string& output)
{
    auto const rowsOf = [&](char const* columns, char const* table, char const* owner, char const* order) {
        return reader.query(fmt::format("SELECT {} FROM {} {} ORDER BY {}, {}", columns, table,
                                        condition.empty() ? "" : fmt::format("WHERE {} {}", owner, condition),
                                        owner, order),
                            parameters);
    };
    Cursor payloads = rowsOf("PayloadID, productFamily, productName, version, signature, installState",
                             "payloads", "PayloadID", "PayloadID");
    RowsOfPayloads relations(
        rowsOf("PayloadID, PayloadIDb, type", "dependencies", "PayloadID", "PayloadIDb"));
    RowsOfPayloads data(rowsOf("PayloadID, domain, key, value", "payload_data", "PayloadID", "domain, key"));
    RowsOfPayloads upgrades(rowsOf("payloadIDUpgraded, payloadIDOriginal", "upgraded_payloads",
                                   "payloadIDUpgraded", "payloadIDOriginal"));
    std::size_t number = 0;
    for (; payloads.next(); ++number) {
        Row const& row = payloads.row();
        std::string const id = asText(row[0]);
        RecordWriter writer(output, "payload", row[0]);
        writer.text("{\"PayloadID\":", row[0], "PayloadID");
        writer.text(",\"productFamily\":", row[1], "productFamily");
        writer.text(",\"productName\":", row[2], "productName");
        writer.text(",\"version\":", row[3], "version");
        writer.text(",\"signature\":", row[4], "signature");
        writer.number(",\"installState\":", row[5], "installState");
        appendList(output, ",\"dependencies\":", relations, id, [&](Row const& relation) {
            writer.text("{\"PayloadIDb\":", relation[1], "PayloadIDb");
            writer.number(",\"type\":", relation[2], "type");
            output += '}';
        });
        appendList(output, ",\"payload_data\":", data, id, [&](Row const& value) {
            writer.number("{\"domain\":", value[1], "domain");
            writer.text(",\"key\":", value[2], "key");
            writer.text(",\"value\":", value[3], "value");
            output += '}';
        });
        appendList(output, ",\"upgraded_payloads\":", upgrades, id,
                   [&](Row const& upgrade) { writer.text("", upgrade[1], "payloadIDOriginal"); });
        output += "}\n";
    }
    return number;
}

// Import

/// One line of an input. Refusals name its number.
class Line
{
public:
    Line(std::string const& inputName, std::size_t lineNumber, std::string const& text)
        : input(inputName), number(lineNumber), object(Json::parse(text, nullptr, false))
    {
        if (!object.is_object()) {
            refuse("it is no JSON object");
        }
    }

    [[noreturn]] void refuse(std::string const& what) const
    {
        throw Refusal(kExitError, fmt::format("{}, line {}: {}; nothing was changed", input, number, what));
    }

    /// Refuses members of other names.
    void requireOnly(Json const& record, std::set<std::string> const& names) const
    {
        if (!record.is_object()) {
            refuse("a list holds something other than objects");
        }
        for (auto const& member : record.items()) {
            if (names.count(member.key()) == 0) {
                refuse(
                    fmt::format("\"{}\" is unknown; give {}", escaped(member.key()), fmt::join(names, ", ")));
            }
        }
    }

    std::string textIn(Json const& record, char const* name) const
    {
        return text(member(record, name), name);
    }

    std::string text(Json const& value, char const* name) const
    {
        std::string result;
        if (value.is_string()) {
            result = value.get<std::string>();
        } else if (value.is_object() && value.size() == 1 && value.contains("hex") &&
                   value["hex"].is_string()) {
            result = bytesOf(value["hex"].get<std::string>(), name);
        } else {
            refuse(fmt::format("\"{}\" is {}; give a text, or an object with \"hex\"", name,
                               value.is_null() ? "null" : "no text"));
        }
        if (result.find('\0') != std::string::npos) {
            refuse(fmt::format("\"{}\" holds a NUL byte, at which a text ends", name));
        }
        return result;
    }

    int32_t numberIn(Json const& record, char const* name) const
    {
        Json const& value = member(record, name);
        if (!value.is_number_integer() || value.get<int64_t>() < INT32_MIN ||
            value.get<int64_t>() > INT32_MAX) {
            refuse(fmt::format("\"{}\" is {}; give a 32-bit number", name,
                               value.is_null() ? "null" : "no such number"));
        }
        return value.get<int32_t>();
    }

    Json const& listIn(char const* name) const
    {
        Json const& value = member(object, name);
        if (!value.is_array()) {
            refuse(fmt::format("\"{}\" is no list", name));
        }
        return value;
    }

    Json const& record() const { return object; }

private:
    Json const& member(Json const& record, char const* name) const
    {
        auto const found = record.find(name);
        if (found == record.end()) {
            refuse(fmt::format("\"{}\" is missing", name));
        }
        return *found;
    }

    std::string bytesOf(std::string const& digits, char const* name) const
    {
        std::string bytes;
        for (std::size_t at = 0; at < digits.size(); at += 2) {
            unsigned int byte = 0;
            auto const read = std::from_chars(digits.data() + at,
                                              digits.data() + std::min(at + 2, digits.size()), byte, 16);
            if (read.ptr != digits.data() + at + 2) {
                refuse(fmt::format("\"hex\" of \"{}\" is not two hexadecimal digits for each byte", name));
            }
            bytes += static_cast<char>(byte);
        }
        return bytes;
    }

    std::string const& input;
    std::size_t number;
    Json object;
};

std::vector<Line> readLines(std::string const& path, std::string const& name)
{
    std::vector<Line> lines;
    std::string const text = readInput(path);
    std::size_t number = 1;
    for (std::size_t begin = 0; begin < text.size(); ++number) {
        std::size_t const end = std::min(text.find('\n', begin), text.size());
        if (end > begin) {
            lines.emplace_back(name, number, text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return lines;
}

struct ImportedRelation
{
    int32_t type;
    std::string other;
};

struct ImportedData
{
    int32_t domain;
    std::string key;
    std::string value;
};

struct Payload
{
    Line const* line;
    std::string what; ///< for messages
    std::string id;
    std::string family;
    std::string name;
    std::string version;
    std::string signature;
    int32_t state;
    std::vector<ImportedRelation> relations;
    std::vector<ImportedData> data;
    std::vector<std::string> originals; ///< that it has upgraded
};

Payload payloadOf(Line const& line)
{
    Json const& record = line.record();
    line.requireOnly(record, {"PayloadID", "productFamily", "productName", "version", "signature",
                              "installState", "dependencies", "payload_data", "upgraded_payloads"});
    Payload payload = {&line,
                       "",
                       line.textIn(record, "PayloadID"),
                       line.textIn(record, "productFamily"),
                       line.textIn(record, "productName"),
                       line.textIn(record, "version"),
                       line.textIn(record, "signature"),
                       line.numberIn(record, "installState"),
                       {},
                       {},
                       {}};
    if (payload.id.empty()) {
        line.refuse("a payload's identifier cannot be empty");
    }
    payload.what = fmt::format("payload '{}'", escaped(payload.id));
    for (Json const& relation : line.listIn("dependencies")) {
        line.requireOnly(relation, {"PayloadIDb", "type"});
        payload.relations.push_back({line.numberIn(relation, "type"), line.textIn(relation, "PayloadIDb")});
    }
    for (Json const& value : line.listIn("payload_data")) {
        line.requireOnly(value, {"domain", "key", "value"});
        payload.data.push_back(
            {line.numberIn(value, "domain"), line.textIn(value, "key"), line.textIn(value, "value")});
    }
    for (Json const& original : line.listIn("upgraded_payloads")) {
        payload.originals.push_back(line.text(original, "upgraded_payloads"));
    }
    return payload;
}

struct Setting
{
    Line const* line;
    std::string what; ///< for messages
    int32_t domain;
    std::string subdomain;
    std::string key;
    std::string value;
};

Setting settingOf(Line const& line)
{
    Json const& record = line.record();
    line.requireOnly(record, {"domain", "subDomain", "key", "value"});
    Setting setting = {&line,
                       "",
                       line.numberIn(record, "domain"),
                       line.textIn(record, "subDomain"),
                       line.textIn(record, "key"),
                       line.textIn(record, "value")};
    setting.what =
        fmt::format("setting {} '{}' '{}'", setting.domain, escaped(setting.subdomain), escaped(setting.key));
    return setting;
}

/// Removes what a payload on record has declared and stored.
void clear(Change& change, Payload const& payload)
{
    char const* const id = payload.id.c_str();
    VeskiDataStore& store = *change.get()->store;
    char const** list = nullptr;
    int32_t listed = store.queryList(&list, "SELECT type FROM dependencies WHERE PayloadID = '%q'", id);
    for (; listed == kVeskOK && *list != nullptr; ++list) {
        change.require(pdbRemovePayloadDependency(change.get(), id, veskiDecimalNumber(*list), nullptr),
                       payload.what);
    }
    listed = store.queryList(&list, "SELECT domain, key FROM payload_data WHERE PayloadID = '%q'", id);
    for (; listed == kVeskOK && *list != nullptr; list += 2) {
        change.require(pdbRemovePayloadData(change.get(), id, veskiDecimalNumber(list[0]), list[1]),
                       payload.what);
    }
    change.require(pdbRemoveUpgradePayloads(change.get(), id), payload.what);
}

void addRelationsAndData(Change& change, Payload const& payload)
{
    char const* const id = payload.id.c_str();
    for (ImportedRelation const& relation : payload.relations) {
        change.require(pdbAddPayloadDependency(change.get(), id, relation.type, relation.other.c_str()),
                       payload.what + ", dependencies");
    }
    for (ImportedData const& data : payload.data) {
        change.require(pdbSetPayloadData(change.get(), id, data.domain, data.key.c_str(), data.value.c_str()),
                       payload.what + ", payload_data");
    }
    for (std::string const& original : payload.originals) {
        change.require(pdbAddUpgradedPayloads(change.get(), original.c_str(), id),
                       payload.what + ", upgraded_payloads");
    }
}

} // namespace

int exportPayloads(Options const& options)
{
    auto const reader =
        openToRead(options.database(), {"payloads", "dependencies", "payload_data", "upgraded_payloads"});
    std::string output;
    for (std::string const& id : std::set<std::string>(options.ids.begin(), options.ids.end())) {
        if (appendPayloads(*reader, "= ?1", {id}, output) == 0) {
            throw Refusal(kExitNotFound, fmt::format("payload '{}': {}", id, describeStatus(kVeskNotFound)));
        }
    }
    if (options.ids.empty()) {
        appendPayloads(*reader, "", {}, output);
    }
    print(output);
    return kExitDone;
}

int exportSettings(Options const& options)
{
    auto const reader = openToRead(options.database(), {"domain_data"});
    std::string output;
    Cursor settings =
        reader->query("SELECT domain, subDomain, key, value FROM domain_data ORDER BY CAST(domain AS "
                      "INTEGER), subDomain, key");
    while (settings.next()) {
        Row const& row = settings.row();
        Value const name = std::string(textOf(row[0]) + "' '" + textOf(row[1]) + "' '" + textOf(row[2]));
        RecordWriter writer(output, "setting", name);
        writer.number("{\"domain\":", row[0], "domain");
        writer.text(",\"subDomain\":", row[1], "subDomain");
        writer.text(",\"key\":", row[2], "key");
        writer.text(",\"value\":", row[3], "value");
        output += "}\n";
    }
    print(output);
    return kExitDone;
}

int importPayloads(Options const& options)
{
    std::string const input = options.file.value_or("-");
    std::string const name = nameOfInput(input);
    std::vector<Line> const lines = readLines(input, name);
    std::vector<Payload> payloads;
    std::set<std::string> known;
    for (Line const& line : lines) {
        payloads.push_back(payloadOf(line));
        if (!known.insert(payloads.back().id).second) {
            line.refuse(payloads.back().what + " has a line already");
        }
    }
    Change change(options.database(), Change::WhenMissing::kCreate);
    for (Payload const& payload : payloads) {
        int32_t state = {};
        int32_t const found = pdbGetInstallState(change.get(), payload.id.c_str(), &state);
        if (found == kVeskOK && !options.replace) {
            payload.line->refuse(payload.what +
                                 " is on record already; give --replace to replace it as a whole");
        }
        if (found != kVeskNotFound) {
            change.require(found, payload.what);
            clear(change, payload);
        }
    }
    // States come before relations: a payload that was installed before a conflict was declared stays installed.
    for (Payload const& each : payloads) {
        change.require(pdbAddPayload(change.get(), each.id.c_str(), each.family.c_str(), each.name.c_str(),
                                     each.version.c_str(), each.signature.c_str(), nullptr, nullptr),
                       each.what);
        if (each.state != kPdbNotInstalled) {
            int32_t const marked = pdbSetInstallState(change.get(), each.id.c_str(), each.state);
            change.require(marked,
                           fmt::format("{}, installState {}{}", each.what, each.state,
                                       marked == kVeskConflict ? conflictsOnRecord(change, each.id) : ""));
        }
    }
    for (Payload const& payload : payloads) {
        addRelationsAndData(change, payload);
    }
    change.commit();
    return kExitDone;
}

int importSettings(Options const& options)
{
    std::string const input = options.file.value_or("-");
    std::string const name = nameOfInput(input);
    std::vector<Line> const lines = readLines(input, name);
    std::vector<Setting> settings;
    settings.reserve(lines.size());
    for (Line const& line : lines) {
        settings.push_back(settingOf(line));
    }
    Change change(options.database(), Change::WhenMissing::kCreate);
    for (Setting const& each : settings) {
        char const* before = nullptr;
        int32_t const found =
            pcdGetDomainData(change.get(), each.domain, each.subdomain.c_str(), each.key.c_str(), &before);
        if (found == kVeskOK && !options.replace) {
            each.line->refuse(each.what + " is on record already; give --replace to replace it");
        }
        if (found != kVeskNotFound) {
            change.require(found, each.what);
        }
        change.require(pcdSetDomainData(change.get(), each.domain, each.subdomain.c_str(), each.key.c_str(),
                                        each.value.c_str()),
                       each.what);
    }
    change.commit();
    return kExitDone;
}

} // namespace veskdb
