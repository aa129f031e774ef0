// Runs the macOS source for CoreServices on other systems: this file defines the functions that it calls.
#include "platform/platform.h"

#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

OSStatus tooShortStatus; // what FSRefMakePath returns for a short buffer
std::string folderPath;

} // namespace

CFAllocatorRef const kCFAllocatorDefault = nullptr;

OSErr FSFindFolder(SInt16, OSType, Boolean, FSRef*)
{
    return noErr;
}

OSStatus FSRefMakePath(FSRef const*, UInt8* path, UInt32 size)
{
    if (size <= folderPath.size()) {
        return tooShortStatus;
    }
    std::strcpy(reinterpret_cast<char*>(path), folderPath.c_str());
    return noErr;
}

CFUUIDRef CFUUIDCreate(CFAllocatorRef)
{
    return reinterpret_cast<CFUUIDRef>("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
}

CFStringRef CFUUIDCreateString(CFAllocatorRef, CFUUIDRef identifier)
{
    return reinterpret_cast<CFStringRef>(identifier);
}

Boolean CFStringGetCString(CFStringRef string, char* text, CFIndex size, CFStringEncoding)
{
    auto const characters = reinterpret_cast<char const*>(string);
    return std::strlen(characters) < static_cast<size_t>(size) && std::strcpy(text, characters) != nullptr;
}

void CFRelease(CFTypeRef)
{
}

namespace {

TEST(CoreServices, FolderPathBufferGrowsUntilThePathFits)
{
    struct
    {
        size_t length;
        OSStatus tooShort;
        bool found;
    } const cases[] = {
        {1023, -2110, true}, {1024, -2110, true},
        {5000, -210, true},  {5000, 0x0007F7C2, true}, // -2110 in the low half alone
        {1024, -43, false},                            // no such file
    };
    for (auto const& each : cases) {
        folderPath.assign(each.length, 'x');
        tooShortStatus = each.tooShort;
        std::string out = "untouched";
        EXPECT_EQ(platform::localApplicationSupport(out), each.found);
        EXPECT_EQ(out, each.found ? folderPath : "untouched");
    }
    EXPECT_EQ(platform::newUUIDString(), "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
}

} // namespace
