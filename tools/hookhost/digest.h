/// SHA-256 by the system's own library.
#ifndef TOOLS_HOOKHOST_DIGEST_H
#define TOOLS_HOOKHOST_DIGEST_H

#include <string>

namespace hookhost {

/// The SHA-256 digest of what can be read from a descriptor, in 64 hexadecimal digits; "unreadable" if reading fails.
std::string digestOf(int descriptor);

} // namespace hookhost

#endif
