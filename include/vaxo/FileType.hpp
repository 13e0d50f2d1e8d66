// Program file types, exported for hosts as the library uses them: the number the controller
// knows a program or data file by, its file extensions and its type names (as written in project
// files). The table s_ftype_descr and its lookups are part of the library's interface, with C++
// linkage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#ifndef VAXO_API
#if defined(VAXO_BUILDING_LIBRARY)
#define VAXO_API __attribute__((visibility("default")))
#else
#define VAXO_API
#endif
#endif

namespace Vaxo::Ubrix::Shared {

// The controller's file kinds, 0 to 26. File transfers refuse a type above 26 with BadArgument;
// program selection passes the number to the controller as it stands. None (-1; all bits set as
// an unsigned 32-bit value) is what the lookups return when nothing matches.
enum class FileType : std::int32_t {
    None = -1,
    Basic = 0,
    EncryptedBasic = 1,
    GCode = 2,
    TextFile = 3,
    Iec = 4,
    Reserved5 = 5,
    Temp = 6,
    Reserved7 = 7,
    Binary = 8,
    MvConfig = 9,
    IecLib = 10,
    Hmi = 11,
    BasicLibrary = 12,
    EncryptedBasicLibrary = 13,
    HmiLib = 14,
    VolatileText = 15,
    Robot = 16,
    RobotBasic = 17,
    Reserved18 = 18,
    RobotLibrary = 19,
    RobotBasicLibrary = 20,
    Recipe = 21,
    Alarms = 22,
    RealtimeBasicLibrary = 23,
    EncryptedRealtimeBasicLibrary = 24,
    EncryptedReserved25 = 25,
    EncryptedReserved26 = 26,
};

inline constexpr std::size_t FileTypeCount = 27;

// One entry of s_ftype_descr. Each list is a run of NUL-terminated strings closed by an empty
// string (".txt\0.CAM\0.XML\0\0"), or null; the first string is the canonical one.
struct stFileTypeDescr {
    std::int32_t type;
    const char* extensions;
    const char* names;
};

// Indexed by FileType value; entry i has type i.
VAXO_API extern const stFileTypeDescr s_ftype_descr[FileTypeCount];

// The entry of a type; null outside 0..26.
VAXO_API const stFileTypeDescr* ProgTypeAttr(FileType type) noexcept;
// The canonical extension ("." included) or type name; null out of range or without a list.
VAXO_API const char* FileExt(FileType type) noexcept;
VAXO_API const char* FileTypeStr(FileType type) noexcept;

// The first type, in table order, whose canonical extension begins with `ext`, ignoring case.
// Only the canonical extension is tried, and a short key matches the first longer one
// (".iec" is Iec, ".b" is Basic, "" is Basic). Null or no match gives None.
VAXO_API FileType ProgTypeFromExt(const char* ext) noexcept;
// The first type, in table order, one of whose names equals `name` as a whole, ignoring case.
VAXO_API FileType ProgTypeFromName(const char* name) noexcept;
VAXO_API FileType ProgTypeFromName(std::string_view name) noexcept;

// The encrypted program kinds (1, 13, 24, 25, 26).
VAXO_API bool IsEncryptedType(FileType type) noexcept;

} // namespace Vaxo::Ubrix::Shared
