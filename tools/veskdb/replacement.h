/// A new file that replaces another atomically, and temporary files that killed programs have left.
#ifndef TOOLS_VESKDB_REPLACEMENT_H
#define TOOLS_VESKDB_REPLACEMENT_H

#include "platform/descriptor.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace veskdb {

class RecordReader;

/// A new file in a target's folder, "TARGET.veskdb-XXXXXX", mode 0600 and locked, so that no other process removes it
/// as a leftover. It is removed with the object unless it has replaced the target.
///
/// Names are looked up below a descriptor of the folder, and links are never followed: other users may write to it.
class Replacement
{
public:
    /// @throws Refusal (kExitError) if no file can be created in the folder
    explicit Replacement(std::string const& targetPath);
    Replacement(Replacement const&) = delete;
    Replacement& operator=(Replacement const&) = delete;
    ~Replacement();

    /// Copies a database byte for byte.
    ///
    /// @throws Refusal (kExitError)
    void copyFrom(RecordReader const& source) const;

    /// Writes a file's bytes.
    ///
    /// @throws Refusal (kExitError)
    void write(std::string_view bytes) const;

    /// The path of the new file.
    std::string path() const;

    /// Sets the file's mode and, as far as this user may, its owner.
    void setAccess(uid_t owner, gid_t group, mode_t mode) const;

    /// Syncs the file and lets it take the target's place. The file that it replaces is kept next to it, under its name
    /// and the time, "pdb.db.20090213T233130Z", with its owner and mode, unless
    /// it is empty; nothing is overwritten.
    ///
    /// @return the path under which the previous file is kept; empty if there was none
    /// @throws Refusal (kExitError), also if there was none and one has appeared; the target is unchanged then
    std::string replaceTarget();

private:
    std::string keepAside();
    bool takeFreeName() const;

    std::string const target;
    std::string const base; ///< the target's name in its folder
    platform::Descriptor const folder;
    std::string name;
    platform::Descriptor file;
    platform::Descriptor
        kept; ///< the previous file, open until the end: closing it releases this process's locks on it
};

/// Files of one kind next to a target.
struct Leftovers
{
    int64_t number = 0;
    int64_t bytes = 0;
};

/// Temporary files that killed programs have left: those of a target that no process has locked.
Leftovers temporaryFilesOf(std::string const& target);

/// The dated copies of a target.
Leftovers datedCopiesOf(std::string const& target);

/// Removes what temporaryFilesOf counts, as far as this user may.
void removeTemporaryFilesOf(std::string const& target);

} // namespace veskdb

#endif
