// The file type table and its lookups.
#include "shared/filetype/FileType.h"

#include "shared/filetype/IEquals.h"

namespace Vaxo::Ubrix::Shared {

// Type 3 lists "textFile" twice, around "CAM": the name lookup walks it as it stands.
constexpr stFileTypeDescr s_ftype_descr[FileTypeCount] = {
    {0, ".bas\0", "basic\0"},
    {1, ".enc\0", "encryptedBasic\0"},
    {2, ".gco\0", "gCode\0"},
    {3, ".txt\0.CAM\0.XML\0", "textFile\0CAM\0textFile\0"},
    {4, ".iec\0", "IEC\0"},
    {5, nullptr, nullptr},
    {6, ".tmp\0", "temp\0"},
    {7, nullptr, nullptr},
    {8, ".bin\0", "binary\0"},
    {9, ".mvc\0", "mvConfig\0"},
    {10, ".ieclib\0", "IECLIB\0"},
    {11, ".hmi\0", "HMI\0"},
    {12, ".bal\0", "basicLibrary\0"},
    {13, ".ebl\0", "encryptedBasicLibrary\0"},
    {14, ".hmilib\0", "HMILIB\0"},
    {15, ".vtx\0", "volatileText\0"},
    {16, ".rob\0", "robot\0"},
    {17, ".rbs\0", "robotBasic\0"},
    {18, nullptr, nullptr},
    {19, ".roblib\0", "robotLibrary\0"},
    {20, ".rbslib\0", "robotBasicLibrary\0"},
    {21, ".recp\0", "recipe\0"},
    {22, ".alrm\0", "alarms\0"},
    {23, ".rtlib\0", "realtimeBasicLibrary\0"},
    {24, ".ertlib\0", "encryptedRealtimeBasicLibrary\0"},
    {25, nullptr, nullptr},
    {26, nullptr, nullptr},
};

namespace {

constexpr bool entriesIndexed() {
    for (std::size_t i = 0; i < FileTypeCount; ++i)
        if (s_ftype_descr[i].type != std::int32_t(i))
            return false;
    return true;
}
static_assert(entriesIndexed(), "s_ftype_descr is indexed by FileType value");

// Next string of a list; the list ends at the empty string.
constexpr const char* nextString(const char* s) noexcept {
    while (*s != '\0')
        ++s;
    return s + 1;
}

} // namespace

const stFileTypeDescr* ProgTypeAttr(FileType type) noexcept {
    const auto v = std::int32_t(type);
    return (v < 0 || v >= std::int32_t(FileTypeCount)) ? nullptr : &s_ftype_descr[v];
}

const char* FileExt(FileType type) noexcept {
    const stFileTypeDescr* d = ProgTypeAttr(type);
    return d ? d->extensions : nullptr;
}

const char* FileTypeStr(FileType type) noexcept {
    const stFileTypeDescr* d = ProgTypeAttr(type);
    return d ? d->names : nullptr;
}

FileType ProgTypeFromExt(const char* ext) noexcept {
    if (ext == nullptr)
        return FileType::None;
    for (const stFileTypeDescr& d : s_ftype_descr)
        if (d.extensions != nullptr && iequals(ext, d.extensions)) // canonical extension only
            return FileType(d.type);
    return FileType::None;
}

FileType ProgTypeFromName(const char* name) noexcept {
    return name == nullptr ? FileType::None : ProgTypeFromName(std::string_view(name));
}

FileType ProgTypeFromName(std::string_view name) noexcept {
    for (const stFileTypeDescr& d : s_ftype_descr) {
        if (d.names == nullptr)
            continue;
        for (const char* s = d.names; *s != '\0'; s = nextString(s))
            if (iequals(name, std::string_view(s)))
                return FileType(d.type);
    }
    return FileType::None;
}

bool IsEncryptedType(FileType type) noexcept {
    switch (type) {
    case FileType::EncryptedBasic:
    case FileType::EncryptedBasicLibrary:
    case FileType::EncryptedRealtimeBasicLibrary:
    case FileType::EncryptedReserved25:
    case FileType::EncryptedReserved26:
        return true;
    default:
        return false;
    }
}

} // namespace Vaxo::Ubrix::Shared
