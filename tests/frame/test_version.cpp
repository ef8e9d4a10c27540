// The version table is a contract with hosts: every value is checked literally.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "oxMeshLib.h"

using ox::oxMeshLib::Version;

TEST(Version, NumbersAndFlags)
{
    EXPECT_EQ(Version::GetMajor(), 1u);
    EXPECT_EQ(Version::GetMinor(), 0u);
    EXPECT_EQ(Version::GetRelease(), 0u);
    EXPECT_EQ(Version::GetRevision(), 10699u);
    EXPECT_EQ(Version::GetYear(), 2021);
    EXPECT_EQ(Version::GetMonth(), 5);
    EXPECT_FALSE(Version::IsDev());
    EXPECT_FALSE(Version::IsDebug());
    EXPECT_FALSE(Version::IsBeta());
}

TEST(Version, DescriptionsDoNotDependOnTheFlagAndAreStatic)
{
    for (bool flag : {true, false}) {
        EXPECT_STREQ(Version::GetDescStringMajorMinor(flag), "1.0");
        EXPECT_STREQ(Version::GetDescStringMajorMinorRelease(flag), "1.0.0");
        EXPECT_STREQ(Version::GetDescStringMajorMinorReleaseRevision(flag), "1.0.0.10699");
    }
    EXPECT_STREQ(Version::GetDescStringMajorMinorReleaseRevisionDate(), "1.0.0.10699 2021-5");
    // Static storage: the same address on every call.
    EXPECT_EQ(Version::GetDescStringMajorMinor(true), Version::GetDescStringMajorMinor(true));
    EXPECT_EQ(Version::GetDescStringMajorMinorReleaseRevisionDate(),
              Version::GetDescStringMajorMinorReleaseRevisionDate());
    // The strings agree with the numbers.
    const std::string expected =
        std::to_string(Version::GetMajor()) + "." + std::to_string(Version::GetMinor()) + "." +
        std::to_string(Version::GetRelease()) + "." + std::to_string(Version::GetRevision()) + " " +
        std::to_string(Version::GetYear()) + "-" + std::to_string(Version::GetMonth());
    EXPECT_EQ(expected, Version::GetDescStringMajorMinorReleaseRevisionDate());
}
