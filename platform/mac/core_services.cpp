// Identifiers, implemented with Core Foundation, and the computer's folders, with the Carbon File Manager.
#include "platform/platform.h"

#include <CoreServices/CoreServices.h>

#include <memory>
#include <new>
#include <type_traits>
#include <vector>

namespace platform {

namespace {

struct Releaser
{
    void operator()(void const* object) const { CFRelease(object); }
};

template<class Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Releaser>;

/// Whether the status means that the path does not fit the buffer; only its low 16 bits count.
bool isTooShort(OSStatus status)
{
    constexpr SInt16 pathTooLong = -2110;
    constexpr SInt16 buffersTooSmall = -210;
    auto const code = static_cast<SInt16>(status);
    return code == pathTooLong || code == buffersTooSmall;
}

} // namespace

std::string newUUIDString()
{
    Owned<CFUUIDRef> const identifier(CFUUIDCreate(kCFAllocatorDefault));
    if (!identifier) {
        throw std::bad_alloc();
    }
    Owned<CFStringRef> const string(CFUUIDCreateString(kCFAllocatorDefault, identifier.get()));
    char text[36 + 1];
    if (!string || !CFStringGetCString(string.get(), text, sizeof text, kCFStringEncodingASCII)) {
        throw std::bad_alloc();
    }
    return text;
}

bool localApplicationSupport(std::string& out)
{
    FSRef folder;
    if (FSFindFolder(kLocalDomain, kApplicationSupportFolderType, kDontCreateFolder, &folder) != noErr) {
        return false;
    }
    std::vector<UInt8> path(1024);
    OSStatus status = noErr;
    while (isTooShort(status = FSRefMakePath(&folder, path.data(), static_cast<UInt32>(path.size())))) {
        path.resize(path.size() * 2);
    }
    if (status != noErr) {
        return false;
    }
    out = reinterpret_cast<char const*>(path.data());
    return true;
}

} // namespace platform
