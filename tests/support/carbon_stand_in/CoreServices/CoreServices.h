/// The few declarations of Apple's CoreServices that the product uses, with the simplest bodies: no other system has
/// them.
#ifndef TESTS_SUPPORT_CARBON_STAND_IN_CORESERVICES_H
#define TESTS_SUPPORT_CARBON_STAND_IN_CORESERVICES_H

#include <cstdint>
#include <cstring>
#include <string>

using UInt8 = uint8_t;
using SInt16 = int16_t;
using UInt32 = uint32_t;
using OSErr = int16_t;
using OSStatus = int32_t;
using CFUUIDRef = char const*;
using CFStringRef = char const*;
using FSRef = int;

constexpr int noErr = 0;
constexpr SInt16 kLocalDomain = -32765;
constexpr bool kDontCreateFolder = false;
constexpr UInt32 kApplicationSupportFolderType = 0x61737570, kCFStringEncodingASCII = 0x0600;
constexpr void const* kCFAllocatorDefault = nullptr;

namespace carbon_stand_in {

inline OSStatus tooShortStatus; // what FSRefMakePath returns for a short buffer
inline std::string folderPath;

} // namespace carbon_stand_in

inline OSErr FSFindFolder(SInt16, UInt32, bool, FSRef*)
{
    return noErr;
}

inline OSStatus FSRefMakePath(FSRef const*, UInt8* path, UInt32 size)
{
    if (size <= carbon_stand_in::folderPath.size()) {
        return carbon_stand_in::tooShortStatus;
    }
    std::strcpy(reinterpret_cast<char*>(path), carbon_stand_in::folderPath.c_str());
    return noErr;
}

inline CFUUIDRef CFUUIDCreate(void const*)
{
    return "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0";
}

inline CFStringRef CFUUIDCreateString(void const*, CFUUIDRef identifier)
{
    return identifier;
}

inline bool CFStringGetCString(CFStringRef string, char* text, size_t size, UInt32)
{
    return std::strlen(string) < size && std::strcpy(text, string) != nullptr;
}

inline void CFRelease(void const*)
{
}

#endif
