// File types: the prefix rule of the extension lookup, the whole-name rule of the name
// lookup, and the table itself.
#include "shared/filetype/FileType.h"
#include "shared/filetype/IEquals.h"

#include <gtest/gtest.h>

#include <string>

using namespace Vaxo::Ubrix::Shared;

namespace {

TEST(FileTypeLookup, ExtensionIsAPrefixTestOnTheCanonicalExtension) {
    const struct {
        const char* ext;
        int type;
    } cases[] = {
        {".bas", 0}, {".BAS", 0}, {".bAs", 0}, {".basx", -1}, {"bas", -1},
        {".iec", 4}, {".ieclib", 10}, {".IECLIB", 10}, {".hmi", 11}, {".hmil", 14},
        {".rbs", 17}, {".rbslib", 20}, {".rob", 16}, {".roblib", 19}, {".b", 0}, {"", 0},
        {".txt", 3}, {".CAM", -1}, {".XML", -1}, {".zip", -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(int(ProgTypeFromExt(c.ext)), c.type) << '"' << c.ext << '"';
    EXPECT_EQ(ProgTypeFromExt(nullptr), FileType::None);
}

TEST(FileTypeLookup, NameIsAWholeStringTestOverEveryName) {
    const struct {
        std::string_view name;
        int type;
    } cases[] = {
        {"CAM", 3}, {"cam", 3}, {"textFile", 3}, {"TEXTFILE", 3}, {"mvconfig", 9}, {"IEC", 4},
        {"ieclib", 10}, {"encryptedRealtimeBasicLibrary", 24}, {"", -1}, {"basi", -1}, {"basicx", -1},
        // A view need not be terminated: only its own characters count.
        {std::string_view("robotBasicLibrary", 10), 17}, {std::string_view("basicLibrary", 5), 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(int(ProgTypeFromName(c.name)), c.type) << '"' << c.name << '"';
        EXPECT_EQ(int(ProgTypeFromName(std::string(c.name).c_str())), c.type) << '"' << c.name << '"';
    }
    EXPECT_EQ(ProgTypeFromName(static_cast<const char*>(nullptr)), FileType::None);
}

TEST(FileTypeTable, CanonicalTextsRoundTripAndRangesAreChecked) {
    EXPECT_STREQ(FileExt(FileType::TextFile), ".txt");
    EXPECT_STREQ(FileTypeStr(FileType::TextFile), "textFile");
    for (int v : {-1, 27, 1000})
        EXPECT_EQ(ProgTypeAttr(FileType(v)), nullptr) << v;
    for (int v : {5, 27, -1}) {
        EXPECT_EQ(FileExt(FileType(v)), nullptr) << v;
        EXPECT_EQ(FileTypeStr(FileType(v)), nullptr) << v;
    }
    EXPECT_EQ(std::uint32_t(FileType::None), 0xFFFFFFFFu);

    std::string withoutLists;
    for (int v = 0; v < int(FileTypeCount); ++v) {
        const FileType t = FileType(v);
        ASSERT_NE(ProgTypeAttr(t), nullptr);
        EXPECT_EQ(ProgTypeAttr(t)->type, v);
        EXPECT_EQ(FileExt(t) == nullptr, FileTypeStr(t) == nullptr) << v;
        if (FileExt(t) == nullptr) {
            withoutLists += std::to_string(v) + ' ';
            continue;
        }
        EXPECT_EQ(ProgTypeFromExt(FileExt(t)), t) << FileExt(t);
        EXPECT_EQ(ProgTypeFromName(FileTypeStr(t)), t) << FileTypeStr(t);
    }
    EXPECT_EQ(withoutLists, "5 7 18 25 26 ");

    // Type 3 keeps its second and third entries: ".CAM"/".XML" and "CAM"/"textFile".
    const stFileTypeDescr* text = ProgTypeAttr(FileType::TextFile);
    EXPECT_EQ(std::string(text->extensions, 15), std::string(".txt\0.CAM\0.XML\0", 15));
    EXPECT_EQ(std::string(text->names, 23), std::string("textFile\0CAM\0textFile\0", 23));
}

TEST(FileTypeTable, EncryptedKinds) {
    std::string encrypted;
    for (int v = -1; v <= int(FileTypeCount); ++v)
        if (IsEncryptedType(FileType(v)))
            encrypted += std::to_string(v) + ' ';
    EXPECT_EQ(encrypted, "1 13 24 25 26 ");
}

TEST(IEquals, PrefixAndWholeStringOverloadsDiffer) {
    EXPECT_TRUE(iequals("ab", "ABC"));
    EXPECT_FALSE(iequals("ABC", "ab"));
    EXPECT_TRUE(iequals("", "x"));
    EXPECT_FALSE(iequals("a", ""));
    EXPECT_FALSE(iequals(std::string_view("ab"), std::string_view("ABC")));
    EXPECT_TRUE(iequals(std::string_view("MvConfig"), std::string_view("mvCONFIG")));
    // Only letters fold: '@' and '`', '[' and '{' differ by the case bit but are not letters.
    EXPECT_FALSE(iequals("@", "`"));
    EXPECT_FALSE(iequals(std::string_view("["), std::string_view("{")));
    EXPECT_FALSE(iequals(std::string_view("\xC4"), std::string_view("\xE4")));
}

} // namespace
