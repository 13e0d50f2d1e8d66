// Directory, process-list and frame-group replies.
#include "FeedHelpers.h"

#include "shared/parsers/FrameGroupReplyParser.h"
#include "shared/parsers/ListReplyParsers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace Vaxo::Ubrix::Shared;
using namespace std::string_literals;
using ParserTest::feedBytes;

namespace {

struct Listed {
    std::vector<FileInfo> infos;
    std::vector<std::string> names;
};

struct DirCase {
    const char* name;
    std::string input;
    ErrorCode error;
    bool done;
    char last;
    std::vector<std::string> names;
};

class DirListing : public testing::TestWithParam<DirCase> {};

TEST_P(DirListing, ReportsEntriesBetweenHeaderAndEnd) {
    const auto& c = GetParam();
    Listed got;
    auto onFile = [&](FileInfo fi, std::string_view n) {
        got.infos.push_back(fi);
        got.names.emplace_back(n);
    };
    DirReplyParser parser(onFile);
    auto r = feedBytes(parser, c.input);
    EXPECT_EQ(r.error, c.error);
    EXPECT_EQ(parser.IsDone(), c.done);
    if (c.done) {
        EXPECT_EQ(parser.LastChar(), c.last);
    }
    EXPECT_EQ(got.names, c.names);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DirListing,
    testing::Values(
        DirCase{"HeaderEntriesOk", "NAME,SIZE\r\nMAIN,10,20,-3,4,0,1\r\nsub , 1,2,3,4,5,6\r\nok\r\n", ErrorCode::Success,
                true, '\n', {"MAIN", "sub"}},
        DirCase{"EmptyDirectory", "hdr\r\nOK\r\n", ErrorCode::Success, true, '\n', {}},
        DirCase{"EndsAtZero", "hdr\nA,1,2,3,4,5,6\n\0"s, ErrorCode::Success, true, '\0', {"A"}},
        DirCase{"TableIsNoFile", "hdr\ntable,1,2,3,4,5,6\n", ErrorCode::BadResponse, false, 0, {}},
        DirCase{"MissingItem", "hdr\nA,1,2,3,4,5\n", ErrorCode::BadResponse, false, 0, {}},
        DirCase{"NegativeSize", "hdr\nA,-1,2,3,4,5,6\n", ErrorCode::BadResponse, false, 0, {}},
        DirCase{"NotANumber", "hdr\nA,1,2,x,4,5,6\n", ErrorCode::BadResponse, false, 0, {}},
        DirCase{"LineTooLong", "hdr\n" + std::string(1024, 'A') + "\n", ErrorCode::BadResponse, false, 0, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(DirReplyParser, FieldsFlagsAndNameCut) {
    Listed got;
    auto onFile = [&](FileInfo fi, std::string_view n) {
        got.infos.push_back(fi);
        got.names.emplace_back(n);
    };
    DirReplyParser parser(onFile);
    const std::string longName(200, 'N');
    feedBytes(parser, "hdr\n" + longName + ",4000000000,7,-9,12,99,-1\n\0"s);
    ASSERT_EQ(got.infos.size(), 1u);
    const FileInfo& fi = got.infos[0];
    EXPECT_EQ(fi.type, 12);
    EXPECT_EQ(fi.size, 4000000000u);
    EXPECT_EQ(fi.crc, 7u);
    EXPECT_EQ(fi.lines, -9);
    EXPECT_EQ(fi.flags, FileFlags::HasField6 | FileFlags::HasField7);
    EXPECT_EQ(got.names[0], longName.substr(0, 131));
}

TEST(ProcessReplyParser, EntriesMarkerAndMissingLoad) {
    std::vector<ProcessInfo> infos;
    std::vector<std::string> names;
    auto onProc = [&](ProcessInfo pi, std::string_view n) {
        infos.push_back(pi);
        names.emplace_back(n);
    };
    ProcessReplyParser parser(onProc);
    auto r = feedBytes(parser, "\r\n  \n1,MAIN,2,3,40,18446744073709551615,6,12.5\n"
                               "2, IDLE ,0,0,0,0,0,,*\n3,X,0,0,0,0,0,*\n\0"s);
    EXPECT_EQ(r.error, ErrorCode::Success);
    EXPECT_TRUE(parser.IsDone());
    EXPECT_EQ(parser.LastChar(), '\0');
    ASSERT_EQ(infos.size(), 3u);
    EXPECT_EQ(names, (std::vector<std::string>{"MAIN", "IDLE", "X"}));
    EXPECT_EQ(infos[0].process, 1);
    EXPECT_EQ(infos[0].line, 40);
    EXPECT_EQ(infos[0].ticks, UINT64_MAX);
    EXPECT_EQ(infos[0].load, 12.5);
    EXPECT_EQ(infos[0].flags, ProcessFlags::None);
    EXPECT_TRUE(std::isnan(infos[1].load));
    EXPECT_EQ(infos[1].flags, ProcessFlags::Marked);
    EXPECT_TRUE(std::isnan(infos[2].load));
    EXPECT_EQ(infos[2].flags, ProcessFlags::Marked);

    ProcessReplyParser bad(onProc);
    EXPECT_EQ(feedBytes(bad, "1,MAIN,2,3\n"s).error, ErrorCode::BadResponse);
    std::uint32_t consumed = 1;
    EXPECT_EQ(bad.Feed("\n", 1, consumed), ErrorCode::BadResponse) << "the error sticks";
    EXPECT_EQ(consumed, 0u);
}

struct GroupCase {
    const char* name;
    std::string input;
    std::uint32_t capacity;
    ErrorCode error;
    std::size_t used;
    std::uint32_t group, bracketed;
    std::vector<int> elements;
};

class FrameGroup : public testing::TestWithParam<GroupCase> {};

TEST_P(FrameGroup, Parses) {
    const auto& c = GetParam();
    std::vector<int> array(c.capacity + 1, -1);
    std::uint32_t count = 99;
    FrameGroupReplyParser::ReadGroupData data;
    data.array = array.data();
    data.count = &count;
    data.capacity = c.capacity;
    FrameGroupReplyParser parser;
    parser.Start(&data);
    auto r = feedBytes(parser, c.input);
    EXPECT_EQ(r.error, c.error);
    EXPECT_EQ(r.used, c.used);
    EXPECT_EQ(array[c.capacity], -1) << "wrote past the capacity";
    if (c.error != ErrorCode::Success)
        return;
    EXPECT_TRUE(parser.IsDone());
    EXPECT_EQ(data.group, c.group);
    EXPECT_EQ(data.bracketed, c.bracketed);
    EXPECT_EQ(std::vector<int>(array.begin(), array.begin() + count), c.elements);
}

const std::string digits513(513, '1');

INSTANTIATE_TEST_SUITE_P(
    Cases, FrameGroup,
    testing::Values(
        GroupCase{"ThreeElements", "3 [2]: 1,2,3\n", 8, ErrorCode::Success, 13, 3, 2, {1, 2, 3}},
        GroupCase{"BlanksInsideNumber", "3 [2]: 1 0\0"s, 8, ErrorCode::Success, 11, 3, 2, {10}},
        GroupCase{"NoBlanksEmptyList", "7[0]:\nrest", 8, ErrorCode::Success, 6, 7, 0, {}},
        GroupCase{"EmptyItemsSkipped", "1 [3] :4,,5\r\n", 8, ErrorCode::Success, 12, 1, 3, {4, 5}},
        GroupCase{"ArrayFull", "1[2]:1,2,3\n", 2, ErrorCode::BufferTooSmall, 11, 0, 0, {}},
        GroupCase{"NoLeadingNumber", "[2]:1\n", 8, ErrorCode::BadResponse, 1, 0, 0, {}},
        GroupCase{"WrongBracket", "3 (2):1\n", 8, ErrorCode::BadResponse, 3, 0, 0, {}},
        GroupCase{"EmptyBrackets", "3 []:1\n", 8, ErrorCode::BadResponse, 4, 0, 0, {}},
        GroupCase{"MissingColon", "3 [2] 1\n", 8, ErrorCode::BadResponse, 7, 0, 0, {}},
        GroupCase{"TooManyDigits", digits513 + " [1]:1\n", 8, ErrorCode::BadResponse, 513, 0, 0, {}},
        GroupCase{"ElementOverflow", "1[1]:99999999999\n", 8, ErrorCode::BadResponse, 17, 0, 0, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(FrameGroupReplyParser, ElementsToCallableWithoutArray) {
    std::vector<int> seen;
    FrameGroupReplyParser::ReadGroupData data;
    data.onElement = [&](int v) { seen.push_back(v); };
    FrameGroupReplyParser parser;
    parser.Start(&data);
    EXPECT_EQ(feedBytes(parser, "2 [3]: 10, 20 ,30\n"s).error, ErrorCode::Success);
    EXPECT_EQ(seen, (std::vector<int>{10, 20, 30}));
    EXPECT_EQ(parser.LastChar(), '\n');
}

} // namespace
