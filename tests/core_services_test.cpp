// The macOS sources that no other system can build, against stand-ins for the calls that they make.
#include "platform/platform.h"

#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

namespace {

TEST(CoreServices, FolderPathGrowsItsBufferAsLongAsItIsTooShort)
{
    // clang-format off
    struct { size_t length; OSErr find; OSStatus tooShort, make; bool found; std::vector<UInt32> offered; } const cases[] = {
        {1023, 0, -2110, 0, true, {1024}},
        {1024, 0, -2110, 0, true, {1024, 2048}},
        {5000, 0, -210, 0, true, {1024, 2048, 4096, 8192}},
        {1024, 0, 0x0007F7C2, 0, true, {1024, 2048}}, // -2110 in the low half alone
        {1024, 0, 0x0001FF2E, 0, true, {1024, 2048}}, // -210
        {1024, 0, -43, 0, false, {1024}},             // no such file
        {1024, 0, -2110, -1407, false, {1024, 2048}}, // another failure, later
        {27, -43, 0, 0, false, {}},                   // no such folder
        {27, 0, 0, 0x00010000, false, {1024}},        // a failure whose low half is zero
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << each.length << ' ' << each.tooShort << ' ' << each.make);
        carbon_stand_in::folderPath.assign(each.length, 'x');
        carbon_stand_in::findFolderStatus = each.find;
        carbon_stand_in::tooShortStatus = each.tooShort;
        carbon_stand_in::makePathStatus = each.make;
        carbon_stand_in::offeredSizes.clear();
        std::string out = "untouched";
        EXPECT_EQ(platform::localApplicationSupport(out), each.found);
        EXPECT_EQ(out, each.found ? carbon_stand_in::folderPath : "untouched");
        EXPECT_EQ(carbon_stand_in::offeredSizes, each.offered);
    }
}

TEST(CoreServices, IdentifierIsTakenOverAndItsObjectsReleased)
{
    EXPECT_EQ(platform::newUUIDString(), carbon_stand_in::uuidText);
    EXPECT_EQ(carbon_stand_in::livingObjects, 0);
}

} // namespace
