// Every motion flat function refuses a null handle; the list forms refuse a count without values.
#include "NullCases.h"

using namespace vaxotest;

TEST(MotionNull, EveryFunctionRefusesANullHandle) {
    static double v[3] = {1, 2, 3};
    static int32_t mode = 1;
    const std::vector<Call> calls = {
        [](VaxoHandle h) { return vaxo_MoveRel(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_MoveAbs(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_MoveRelSp(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_MoveAbsSp(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_MoveRelMulti(h, v, 3, 0); },
        [](VaxoHandle h) { return vaxo_MoveAbsMulti(h, v, 3, 0); },
        [](VaxoHandle h) { return vaxo_MoveRelSpMulti(h, v, 3, 0); },
        [](VaxoHandle h) { return vaxo_MoveAbsSpMulti(h, v, 3, 0); },
        [](VaxoHandle h) { return vaxo_MoveRelSeq(h, 0, 1, 2, 3, 4, 5, 6, 7); },
        [](VaxoHandle h) { return vaxo_MoveAbsSeq(h, 0, 1, 2, 3, 4, 5, 6, 7); },
        [](VaxoHandle h) { return vaxo_MoveModify(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_MoveCirc(h, 0, 1, 2, 3, 4, 1); },
        [](VaxoHandle h) { return vaxo_MoveCircSp(h, 0, 1, 2, 3, 4, 1, 5, -1); },
        [](VaxoHandle h) { return vaxo_MoveHelical(h, 0, 1, 2, 3, 4, 1, 5, -1); },
        [](VaxoHandle h) { return vaxo_MoveHelicalSp(h, 0, 1, 2, 3, 4, 1, 5, -1, 0, -1); },
        [](VaxoHandle h) { return vaxo_MoveSpherical(h, 0, 1, 2, 3, 4, 5, 6, 0); },
        [](VaxoHandle h) { return vaxo_MoveSphericalSp(h, 0, 1, 2, 3, 4, 5, 6, 0, 0, -1); },
        [](VaxoHandle h) { return vaxo_MovePick(h, 1, 2, -1, 0); },
        [](VaxoHandle h) { return vaxo_MoveLink(h, 1, 2, 3, 4, 5, -1, 0, 0); },
        [](VaxoHandle h) { return vaxo_Forward(h, 0); },
        [](VaxoHandle h) { return vaxo_Reverse(h, 0); },
        [](VaxoHandle h) { return vaxo_Cancel(h, 0, 0); },
        [](VaxoHandle h) { return vaxo_RapidStop(h, &mode); },
        [](VaxoHandle h) { return vaxo_Datum(h, 0, 0); },
        [](VaxoHandle h) { return vaxo_DefPos(h, 0, 0); },
        [](VaxoHandle h) { return vaxo_DefPosMulti(h, v, 3, 0); },
        [](VaxoHandle h) { return vaxo_Connect(h, 1, 1, 0, 0); },
        [](VaxoHandle h) { return vaxo_ConnPath(h, 1, 1, 0); },
        [](VaxoHandle h) { return vaxo_Cam(h, 0, 1, 2, 3, 0); },
        [](VaxoHandle h) { return vaxo_CamBox(h, 0, 1, 2, 3, 4, -1, 0, 0); },
        [](VaxoHandle h) { return vaxo_CamBoxMulti(h, v, 3, 0); },
        [](VaxoHandle h) { return vaxo_AddAx2(h, 1); },
        [](VaxoHandle h) { return vaxo_AddAx3(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_AddDac2(h, 1); },
        [](VaxoHandle h) { return vaxo_AddDac3(h, 1, 0); },
        [](VaxoHandle h) { return vaxo_Backlash(h, 1, 2, 3, 0); },
        [](VaxoHandle h) { return vaxo_BacklashDisable(h, 0); },
        [](VaxoHandle h) { return vaxo_EncoderRatio(h, 1, 2, 0); },
        [](VaxoHandle h) { return vaxo_StepRatio(h, 1, 2, 0); },
        [](VaxoHandle h) { return vaxo_SetMotion3(h, 1, 2); },
        [](VaxoHandle h) { return vaxo_SetMotion4(h, 1, 2, 3); },
        [](VaxoHandle h) { return vaxo_SetMotion5(h, 1, 2, 3, 4); },
        [](VaxoHandle h) { return vaxo_SetMotion6(h, 1, 2, 3, 4, 5); },
        [](VaxoHandle h) { return vaxo_SetMotionSp3(h, 1, 2); },
        [](VaxoHandle h) { return vaxo_SetMotionSp4(h, 1, 2, 3); },
        [](VaxoHandle h) { return vaxo_SetMotionSp5(h, 1, 2, 3, 4); },
        [](VaxoHandle h) { return vaxo_SetMotionSp6(h, 1, 2, 3, 4, 5); },
        [](VaxoHandle h) { return vaxo_SetMotionSp7(h, 1, 2, 3, 4, 5, 6); },
        [](VaxoHandle h) { return vaxo_SetMotionSp8(h, 1, 2, 3, 4, 5, 6, 7); },
        [](VaxoHandle h) { return vaxo_SetMotionSp9(h, 1, 2, 3, 4, 5, 6, 7, 8); },
        [](VaxoHandle h) { return vaxo_SetMotionSp10(h, 1, 2, 3, 4, 5, 6, 7, 8, 9); },
    };
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_EQ(calls[i](nullptr), kConnectionContext) << "function " << i;
}

// The motion functions have no out-pointers or result callbacks; their input lists are the
// pointers that must not be null when a count says values are there.
TEST(MotionNull, ListWithoutValuesIsABadArgument) {
    const VersionInfo version{1, 2, 1, 1196};
    VaxoHandle h = nullptr;
    ASSERT_EQ(vaxo_CreateContext(&version, nullptr, nullptr, &h), 0u);
    const std::vector<Call> calls = {
        [](VaxoHandle c) { return vaxo_MoveRelMulti(c, nullptr, 1, 0); },
        [](VaxoHandle c) { return vaxo_MoveAbsMulti(c, nullptr, 1, 0); },
        [](VaxoHandle c) { return vaxo_MoveRelSpMulti(c, nullptr, 1, 0); },
        [](VaxoHandle c) { return vaxo_MoveAbsSpMulti(c, nullptr, 1, 0); },
        [](VaxoHandle c) { return vaxo_DefPosMulti(c, nullptr, 1, 0); },
        [](VaxoHandle c) { return vaxo_CamBoxMulti(c, nullptr, 1, 0); },
    };
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i](h), kBadArgument) << "function " << i;
        EXPECT_EQ(calls[i](nullptr), kConnectionContext) << "function " << i << ": the handle is checked first";
    }
    // Not connected: the optional RapidStop mode may be null.
    EXPECT_EQ(vaxo_RapidStop(h, nullptr), 0x0100000015ull);
    vaxo_DestroyContext(h);
}
