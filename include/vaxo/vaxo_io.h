/* Digital and analogue I/O: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_IO_H
#define VAXO_VAXO_IO_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Channel value meaning "not given". */
#define VAXO_NO_CHANNEL 0xFFFFFFFFu

/* ---- Digital inputs and outputs ---------------------------------------------
 * Range forms take a first and a last channel and return the channels as a bit mask, bit 0
 * for the first channel. last must be >= first and at most 31 channels beyond it, else
 * BadArgument and nothing is sent. A last of VAXO_NO_CHANNEL reads the first channel alone.
 * vaxo_GetDIn4 with both channels VAXO_NO_CHANNEL reads inputs 0-31; vaxo_GetDOut4 needs a
 * first channel.
 * Values on error: vaxo_GetDIn4, vaxo_GetDIn32 and vaxo_GetDOut4 store the mask the controller
 * sent even when it reports an error status; vaxo_GetDOut32, the single-channel reads, the
 * analogue reads and vaxo_GetInvertIN store their value only on success and leave it as it
 * was otherwise. */

/** true when the input is on. */
VAXO_API ErrorCode vaxo_GetDIn3(VaxoHandle h, uint32_t channel, bool* on);
VAXO_API ErrorCode vaxo_GetDIn4(VaxoHandle h, uint32_t first, uint32_t last, uint32_t* mask);
/** Inputs 0-31 as a mask. */
VAXO_API ErrorCode vaxo_GetDIn32(VaxoHandle h, uint32_t* mask);
/** true when the output is on. */
VAXO_API ErrorCode vaxo_GetDOut3(VaxoHandle h, uint32_t channel, bool* on);
VAXO_API ErrorCode vaxo_GetDOut4(VaxoHandle h, uint32_t first, uint32_t last, uint32_t* mask);
/** Outputs 0-31 as a mask. */
VAXO_API ErrorCode vaxo_GetDOut32(VaxoHandle h, uint32_t* mask);
VAXO_API ErrorCode vaxo_SetDOut3(VaxoHandle h, uint32_t channel, bool on);
/** Sets outputs first..last from value, bit 0 for first. */
VAXO_API ErrorCode vaxo_SetDOut4(VaxoHandle h, uint32_t first, uint32_t last, uint32_t value);
/** Sets outputs 0-31 from a mask. */
VAXO_API ErrorCode vaxo_SetDOut32(VaxoHandle h, uint32_t value);

/* ---- Analogue channels and input inversion ----------------------------------- */

VAXO_API ErrorCode vaxo_GetAIn(VaxoHandle h, uint32_t channel, int32_t* value);
VAXO_API ErrorCode vaxo_GetAOut(VaxoHandle h, uint32_t channel, int32_t* value);
VAXO_API ErrorCode vaxo_SetAOut(VaxoHandle h, uint32_t channel, int32_t value);
/** true when the digital input is inverted. */
VAXO_API ErrorCode vaxo_GetInvertIN(VaxoHandle h, uint32_t channel, bool* on);
VAXO_API ErrorCode vaxo_SetInvertIN(VaxoHandle h, uint32_t channel, bool on);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_IO_H */
