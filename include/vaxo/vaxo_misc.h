/* Scope, frame groups, triggers, position switches, registration, project keys: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_MISC_H
#define VAXO_VAXO_MISC_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_MISC_H */
