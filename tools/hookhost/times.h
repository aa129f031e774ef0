/// Points in time as text.
#ifndef TOOLS_HOOKHOST_TIMES_H
#define TOOLS_HOOKHOST_TIMES_H

#include <ctime>
#include <string>

namespace hookhost {

/// ISO 8601, UTC, with milliseconds.
std::string isoTime(timespec const& time);

/// The same for the current time.
std::string isoTimeNow();

} // namespace hookhost

#endif
