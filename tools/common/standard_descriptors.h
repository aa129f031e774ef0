/// Standard input, output and error of programs that may be started without them.
#ifndef TOOLS_COMMON_STANDARD_DESCRIPTORS_H
#define TOOLS_COMMON_STANDARD_DESCRIPTORS_H

namespace common {

/// Opens each missing standard descriptor as one that cannot be written to, so that no file opened later becomes
/// standard output, and lost output is noticed. Call it first, in the machine's own root.
void occupyStandardDescriptors();

} // namespace common

#endif
