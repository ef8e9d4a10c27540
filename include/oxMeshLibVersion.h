// Version of the library: compile-time constants returned by static functions. Every function
// is O(1), thread-safe and has no side effect.
#pragma once

namespace ox {
namespace oxMeshLib {

/// The version queries; each returns the value in its comment.
class Version {
public:
    static unsigned int GetMajor();     ///< 1
    static unsigned int GetMinor();     ///< 0
    static unsigned int GetRelease();   ///< 0
    static unsigned int GetRevision();  ///< 10699
    static unsigned short GetYear();    ///< 2021
    static unsigned char GetMonth();    ///< 5
    static bool IsDev();                ///< false
    static bool IsDebug();              ///< false
    static bool IsBeta();               ///< false

    /// Returns "1.0". The flag selects one of two stored strings (true: the first), which hold
    /// the same text in this version. The strings are static: never free them.
    static const char* GetDescStringMajorMinor(bool first = true);
    /// Returns "1.0.0" (the flag as above).
    static const char* GetDescStringMajorMinorRelease(bool first = true);
    /// Returns "1.0.0.10699" (the flag as above).
    static const char* GetDescStringMajorMinorReleaseRevision(bool first = true);
    /// Returns "1.0.0.10699 2021-5" (static).
    static const char* GetDescStringMajorMinorReleaseRevisionDate();
};

}  // namespace oxMeshLib
}  // namespace ox
