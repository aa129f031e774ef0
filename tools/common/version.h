/// The version of this build, which both programs print.
#ifndef TOOLS_COMMON_VERSION_H
#define TOOLS_COMMON_VERSION_H

namespace common {

/// The project's version as CMakeLists.txt has it, such as "12.0". Static.
extern char const* const version;

} // namespace common

#endif
