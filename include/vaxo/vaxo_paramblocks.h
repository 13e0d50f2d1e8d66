/* Parameter blocks: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_PARAMBLOCKS_H
#define VAXO_VAXO_PARAMBLOCKS_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Parameter blocks ------------------------------------------------------
 * A parameter block is a list of controller values defined once and then read in one
 * exchange, all of them or only those changed since the last read. Defines write the new
 * block's identifier (-1 on failure); appends add entries to an existing block. A changed
 * fetch writes values[index] for every index the controller reports below the capacity (one at
 * or above the block size too) and sets bit (index mod 64) of the mask; an index at or above the
 * capacity is BufferTooSmall. Outputs of entries not reported keep their contents. */

/** VR and TABLE blocks: indices, in the order given; a run of three or more ascending neighbours
 *  is sent as first RANGE last, a shorter one as single numbers (5, 6 as 5 , 6). */
VAXO_API ErrorCode vaxo_ParamBlockDefineVr(VaxoHandle h, uint32_t* indices, uint32_t count, int32_t* block);
VAXO_API ErrorCode vaxo_ParamBlockAppendVr(VaxoHandle h, int32_t block, uint32_t* indices, uint32_t count);
VAXO_API ErrorCode vaxo_ParamBlockDefineTable(VaxoHandle h, uint32_t* indices, uint32_t count, int32_t* block);
VAXO_API ErrorCode vaxo_ParamBlockAppendTable(VaxoHandle h, int32_t block, uint32_t* indices, uint32_t count);
/** Axis and system parameter blocks: parameter names, "NAME" or "NAME(n)". */
VAXO_API ErrorCode vaxo_ParamBlockDefineAxis(VaxoHandle h, const char** names, uint32_t count, int32_t* block);
VAXO_API ErrorCode vaxo_ParamBlockAppendAxis(VaxoHandle h, int32_t block, const char** names, uint32_t count);
VAXO_API ErrorCode vaxo_ParamBlockDefineSystem(VaxoHandle h, const char** names, uint32_t count, int32_t* block);
VAXO_API ErrorCode vaxo_ParamBlockAppendSystem(VaxoHandle h, int32_t block, const char** names, uint32_t count);
/** Digital I/O blocks: runs of at most 64 channels, one 64-bit word each. */
VAXO_API ErrorCode vaxo_ParamBlockDefineIO(VaxoHandle h, Range* ranges, uint32_t count, int32_t* block);
VAXO_API ErrorCode vaxo_ParamBlockAppendIO(VaxoHandle h, int32_t block, Range* ranges, uint32_t count);
/** Program-variable blocks: program name, a qualifier passed to the controller, variable names. */
VAXO_API ErrorCode vaxo_ParamBlockDefineProgVar(VaxoHandle h, const char* program, int32_t qualifier,
                                                const char** names, uint32_t count, int32_t* block);
VAXO_API ErrorCode vaxo_ParamBlockAppendProgVar(VaxoHandle h, int32_t block, const char* program, int32_t qualifier,
                                                const char** names, uint32_t count);

/** Fetch all values, or the changed ones, into values[0 .. capacity). */
VAXO_API ErrorCode vaxo_ParamBlockFetchAllVr(VaxoHandle h, int32_t block, double* values, uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedVr(VaxoHandle h, int32_t block, double* values, uint32_t capacity,
                                                 uint64_t* changed);
VAXO_API ErrorCode vaxo_ParamBlockFetchAllTable(VaxoHandle h, int32_t block, double* values, uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedTable(VaxoHandle h, int32_t block, double* values, uint32_t capacity,
                                                    uint64_t* changed);
VAXO_API ErrorCode vaxo_ParamBlockFetchAllSystem(VaxoHandle h, int32_t block, double* values, uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedSystem(VaxoHandle h, int32_t block, double* values, uint32_t capacity,
                                                     uint64_t* changed);
/** Axis parameter blocks for one axis (a), a run of axes (b), a list of axes (6a/7a) or a list of
 * runs (6b/7b). With several axes the values of each axis follow one another (block size each)
 * and changed holds one mask per axis: a reported index i belongs to axis i / (block size), an
 * index beyond the last axis to the last one, and sets bit (i - axis x block size) mod 64. */
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam5a(VaxoHandle h, int32_t block, int32_t axis, double* values,
                                                      uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam5b(VaxoHandle h, int32_t block, Range axes, double* values,
                                                      uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam6a(VaxoHandle h, int32_t block, int32_t* axes, uint32_t axisCount,
                                                      double* values, uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam6b(VaxoHandle h, int32_t block, Range* axisRanges,
                                                      uint32_t rangeCount, double* values, uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam6a(VaxoHandle h, int32_t block, int32_t axis, double* values,
                                                          uint32_t capacity, uint64_t* changed);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam6b(VaxoHandle h, int32_t block, Range axes, double* values,
                                                          uint32_t capacity, uint64_t* changed);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam7a(VaxoHandle h, int32_t block, int32_t* axes,
                                                          uint32_t axisCount, double* values, uint32_t capacity,
                                                          uint64_t* changed);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam7b(VaxoHandle h, int32_t block, Range* axisRanges,
                                                          uint32_t rangeCount, double* values, uint32_t capacity,
                                                          uint64_t* changed);
/** I/O blocks: the flag goes to the controller as 1 or 0; the words are read in base 16. */
VAXO_API ErrorCode vaxo_ParamBlockFetchAllIO(VaxoHandle h, int32_t block, bool flag, uint64_t* values,
                                             uint32_t capacity);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedIO(VaxoHandle h, int32_t block, bool flag, uint64_t* values,
                                                 uint32_t capacity, uint64_t* changed);
/** Program-variable blocks: the texts stay in the block; read them with ParamBlockGetProg*Value. */
VAXO_API ErrorCode vaxo_ParamBlockFetchAllProgVar(VaxoHandle h, int32_t block);
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedProgVar(VaxoHandle h, int32_t block, uint64_t* changed);

/** The last fetched text of one program variable, converted (integers in base 10). */
VAXO_API ErrorCode vaxo_ParamBlockGetProgDoubleValue(VaxoHandle h, int32_t block, uint32_t entry, double* value);
VAXO_API ErrorCode vaxo_ParamBlockGetProgInt64Value(VaxoHandle h, int32_t block, uint32_t entry, int64_t* value);
VAXO_API ErrorCode vaxo_ParamBlockGetProgUInt64Value(VaxoHandle h, int32_t block, uint32_t entry, uint64_t* value);
VAXO_API ErrorCode vaxo_ParamBlockGetProgInt32Value(VaxoHandle h, int32_t block, uint32_t entry, int32_t* value);
VAXO_API ErrorCode vaxo_ParamBlockGetProgUInt32Value(VaxoHandle h, int32_t block, uint32_t entry, uint32_t* value);
/** "TRUE" and "ON" read as true, "FALSE" and "OFF" as false, in any case; any other text is read
 *  as a number (integer or real), true when non-zero; text that is no number is BadArgument. */
VAXO_API ErrorCode vaxo_ParamBlockGetProgBoolValue(VaxoHandle h, int32_t block, uint32_t entry, bool* value);
/** The text itself: into a buffer with an in/out size (size needed returned, BufferTooSmall
 * when it does not fit), or once to a callback. */
VAXO_API ErrorCode vaxo_ParamBlockGetProgStrValue5a(VaxoHandle h, int32_t block, uint32_t entry, char* buffer,
                                                    uint32_t* size);
VAXO_API ErrorCode vaxo_ParamBlockGetProgStrValue5b(VaxoHandle h, int32_t block, uint32_t entry, VaxoTextCb cb,
                                                    void* user);

/** Delete one block, or every block, on the controller. The local identifier is not reused. */
VAXO_API ErrorCode vaxo_ParamBlockDelete(VaxoHandle h, int32_t block);
VAXO_API ErrorCode vaxo_ParamBlockDeleteAll(VaxoHandle h);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_PARAMBLOCKS_H */
