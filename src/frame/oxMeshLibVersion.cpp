// Version constants of the library.
#include "oxMeshLibVersion.h"

namespace ox {
namespace oxMeshLib {

namespace {
// Each description exists as a pair of stored strings selected by the caller's flag;
// both members of a pair hold the same text in this version.
const char* const kMajorMinor[2] = {"1.0", "1.0"};
const char* const kMajorMinorRelease[2] = {"1.0.0", "1.0.0"};
const char* const kMajorMinorReleaseRevision[2] = {"1.0.0.10699", "1.0.0.10699"};
const char* const kMajorMinorReleaseRevisionDate = "1.0.0.10699 2021-5";
}  // namespace

unsigned int Version::GetMajor()
{
    return 1;
}
unsigned int Version::GetMinor()
{
    return 0;
}
unsigned int Version::GetRelease()
{
    return 0;
}
unsigned int Version::GetRevision()
{
    return 10699;
}
unsigned short Version::GetYear()
{
    return 2021;
}
unsigned char Version::GetMonth()
{
    return 5;
}
bool Version::IsDev()
{
    return false;
}
bool Version::IsDebug()
{
    return false;
}
bool Version::IsBeta()
{
    return false;
}

const char* Version::GetDescStringMajorMinor(bool first)
{
    return kMajorMinor[first ? 0 : 1];
}
const char* Version::GetDescStringMajorMinorRelease(bool first)
{
    return kMajorMinorRelease[first ? 0 : 1];
}
const char* Version::GetDescStringMajorMinorReleaseRevision(bool first)
{
    return kMajorMinorReleaseRevision[first ? 0 : 1];
}
const char* Version::GetDescStringMajorMinorReleaseRevisionDate()
{
    return kMajorMinorReleaseRevisionDate;
}

}  // namespace oxMeshLib
}  // namespace ox
