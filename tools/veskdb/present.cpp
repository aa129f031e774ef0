#include "tools/veskdb/present.h"

#include "libdolmvesk/payloaddb.h"
#include "tools/common/printable.h"

#include <algorithm>
#include <ctime>
#include <fmt/format.h>
#include <string_view>

namespace veskdb {

namespace {

using Line = std::vector<std::string>;

std::string textOf(Json const& value, ValueKind kind)
{
    if (value.is_null()) {
        return "\\N";
    }
    if (kind == ValueKind::kTime && value.is_number_integer()) {
        return isoTime(value.get<int64_t>());
    }
    if (kind == ValueKind::kState && value == kPdbInstalled) {
        return "installed";
    }
    if (kind == ValueKind::kState && value == kPdbNotInstalled) {
        return "not-installed";
    }
    if (value.is_object()) {
        std::string parts;
        for (auto const& [key, part] : value.items()) {
            parts += fmt::format("{}{} {}", parts.empty() ? "" : ", ", escaped(key), textOf(part, kind));
        }
        return parts;
    }
    return value.is_string() ? escaped(value.get<std::string>()) : value.dump();
}

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

/// How many columns of a terminal a text takes, as far as its UTF-8 tells.
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
    for (Line const& line : linesOf(section)) {
        result +=
            fmt::format("{}{}{}\n", section.name, section.name.empty() ? "" : "\t", fmt::join(line, "\t"));
    }
    return result;
}

Json documentOf(Section const& section)
{
    Json records = Json::array();
    for (Row const& row : section.rows) {
        Json record = Json::object();
        for (std::size_t each = 0; each < row.size(); ++each) {
            record[section.columns[each].name] = row[each];
        }
        records.push_back(std::move(record));
    }
    if (section.single) {
        return records.empty() ? Json() : records[0];
    }
    return records;
}

} // namespace

std::string escaped(std::string_view text)
{
    return common::printable(text, "\\\t");
}

std::string isoTime(int64_t seconds)
{
    constexpr int64_t endOfYear9999 = 253402300799;
    time_t const time = static_cast<time_t>(seconds);
    tm utc = {};
    if (seconds < -endOfYear9999 || seconds > endOfYear9999 || time != seconds ||
        gmtime_r(&time, &utc) == nullptr) {
        return fmt::format("{}", seconds);
    }
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                       utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
}

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

} // namespace veskdb
