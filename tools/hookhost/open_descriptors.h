/// The open descriptors of this process.
#ifndef TOOLS_HOOKHOST_OPEN_DESCRIPTORS_H
#define TOOLS_HOOKHOST_OPEN_DESCRIPTORS_H

#include <map>
#include <string>

namespace hookhost {

/// Opens the system's list of this process's descriptors, so that it can be read in another root too.
///
/// @return a descriptor, which the caller closes; -1 if the system needs none
int openDescriptorList();

/// Every open descriptor and what it leads to, hookhost's own and the list excepted.
///
/// @param list  what openDescriptorList returned
std::map<int, std::string> openDescriptors(int list);

} // namespace hookhost

#endif
