/// The version of this build, which both programs print.
#ifndef TOOLS_COMMON_VERSION_H
#define TOOLS_COMMON_VERSION_H

namespace common {

/// The project's version, as set in CMakeLists.txt, such as "12.0".
extern char const* const version;

} // namespace common

#endif
