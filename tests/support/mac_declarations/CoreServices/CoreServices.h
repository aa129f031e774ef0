/// The few declarations of Apple's CoreServices that the product uses, with the sizes that they have there, written
/// from the public reference: for compiling on other systems. core_services_test.cpp gives them bodies.
#ifndef TESTS_SUPPORT_MAC_DECLARATIONS_CORESERVICES_H
#define TESTS_SUPPORT_MAC_DECLARATIONS_CORESERVICES_H

#include <stdint.h>

using UInt8 = uint8_t;
using SInt16 = int16_t;
#ifdef __LP64__
using UInt32 = unsigned int;
using SInt32 = int;
#else
using UInt32 = unsigned long;
using SInt32 = long;
#endif
using Boolean = unsigned char;
using OSErr = SInt16;
using OSStatus = SInt32;
using OSType = UInt32;
using CFStringEncoding = UInt32;
using CFIndex = long;
using CFTypeRef = void const*;
using CFAllocatorRef = struct Allocator const*;
using CFUUIDRef = struct Identifier const*;
using CFStringRef = struct String const*;

struct FSRef
{
    UInt8 hidden[80];
};

enum
{
    noErr = 0
};
enum
{
    kLocalDomain = -32765
};
enum
{
    kDontCreateFolder = false
};
enum
{
    kApplicationSupportFolderType = 0x61737570
};
enum
{
    kCFStringEncodingASCII = 0x0600
};

extern "C" {
extern CFAllocatorRef const kCFAllocatorDefault;
CFUUIDRef CFUUIDCreate(CFAllocatorRef allocator);
CFStringRef CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef identifier);
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size, CFStringEncoding encoding);
void CFRelease(CFTypeRef object);
OSErr FSFindFolder(SInt16 domain, OSType type, Boolean create, FSRef* found);
OSStatus FSRefMakePath(FSRef const* folder, UInt8* path, UInt32 size);
}

#endif
