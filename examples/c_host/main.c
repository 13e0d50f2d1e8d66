/* A C host: opens a controller, writes and reads VRs, reads a named parameter, runs a command
 * line, lists the directory, closes.  Usage: c_host [host [port]] */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vaxo/vaxo.h>

static void on_text(void* user, const char* text, uint32_t length) {
    snprintf((char*)user, 256, "%.*s", (int)length, text);
}

static void on_file(void* user, const VaxoFileInfo* info, const char* name) {
    (void)user;
    printf("  %-12s %u bytes\n", name, (unsigned)info->size);
}

/* Every event of the library (errors, warnings, information); here only errors are shown. */
static void on_event(void* user, uint32_t type, uint64_t value, const char* text, uint32_t length) {
    (void)user;
    if (type == 0)
        fprintf(stderr, "event: 0x%010llx %.*s\n", (unsigned long long)value, (int)length, text);
}

static int check(ErrorCode e, const char* what) {
    char text[256] = "";
    if (e == 0)
        return 0;
    vaxo_GetErrorString(e, on_text, text);
    fprintf(stderr, "%s failed: 0x%010llx %s\n", what, (unsigned long long)e, text);
    return 1;
}

int main(int argc, char** argv) {
    const char* host = argc > 1 ? argv[1] : "127.0.0.1";
    const uint16_t port = (uint16_t)(argc > 2 ? atoi(argv[2]) : 3240);
    const VersionInfo version = {1, 2, 1, 1196};
    VaxoHandle h = NULL;
    char text[256] = "";
    double v = 0, type = 0;
    int rc = 1;

    if (check(vaxo_CreateContext(&version, on_event, NULL, &h), "CreateContext"))
        return 1;
    vaxo_SetTcpHostName(h, host);
    vaxo_SetTcpPort(h, port);
    vaxo_SetTcpConnectTimeout(h, 3000);
    if (check(vaxo_OpenConnection(h), "OpenConnection"))
        goto done;
    vaxo_GetApiVersionStr(h, on_text, text);
    if (check(vaxo_GetSystemParameter_CONTROL(h, &type), "CONTROL"))
        goto done;
    printf("c_host: library %s, controller type %.0f\n", text, type);

    if (check(vaxo_SetVrValue(h, 7, 3.25), "SetVrValue") || check(vaxo_GetVrValue(h, 7, &v), "GetVrValue"))
        goto done;
    printf("c_host: VR(7) = %g\n", v);
    if (check(vaxo_SetAxisParameter_SPEED(h, 0, 120), "SetAxisParameter_SPEED") ||
        check(vaxo_GetAxisParameter_SPEED(h, 0, &v), "GetAxisParameter_SPEED"))
        goto done;
    printf("c_host: SPEED AXIS(0) = %g\n", v);
    /* The same parameter by its token number, from the installed token list. */
    v = 0;
    if (check(vaxo_GetAxisParameterDoubleValue(h, VAXO_TOKEN_SPEED, 0, &v), "GetAxisParameterDoubleValue(SPEED)"))
        goto done;
    printf("c_host: SPEED by token %d = %g\n", (int)VAXO_TOKEN_SPEED, v);
    if (check(vaxo_ExecuteWithResponse4c(h, "PRINT 6*7", on_text, text), "ExecuteWithResponse"))
        goto done;
    printf("c_host: PRINT 6*7 -> %s", text);
    printf("c_host: directory\n");
    if (check(vaxo_Dir(h, on_file, NULL), "Dir"))
        goto done;
    rc = v == 120 ? 0 : 1;
done:
    vaxo_DestroyContext(h);
    printf("c_host: %s\n", rc == 0 ? "ok" : "FAILED");
    return rc;
}
