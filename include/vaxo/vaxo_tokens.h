/* The token numbers that the by-token parameter functions take as `parameter`
 * (vaxo_GetAxisParameterDoubleValue and the other typed forms): VAXO_TOKEN_SPEED names SPEED on
 * every controller; the library turns it into that controller's own code. Compiles as C99 and
 * as C++. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_TOKENS_H
#define VAXO_VAXO_TOKENS_H

enum VaxoToken {
#define VAXO_TOKEN(name, kind) VAXO_TOKEN_##name,
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
    VAXO_TOKEN_COUNT
};

#endif /* VAXO_VAXO_TOKENS_H */
