#include "tools/veskdb/present.h"

#include "tools/common/descriptor_output.h"
#include "tools/common/utf8.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <unistd.h>

namespace veskdb {

namespace {

using Json = nlohmann::ordered_json;
using Line = std::vector<std::string>;

Line textsOf(Section const& section, Row const& row)
{
    Line texts;
    for (std::size_t each = 0; each < row.size(); ++each) {
        Column const& column = section.columns[each];
        if (!column.heading.empty()) {
            texts.push_back(textOf(row[each], column.kind));
        }
    }
    return texts;
}

Line headingsOf(Section const& section)
{
    Line headings;
    for (Column const& column : section.columns) {
        if (!column.heading.empty()) {
            headings.push_back(column.heading);
        }
    }
    return headings;
}

/// The section's lines for people: a line per record, or for a single record a line per column.
std::vector<Line> linesOf(Section const& section)
{
    std::vector<Line> lines;
    for (Row const& row : section.rows) {
        lines.push_back(textsOf(section, row));
    }
    if (!section.single || lines.empty()) {
        return lines;
    }
    std::vector<Line> columns;
    Line const headings = headingsOf(section);
    for (std::size_t each = 0; each < headings.size(); ++each) {
        columns.push_back({headings[each], lines[0][each]});
    }
    return columns;
}

/// How many columns of a terminal a text takes, taking it for UTF-8.
std::size_t widthOf(std::string const& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char each) { return (each & 0xC0) != 0x80; }));
}

std::string table(Section const& section)
{
    std::vector<Line> lines = linesOf(section);
    if (lines.empty()) {
        return "";
    }
    if (section.single) {
        lines.erase(
            std::remove_if(lines.begin(), lines.end(), [](Line const& line) { return line[1] == "\\N"; }),
            lines.end());
    } else {
        lines.insert(lines.begin(), headingsOf(section));
    }
    std::vector<std::size_t> widths(lines[0].size(), 0);
    for (Line const& line : lines) {
        for (std::size_t each = 0; each < line.size(); ++each) {
            widths[each] = std::max(widths[each], widthOf(line[each]));
        }
    }
    std::string const indent = section.name.empty() ? "" : "  ";
    std::string result = section.name.empty() ? "" : section.name + '\n';
    for (Line const& line : lines) {
        std::string padded = indent;
        for (std::size_t each = 0; each < line.size(); ++each) {
            padded += line[each] + std::string(widths[each] - widthOf(line[each]) + 2, ' ');
        }
        result += padded.substr(0, padded.find_last_not_of(' ') + 1) + '\n';
    }
    return result;
}

std::string tabSeparated(Section const& section)
{
    std::string result;
    auto const append = [&](Line const& line) {
        result += section.name;
        char const* separator = section.name.empty() ? "" : "\t";
        for (std::string const& text : line) {
            result += separator;
            result += text;
            separator = "\t";
        }
        result += '\n';
    };
    if (section.single) {
        for (Line const& line : linesOf(section)) {
            append(line);
        }
        return result;
    }
    for (Row const& row : section.rows) {
        append(textsOf(section, row));
    }
    return result;
}

Json jsonOf(Value const& value)
{
    return std::visit(
        [](auto const& held) {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, Counts>) {
                Json counts = Json::object();
                for (auto const& [name, count] : held) {
                    counts[common::isUTF8(name) ? name : "hex " + hexOf(name)] = count;
                }
                return counts;
            } else {
                return Json(held);
            }
        },
        value);
}

Json documentOf(Section const& section)
{
    Json records = Json::array();
    for (Row const& row : section.rows) {
        Json record = Json::object();
        Json hex = Json::object();
        for (std::size_t each = 0; each < row.size(); ++each) {
            std::string const& name = section.columns[each].name;
            record[name] = jsonOf(row[each]);
            auto const* const text = std::get_if<std::string>(&row[each]);
            if (text != nullptr && !common::isUTF8(*text)) {
                hex[name] = hexOf(*text);
            }
        }
        if (!hex.empty()) {
            record["hex"] = std::move(hex);
        }
        records.push_back(std::move(record));
    }
    if (section.single) {
        return records.empty() ? Json() : records[0];
    }
    return records;
}

} // namespace

std::string present(std::vector<Section> const& sections, Presentation presentation)
{
    if (presentation == Presentation::kJson) {
        Json document = Json::object();
        for (Section const& section : sections) {
            if (section.name.empty()) {
                document = documentOf(section);
            } else {
                document[section.name] = documentOf(section);
            }
        }
        return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
    }
    std::string result;
    for (Section const& section : sections) {
        result += presentation == Presentation::kTable ? table(section) : tabSeparated(section);
    }
    return result;
}

void print(std::vector<Section> const& sections, bool json)
{
    Presentation const forPeople =
        isatty(STDOUT_FILENO) != 0 ? Presentation::kTable : Presentation::kTabSeparated;
    print(present(sections, json ? Presentation::kJson : forPeople));
}

void print(std::string const& text)
{
    int const error = common::writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw Refusal(kExitError, common::lossOf(error));
    }
}

} // namespace veskdb
