/// The few declarations of Apple's CoreServices that the product uses, with bodies that a test can direct: no
/// other system has them.
#ifndef TESTS_SUPPORT_CARBON_STAND_IN_CORESERVICES_H
#define TESTS_SUPPORT_CARBON_STAND_IN_CORESERVICES_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using Boolean = unsigned char;
using UInt8 = uint8_t;
using SInt16 = int16_t;
using UInt32 = uint32_t;
using OSErr = int16_t;
using OSStatus = int32_t;
using CFUUIDRef = struct StandInUUID const*;
using CFStringRef = struct StandInString const*;
using FSRef = int;

enum
{
    noErr = 0
};
enum
{
    kLocalDomain = -32765,
    kDontCreateFolder = 0
};
constexpr UInt32 kApplicationSupportFolderType = 0x61737570; // "asup"
constexpr UInt32 kCFStringEncodingASCII = 0x0600;
constexpr void const* kCFAllocatorDefault = nullptr;

namespace carbon_stand_in {

constexpr int folderReference = 4711;
inline OSErr findFolderStatus = noErr;
inline OSStatus tooShortStatus = noErr; // what FSRefMakePath says to a buffer that is too short
inline OSStatus makePathStatus = noErr; // what it says to one that is long enough
inline std::string folderPath;
inline std::vector<UInt32> offeredSizes;
inline int livingObjects = 0;
inline char object;
inline std::string const uuidText = "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0";

} // namespace carbon_stand_in

inline OSErr FSFindFolder(SInt16 domain, UInt32 type, Boolean create, FSRef* found)
{
    *found = carbon_stand_in::folderReference;
    bool const known = domain == kLocalDomain && type == kApplicationSupportFolderType && create == 0;
    return known ? carbon_stand_in::findFolderStatus : OSErr(-50);
}

inline OSStatus FSRefMakePath(FSRef const* folder, UInt8* path, UInt32 size)
{
    carbon_stand_in::offeredSizes.push_back(size);
    if (*folder != carbon_stand_in::folderReference || size <= carbon_stand_in::folderPath.size()) {
        return carbon_stand_in::tooShortStatus;
    }
    std::memcpy(path, carbon_stand_in::folderPath.c_str(), carbon_stand_in::folderPath.size() + 1);
    return carbon_stand_in::makePathStatus;
}

inline CFUUIDRef CFUUIDCreate(void const*)
{
    ++carbon_stand_in::livingObjects;
    return reinterpret_cast<CFUUIDRef>(&carbon_stand_in::object);
}

inline CFStringRef CFUUIDCreateString(void const*, CFUUIDRef)
{
    ++carbon_stand_in::livingObjects;
    return reinterpret_cast<CFStringRef>(&carbon_stand_in::object);
}

inline Boolean CFStringGetCString(CFStringRef, char* text, long size, UInt32 encoding)
{
    if (encoding != kCFStringEncodingASCII || size <= long(carbon_stand_in::uuidText.size())) {
        return 0;
    }
    std::strcpy(text, carbon_stand_in::uuidText.c_str());
    return 1;
}

inline void CFRelease(void const*)
{
    --carbon_stand_in::livingObjects;
}

#endif
