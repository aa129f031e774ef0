/// A descriptor of hookhost's own in a process that runs a plug-in.
#ifndef TOOLS_HOOKHOST_OWN_DESCRIPTOR_H
#define TOOLS_HOOKHOST_OWN_DESCRIPTOR_H

#include <sys/stat.h>

namespace hookhost {

/// A close-on-exec copy of a descriptor with a number above those that a plug-in uses, closes or redirects: at or above
/// the limit on open files, which is raised for that moment, and at least 1024. Where the hard limit is lower, the
/// highest number that is free. Closed by the destructor.
class OwnDescriptor
{
public:
    /// @param original  stays open, and stays the caller's
    /// @throws std::system_error if there is no descriptor left
    explicit OwnDescriptor(int original);
    OwnDescriptor(OwnDescriptor const&) = delete;
    OwnDescriptor& operator=(OwnDescriptor const&) = delete;
    ~OwnDescriptor();

    /// The descriptor; -1 if the plug-in has closed it or put another file in its place.
    int number() const noexcept;

private:
    int copy;
    struct stat original = {};
};

/// Whether a number is that of a descriptor of hookhost's own, in use now.
bool isOwnDescriptor(int number);

} // namespace hookhost

#endif
