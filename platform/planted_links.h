/// Symbolic links that somebody without the super-user's rights has laid for the super-user to follow.
#ifndef PLATFORM_PLANTED_LINKS_H
#define PLATFORM_PLANTED_LINKS_H

#include <string>

struct stat;

namespace platform {

/// Whether what lstat has found is a link that the super-user must not follow: somebody else's.
bool isPlantedLink(struct stat const& unfollowed);

/// Whether a link on the way to a folder leads the super-user to what the link's owner does not own.
///
/// For an ordinary user nothing does: there is no more to be reached than that user could reach anyway.
///
/// @param start  folder that the way begins in, such as a home; links up to there are trusted
/// @param way    components below it, each with its "/" in front; those that are missing lead nowhere
bool leadsAstray(std::string const& start, std::string const& way);

} // namespace platform

#endif
