/* Parameter blocks: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_PARAMBLOCKS_H
#define VAXO_VAXO_PARAMBLOCKS_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_PARAMBLOCKS_H */
