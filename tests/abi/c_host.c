/* A host written in C: the public header compiles as C99, and a context goes through its
 * life without a controller. */
#include <stdio.h>
#include <string.h>

#include <vaxo/vaxo.h>
#include <vaxo/vaxox.h>

static char text[256];

static void on_text(void* user, const char* t, uint32_t length) {
    (void)user;
    if (length >= sizeof text)
        length = sizeof text - 1;
    memcpy(text, t, length);
    text[length] = 0;
}

static void on_event(void* user, uint32_t type, uint64_t value, const char* t, uint32_t length) {
    (void)user;
    fprintf(stderr, "event %u 0x%llx %.*s\n", type, (unsigned long long)value, (int)length, t);
}

int main(void) {
    VersionInfo v = {1, 2, 1, 1196};
    VaxoHandle h = NULL;
    if (vaxo_CreateContext(&v, on_event, NULL, &h) != 0 || h == NULL)
        return 1;
    if (vaxo_GetApiVersionStr(h, on_text, NULL) != 0 || strcmp(text, "1.2.1-rc1+b8ba2783") != 0)
        return 2;
    vaxo_GetErrorString(0x0400000013ull, on_text, NULL);
    printf("0x0400000013: %s\n", text);
    if (strlen(text) == 0)
        return 3;
    vaxox_GetErrorName(0x02FFFFFFFFull, on_text, NULL);
    if (strcmp(text, "UnknownError") != 0)
        return 7;
    vaxox_GetErrorName(0x0200000002ull, on_text, NULL);
    if (strcmp(text, "SysErr_2") != 0)
        return 8;
    /* The token numbers of the by-token functions come from the installed list. */
    if (VAXO_TOKEN_SPEED != 197 || VAXO_TOKEN_COUNT != 401)
        return 9;
    if (vaxo_IsConnected(h) || vaxo_GetConnectionType(h) != 1)
        return 4;
    if (vaxo_DestroyContext(h) != 0)
        return 5;
    if (vaxo_DestroyContext(NULL) != 0x8100000004ull)
        return 6;
    printf("C host OK\n");
    return 0;
}
