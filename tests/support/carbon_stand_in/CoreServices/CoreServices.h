/// The few declarations of Apple's CoreServices that the product uses, with bodies that a test can direct: no
/// other system has them.
#ifndef TESTS_SUPPORT_CARBON_STAND_IN_CORESERVICES_H
#define TESTS_SUPPORT_CARBON_STAND_IN_CORESERVICES_H

#include <cstdint>
#include <string>
#include <vector>

using UInt8 = uint8_t;
using SInt16 = int16_t;
using UInt32 = uint32_t;
using OSErr = int16_t;
using OSStatus = int32_t;
using CFUUIDRef = struct StandInUUID const*;
using CFStringRef = struct StandInString const*;
using FSRef = int;

constexpr int noErr = 0;
constexpr SInt16 kLocalDomain = -32765;
constexpr bool kDontCreateFolder = false;
constexpr UInt32 kApplicationSupportFolderType = 0x61737570, kCFStringEncodingASCII = 0x0600;
constexpr void const* kCFAllocatorDefault = nullptr;

namespace carbon_stand_in {

inline OSErr findFolderStatus;
inline OSStatus tooShortStatus, makePathStatus; // what FSRefMakePath says to a short buffer, and to another
inline std::string folderPath;
inline std::vector<UInt32> offeredSizes;
inline int livingObjects;
inline std::string const uuidText = "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0";

} // namespace carbon_stand_in

inline OSErr FSFindFolder(SInt16 domain, UInt32 type, bool create, FSRef* found)
{
    *found = 4711;
    bool const known = domain == kLocalDomain && type == kApplicationSupportFolderType && !create;
    return known ? carbon_stand_in::findFolderStatus : OSErr(-50);
}

inline OSStatus FSRefMakePath(FSRef const* folder, UInt8* path, UInt32 size)
{
    carbon_stand_in::offeredSizes.push_back(size);
    if (*folder != 4711 || size <= carbon_stand_in::folderPath.size()) {
        return carbon_stand_in::tooShortStatus;
    }
    path[carbon_stand_in::folderPath.copy(reinterpret_cast<char*>(path), size)] = '\0';
    return carbon_stand_in::makePathStatus;
}

inline CFUUIDRef CFUUIDCreate(void const*)
{
    ++carbon_stand_in::livingObjects;
    return reinterpret_cast<CFUUIDRef>(&carbon_stand_in::uuidText);
}

inline CFStringRef CFUUIDCreateString(void const*, CFUUIDRef identifier)
{
    ++carbon_stand_in::livingObjects;
    return reinterpret_cast<CFStringRef>(identifier);
}

inline bool CFStringGetCString(CFStringRef, char* text, size_t size, UInt32 encoding)
{
    bool const fits = encoding == kCFStringEncodingASCII && size > carbon_stand_in::uuidText.size();
    text[fits ? carbon_stand_in::uuidText.copy(text, size) : 0] = '\0';
    return fits;
}

inline void CFRelease(void const*)
{
    --carbon_stand_in::livingObjects;
}

#endif
