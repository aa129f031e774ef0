#include "tools/veskdb/graph.h"

#include "libdolmvesk/payloaddb.h"
#include "tools/common/utf8.h"
#include "tools/veskdb/listing.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/relation_types.h"
#include "tools/veskdb/renderer.h"
#include "tools/veskdb/value_text.h"

#include <fmt/format.h>
#include <map>
#include <memory>
#include <set>

namespace veskdb {

namespace {

struct Box
{
    std::string title; ///< the identifier
    std::string name;  ///< product and version; empty when the payload is not on record
    std::string state; ///< in words
};

struct Arrow
{
    std::string from;
    std::string to;
    std::string label;
};

struct Graph
{
    std::map<std::string, Box> boxes; ///< by identifier
    std::vector<Arrow> arrows;
};

char const notOnRecord[] = "not on record";

/// A value as a picture can show it: printable UTF-8.
std::string shown(Value const& value, ValueKind kind = ValueKind::kPlain)
{
    std::string const text = textOf(value, kind);
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const length = common::characterLength(text, at);
        result += length == 0 ? "\\x" + hexOf(text.substr(at, 1)) : text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    return result;
}

std::string labelOf(Value const& type)
{
    auto const* const number = std::get_if<int64_t>(&type);
    bool const named =
        number != nullptr && *number >= 0 && *number < static_cast<int64_t>(relationTypes.size());
    return named ? relationTypes[static_cast<std::size_t>(*number)] : shown(type);
}

Graph readGraph(RecordReader const& reader)
{
    Graph graph;
    for (Row const& row : reader.rows("SELECT PayloadID, productName, version, installState FROM payloads")) {
        graph.boxes[asText(row[0])] = {shown(row[0]), shown(row[1]) + ' ' + shown(row[2]),
                                       shown(row[3], ValueKind::kState)};
    }
    for (Row const& row :
         reader.rows("SELECT PayloadID, PayloadIDb, type FROM dependencies ORDER BY PayloadID, PayloadIDb")) {
        graph.arrows.push_back({asText(row[0]), asText(row[1]), labelOf(row[2])});
        for (Value const& end : {row[0], row[1]}) {
            graph.boxes.try_emplace(asText(end), Box{shown(end), "", notOnRecord});
        }
    }
    return graph;
}

/// Keeps the payloads that relations, in either direction, connect with one payload.
void keepNear(Graph& graph, std::string const& payloadID, std::optional<int32_t> depth)
{
    std::multimap<std::string, std::string> neighbours;
    for (Arrow const& arrow : graph.arrows) {
        neighbours.emplace(arrow.from, arrow.to);
        neighbours.emplace(arrow.to, arrow.from);
    }
    std::set<std::string> near = {payloadID};
    std::set<std::string> edge = near;
    for (int32_t step = 0; !edge.empty() && (!depth || step < *depth); ++step) {
        std::set<std::string> next;
        for (std::string const& each : edge) {
            auto const [first, last] = neighbours.equal_range(each);
            for (auto neighbour = first; neighbour != last; ++neighbour) {
                if (near.insert(neighbour->second).second) {
                    next.insert(neighbour->second);
                }
            }
        }
        edge = std::move(next);
    }
    Graph kept;
    for (auto const& [id, box] : graph.boxes) {
        if (near.count(id) > 0) {
            kept.boxes.emplace(id, box);
        }
    }
    for (Arrow const& arrow : graph.arrows) {
        if (near.count(arrow.from) > 0 && near.count(arrow.to) > 0) {
            kept.arrows.push_back(arrow);
        }
    }
    graph = std::move(kept);
}

std::string replaced(std::string text, std::string const& what, std::string const& with)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

std::string linesOf(Box const& box)
{
    return box.title + '\n' + (box.name.empty() ? "" : box.name + '\n') + box.state;
}

char const* colourOf(Box const& box)
{
    return box.state == "installed"       ? "#b7e1cd"
           : box.state == "not-installed" ? "#fce8b2"
           : box.state == notOnRecord     ? "#ffffff"
                                          : "#f4c7c3";
}

/// The numbers that name the boxes in the output.
std::map<std::string, std::size_t> numbersOf(Graph const& graph)
{
    std::map<std::string, std::size_t> numbers;
    for (auto const& box : graph.boxes) {
        numbers.emplace(box.first, numbers.size() + 1);
    }
    return numbers;
}

/// A text as dot writes it between quotes.
std::string dotText(std::string const& text)
{
    return replaced(replaced(replaced(text, "\\", "\\\\"), "\"", "\\\""), "\n", "\\n");
}

std::string dotOf(Graph const& graph)
{
    auto const numbers = numbersOf(graph);
    std::string text =
        "digraph payloads {\n  rankdir=LR;\n  node [shape=box, style=filled, fontname=\"Helvetica\"];\n"
        "  edge [fontname=\"Helvetica\", fontsize=10];\n";
    for (auto const& [id, box] : graph.boxes) {
        text +=
            fmt::format("  n{} [label=\"{}\", fillcolor=\"{}\"{}];\n", numbers.at(id), dotText(linesOf(box)),
                        colourOf(box), box.state == notOnRecord ? ", style=\"filled,dashed\"" : "");
    }
    for (Arrow const& arrow : graph.arrows) {
        text += fmt::format("  n{} -> n{} [label=\"{}\"];\n", numbers.at(arrow.from), numbers.at(arrow.to),
                            dotText(arrow.label));
    }
    return text + "}\n";
}

/// A text as Mermaid writes it between quotes or bars.
std::string mermaidText(std::string text)
{
    for (auto const& [what, with] :
         {std::pair("#", "#35;"), std::pair("\"", "#quot;"), std::pair("<", "#lt;"), std::pair("|", "#124;"),
          std::pair("\n", "<br/>")}) {
        text = replaced(std::move(text), what, with);
    }
    return text;
}

std::string mermaidOf(Graph const& graph)
{
    auto const numbers = numbersOf(graph);
    std::string text = "flowchart LR\n";
    for (auto const& [id, box] : graph.boxes) {
        text +=
            fmt::format("  n{}[\"{}\"]\n  style n{} fill:{}{}\n", numbers.at(id), mermaidText(linesOf(box)),
                        numbers.at(id), colourOf(box), box.state == notOnRecord ? ",stroke-dasharray:5" : "");
    }
    for (Arrow const& arrow : graph.arrows) {
        text += fmt::format("  n{} -->|{}| n{}\n", numbers.at(arrow.from), mermaidText(arrow.label),
                            numbers.at(arrow.to));
    }
    return text;
}

std::unique_ptr<Renderer> renderer;

} // namespace

void prepareGraph(Options const& options)
{
    if (options.format == "svg") {
        renderer = std::make_unique<Renderer>();
    }
}

int drawGraph(Options const& options)
{
    Graph graph;
    {
        auto const reader = openToRead(options.database(), {"payloads", "dependencies"});
        if (!options.id.empty()) {
            requirePayload(*reader, options.id);
        }
        graph = readGraph(*reader);
    }
    if (!options.id.empty()) {
        keepNear(graph, options.id, options.depth);
    }
    print(options.format == "mermaid" ? mermaidOf(graph)
          : renderer                  ? renderer->draw(dotOf(graph))
                                      : dotOf(graph));
    return 0;
}

} // namespace veskdb
