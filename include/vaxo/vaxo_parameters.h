/* Parameters by token: the generic typed forms, system-variable strings, axis base: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_PARAMETERS_H
#define VAXO_VAXO_PARAMETERS_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_PARAMETERS_H */
