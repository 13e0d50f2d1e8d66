// The block table and its accessor, without a controller: lowest-free-slot creation, the
// limits, capacity of the mirrors, and a void accessor.
#include <gtest/gtest.h>

#include <thread>

#include "shared/prmblk/ParamBlocks.h"

using namespace Vaxo::Ubrix::Shared;

TEST(ParamBlockManager, InitialiseRefusesZeroLimits) {
    ParamBlockManager m;
    EXPECT_EQ(m.initialize(0, 5), ErrorCode::BadArgument);
    EXPECT_EQ(m.initialize(5, 0), ErrorCode::BadArgument);
    EXPECT_FALSE(m.isInitialized());
    EXPECT_EQ(m.initialize(3, 5), ErrorCode::Success);
    EXPECT_TRUE(m.isInitialized());
    EXPECT_EQ(m.maxPrmBlkCount(), 3u);
    EXPECT_EQ(m.maxPrmBlkEntriesPerBlock(), 5u);
}

TEST(ParamBlockManager, LowestFreeSlotAndLimit) {
    ParamBlockManager m;
    ASSERT_EQ(m.initialize(3, 4), ErrorCode::Success);
    {
        PrmBlkAccessor none(m, ParamBlockType::PrmBlkNone);
        EXPECT_TRUE(none.isVoid());
        EXPECT_EQ(none.handle(), -1);
        EXPECT_EQ(none.setIndices(nullptr, 0, false), ErrorCode::Fail);
        PrmBlkAccessor seven(m, ParamBlockType(7));
        EXPECT_TRUE(seven.isVoid());
    }
    int ids[3];
    for (int i = 0; i < 3; ++i) {
        PrmBlkAccessor a(m, ParamBlockType::PrmBlkVr);
        ASSERT_FALSE(a.isVoid());
        ids[i] = a.handle();
    }
    EXPECT_EQ(ids[0], 0);
    EXPECT_EQ(ids[2], 2);
    {
        PrmBlkAccessor full(m, ParamBlockType::PrmBlkTable);
        EXPECT_TRUE(full.isVoid());
    }
    {
        PrmBlkAccessor one(m, 1);
        ASSERT_FALSE(one.isVoid());
        one.clear();
        EXPECT_TRUE(one.isVoid());
    }
    PrmBlkAccessor again(m, ParamBlockType::PrmBlkIO);
    EXPECT_EQ(again.handle(), 1);
    EXPECT_EQ(again.type(), ParamBlockType::PrmBlkIO);
    PrmBlkAccessor gone(m, 9);
    EXPECT_TRUE(gone.isVoid());
}

TEST(ParamBlockManager, MirrorsKeepTheirDefinitionWithinCapacity) {
    ParamBlockManager m;
    ASSERT_EQ(m.initialize(4, 3), ErrorCode::Success);
    PrmBlkAccessor vr(m, ParamBlockType::PrmBlkVr);
    const unsigned idx[] = {4, 5, 6, 7};
    EXPECT_EQ(vr.setIndices(idx, 2, false), ErrorCode::Success);
    EXPECT_EQ(vr.setIndices(idx, 2, true), ErrorCode::CapacityExceeded);
    EXPECT_EQ(vr.size(), 2u) << "a refused update leaves the mirror as it was";
    EXPECT_EQ(vr.setIndices(idx + 2, 1, true), ErrorCode::Success);
    EXPECT_EQ(*vr.indices(), (std::vector<unsigned>{4, 5, 6}));
    EXPECT_EQ(vr.setNames(static_cast<const char* const*>(nullptr), 0, false), ErrorCode::Fail) << "not its kind";
    ASSERT_NE(vr.decimalValues(), nullptr);
    EXPECT_EQ(vr.stringValues(), nullptr);

    PrmBlkAccessor names(m, ParamBlockType::PrmBlkProgVar);
    const std::string_view views[] = {"a", "b"};
    EXPECT_EQ(names.setNames(views, 2, false), ErrorCode::Success);
    names.stringValues()[1].setValue(std::string(100, 'x'));
    EXPECT_EQ(names.stringValues()[1].view().size(), 100u);
}

TEST(ParamBlockManager, EachKindTakesItsOwnListAndValues) {
    struct Kind {
        ParamBlockType type;
        bool indices, names, ranges;                // which setter it takes
        bool variants, strings, decimals, words;    // which values it keeps
    };
    const Kind kinds[] = {
        {ParamBlockType::PrmBlkAxis, false, true, false, true, false, false, false},
        {ParamBlockType::PrmBlkSystem, false, true, false, true, false, false, false},
        {ParamBlockType::PrmBlkVr, true, false, false, false, false, true, false},
        {ParamBlockType::PrmBlkTable, true, false, false, false, false, true, false},
        {ParamBlockType::PrmBlkProgVar, false, true, false, false, true, false, false},
        {ParamBlockType::PrmBlkIO, false, false, true, false, false, false, true},
    };
    const unsigned idx[] = {1};
    const char* texts[] = {"A"};
    const std::string_view views[] = {"B"};
    const Range runs[] = {{0, 8}};
    auto result = [](bool takes) { return takes ? ErrorCode::Success : ErrorCode::Fail; };
    for (const Kind& k : kinds) {
        ParamBlockManager m;
        ASSERT_EQ(m.initialize(1, 4), ErrorCode::Success);
        PrmBlkAccessor a(m, k.type);
        ASSERT_FALSE(a.isVoid());
        const int kind = int(k.type);
        EXPECT_EQ(a.setIndices(idx, 1, false), result(k.indices)) << kind;
        EXPECT_EQ(a.setNames(texts, 1, true), result(k.names)) << kind;
        EXPECT_EQ(a.setNames(views, 1, true), result(k.names)) << kind;
        EXPECT_EQ(a.setRanges(runs, 1, true), result(k.ranges)) << kind;
        EXPECT_EQ(a.size(), k.names ? 2u : 1u) << kind << ": appended after the first";
        EXPECT_EQ(a.indices() != nullptr, k.indices) << kind;
        EXPECT_EQ(a.names() != nullptr, k.names) << kind;
        EXPECT_EQ(a.ranges() != nullptr, k.ranges) << kind;
        EXPECT_EQ(a.nvariantValues() != nullptr, k.variants) << kind;
        EXPECT_EQ(a.stringValues() != nullptr, k.strings) << kind;
        EXPECT_EQ(a.decimalValues() != nullptr, k.decimals) << kind;
        EXPECT_EQ(a.uint64Values() != nullptr, k.words) << kind;
        if (k.names) {
            EXPECT_EQ(*a.names(), (std::vector<std::string>{"A", "B"})) << kind;
        }
    }
}

TEST(ParamBlockManager, AccessorSerialisesOneBlock) {
    ParamBlockManager m;
    ASSERT_EQ(m.initialize(2, 2), ErrorCode::Success);
    int id;
    { PrmBlkAccessor a(m, ParamBlockType::PrmBlkVr); id = a.handle(); }
    int inside = 0, maxInside = 0;
    auto work = [&] {
        for (int i = 0; i < 200; ++i) {
            PrmBlkAccessor a(m, id);
            maxInside = std::max(maxInside, ++inside);
            --inside;
        }
    };
    std::thread t1(work), t2(work);
    t1.join();
    t2.join();
    EXPECT_EQ(maxInside, 1);
    m.clear();
    EXPECT_EQ(m.slotCount(), 0u);
}
