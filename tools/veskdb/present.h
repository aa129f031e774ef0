/// Records as people and programs want to see them.
#ifndef TOOLS_VESKDB_PRESENT_H
#define TOOLS_VESKDB_PRESENT_H

#include "tools/veskdb/records.h"

namespace veskdb {

/// Puts records into words: as one JSON document with the schema's column names, else as a table with headings on a
/// terminal, and elsewhere a record per line, without headings and after the section's name.
///
/// Texts are escaped for people, nulls are "\N". In JSON, bytes that are no UTF-8 become U+FFFD, and the record has an
/// object "hex" with those values byte by byte. Nothing is written before print: output that is lost changes nothing.
class Presenter
{
public:
    explicit Presenter(bool json);

    /// Ends the section before.
    void begin(Section const& section);

    /// Adds a record to the section.
    void add(Row const& row);

    /// Ends the last section and writes everything to standard output.
    ///
    /// @throws Refusal (kExitError) when output is lost
    void print();

private:
    using Line = std::vector<std::string>;

    void end();
    void addJSON(Row const& row);
    void addText(Row const& row);
    void endTable();

    enum class Form
    {
        kTable,
        kTabSeparated,
        kJSON
    };
    Form const form;
    std::string output;
    Section section;
    bool open = false;       ///< whether a section has begun
    std::size_t records = 0; ///< of the section
    std::vector<Line> lines; ///< of a table
};

/// Writes a text to standard output.
///
/// @throws Refusal (kExitError) when output is lost
void print(std::string const& text);

} // namespace veskdb

#endif
