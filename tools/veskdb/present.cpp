#include "tools/veskdb/present.h"

#include "tools/common/descriptor_output.h"
#include "tools/common/utf8.h"
#include "tools/veskdb/json_text.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace veskdb {

namespace {

using Members = std::vector<std::pair<std::string, std::string>>; ///< names and values in JSON

std::string object(Members const& members, std::size_t indent)
{
    std::string text = "{";
    char const* separator = "\n";
    for (auto const& [name, value] : members) {
        text += separator;
        text.append(indent + 2, ' ');
        text += jsonText(name);
        text += ": ";
        text += value;
        separator = ",\n";
    }
    if (!members.empty()) {
        text += '\n';
        text.append(indent, ' ');
    }
    return text + '}';
}

std::string jsonOf(Value const& value, std::size_t indent)
{
    if (auto const* const text = bytesIn(value)) {
        return jsonText(*text);
    }
    if (auto const* const number = std::get_if<double>(&value)) {
        return jsonNumber(*number);
    }
    if (auto const* const counts = std::get_if<Counts>(&value)) {
        Members members;
        for (auto const& [name, count] : *counts) {
            members.emplace_back(common::isUTF8(name) ? name : "hex " + hexOf(name), std::to_string(count));
        }
        return object(members, indent);
    }
    return std::holds_alternative<Null>(value) ? "null" : textOf(value);
}

/// How many columns of a terminal a text takes, if it is UTF-8.
std::size_t widthOf(std::string const& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char each) { return (each & 0xC0) != 0x80; }));
}

} // namespace

Presenter::Presenter(bool json)
    : form(json                         ? Form::kJSON
           : isatty(STDOUT_FILENO) != 0 ? Form::kTable
                                        : Form::kTabSeparated)
{
}

void Presenter::begin(Section const& next)
{
    bool const first = !open;
    end();
    section = next;
    open = true;
    records = 0;
    if (form == Form::kJSON) {
        if (!section.name.empty()) {
            output += (first ? "{\n  " : ",\n  ") + jsonText(section.name) + ": ";
        }
        output += section.single ? "" : "[";
    } else if (form == Form::kTable && !section.single) {
        lines.emplace_back();
        for (Column const& column : section.columns) {
            if (!column.heading.empty()) {
                lines.back().push_back(column.heading);
            }
        }
    }
}

void Presenter::add(Row const& row)
{
    form == Form::kJSON ? addJSON(row) : addText(row);
    ++records;
}

void Presenter::addJSON(Row const& row)
{
    std::size_t const indent = (section.name.empty() ? 0 : 2) + (section.single ? 0 : 2);
    Members members;
    Members hex;
    for (std::size_t each = 0; each < row.size(); ++each) {
        std::string const& name = section.columns[each].name;
        members.emplace_back(name, jsonOf(row[each], indent + 2));
        auto const* const text = bytesIn(row[each]);
        if (text != nullptr && !common::isUTF8(*text)) {
            hex.emplace_back(name, jsonText(hexOf(*text)));
        }
    }
    if (!hex.empty()) {
        members.emplace_back("hex", object(hex, indent + 2));
    }
    if (!section.single) {
        output += records == 0 ? "\n" : ",\n";
        output.append(indent, ' ');
    }
    output += object(members, indent);
}

void Presenter::addText(Row const& row)
{
    if (form == Form::kTable && !section.single) {
        lines.emplace_back();
    }
    char const* separator = "";
    auto const separate = [&] {
        output += separator;
        separator = "\t";
    };
    if (form == Form::kTabSeparated && !section.single && !section.name.empty()) {
        separate();
        output += section.name;
    }
    for (std::size_t each = 0; each < row.size(); ++each) {
        Column const& column = section.columns[each];
        if (column.heading.empty()) {
            continue;
        }
        if (form == Form::kTable && section.single) {
            if (!std::holds_alternative<Null>(row[each])) {
                lines.push_back({column.heading, textOf(row[each], column.kind)});
            }
        } else if (form == Form::kTable) {
            lines.back().push_back(textOf(row[each], column.kind));
        } else if (section.single) {
            output += section.name + (section.name.empty() ? "" : "\t") + column.heading + '\t';
            appendText(output, row[each], column.kind);
            output += '\n';
        } else {
            separate();
            appendText(output, row[each], column.kind);
        }
    }
    if (form == Form::kTabSeparated && !section.single) {
        output += '\n';
    }
}

/// Aligns the lines of a table. A table without records is not shown.
void Presenter::endTable()
{
    std::vector<std::size_t> widths(lines.empty() ? 0 : lines[0].size());
    for (Line const& line : lines) {
        for (std::size_t each = 0; each < line.size(); ++each) {
            widths[each] = std::max(widths[each], widthOf(line[each]));
        }
    }
    if (records > 0) {
        output += section.name.empty() ? "" : section.name + '\n';
        for (Line const& line : lines) {
            std::string padded = section.name.empty() ? "" : "  ";
            for (std::size_t each = 0; each < line.size(); ++each) {
                padded += line[each] + std::string(widths[each] - widthOf(line[each]) + 2, ' ');
            }
            output += padded.substr(0, padded.find_last_not_of(' ') + 1) + '\n';
        }
    }
    lines.clear();
}

void Presenter::end()
{
    if (form == Form::kTable) {
        endTable();
    } else if (form == Form::kJSON && open && section.single) {
        output += records == 0 ? "null" : "";
    } else if (form == Form::kJSON && open) {
        output += records == 0 ? "]" : section.name.empty() ? "\n]" : "\n  ]";
    }
}

void Presenter::print()
{
    end();
    if (form == Form::kJSON) {
        output += open && section.name.empty() ? "\n" : open ? "\n}\n" : "{}\n";
    }
    veskdb::print(output);
}

void print(std::string const& text)
{
    int const error = common::writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw Refusal(kExitError, common::lossOf(error));
    }
}

} // namespace veskdb
