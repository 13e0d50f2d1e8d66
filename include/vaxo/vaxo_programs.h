/* Programs, processes, the command line, directory: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_PROGRAMS_H
#define VAXO_VAXO_PROGRAMS_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_PROGRAMS_H */
