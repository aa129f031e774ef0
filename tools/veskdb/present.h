/// Prints records for people or programs.
#ifndef TOOLS_VESKDB_PRESENT_H
#define TOOLS_VESKDB_PRESENT_H

#include "tools/veskdb/records.h"

namespace veskdb {

/// Formats records: as one JSON document with the schema's column names, or as tables with headings on a terminal, or
/// as a line for each record, which begins with the section's name.
///
/// Outside JSON, texts are escaped, and nulls are "\N". In JSON, bytes that are not UTF-8 become U+FFFD, and the record
/// has an object "hex" with those values byte by byte. Nothing is written before print, so losing the output changes
/// nothing.
class Presenter
{
public:
    explicit Presenter(bool json);

    /// Ends the previous section and begins the next.
    void begin(Section const& section);

    /// Adds a record to the section.
    void add(Row const& row);

    /// Ends the last section and writes everything to standard output.
    ///
    /// @throws Refusal (kExitError) if output is lost
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
/// @throws Refusal (kExitError) if output is lost
void print(std::string const& text);

} // namespace veskdb

#endif
