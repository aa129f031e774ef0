// The macOS sources that no other system can build, against stand-ins for the calls that they make.
#include "platform/platform.h"

#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

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
        carbon_stand_in::folderPath.assign(each.length, 'x');
        carbon_stand_in::tooShortStatus = each.tooShort;
        std::string out = "untouched";
        EXPECT_EQ(platform::localApplicationSupport(out), each.found);
        EXPECT_EQ(out, each.found ? carbon_stand_in::folderPath : "untouched");
    }
    EXPECT_EQ(platform::newUUIDString(), "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
}

} // namespace
