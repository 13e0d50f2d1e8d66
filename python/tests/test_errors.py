"""Python names and describes every kind of ErrorCode exactly as the C library does."""
import ctypes as C
import errno
import os

import vaxo
from vaxo import _lib

_TEXT_CB = C.CFUNCTYPE(None, C.c_void_p, C.POINTER(C.c_char), C.c_uint32)


def c_text(function_name, code):
    """Calls one of the library's text functions straight through ctypes, without the binding."""
    fn = getattr(C.CDLL(os.environ.get("VAXO_LIBRARY") or str(vaxo._paths.library_path())), function_name)
    fn.argtypes = [C.c_uint64, _TEXT_CB, C.c_void_p]
    fn.restype = None
    out = []
    fn(code, _TEXT_CB(lambda _u, t, n: out.append(C.string_at(t, n).decode())), None)
    assert len(out) == 1, "the callback is called exactly once"
    return out[0]


# Every category: library errors in both forms and past the table, controller errors up to and
# past the last row, system errors (with the reserved all-ones number and a negative errno),
# the fatal bit on its own, and codes with no category.
SWEEP = (
    [0, 0x0100000000, 0x8100000000, 0x010000001A, 0x01FFFFFFFF]
    + [0x0100000000 | i for i in range(1, 26)] + [0x8100000000 | i for i in range(1, 26)]
    + [0x0400000000, 0x0400000001, 0x040000011D, 0x040000011E, 0x04FFFFFFFF, 0x8400000009]
    + [0x0200000000, 0x0200000002, 0x02FFFFFFFF, 0x82FFFFFFFF, 0x02FFFFFFFE, 0x0200000000 | errno.ENOENT]
    + [0x8000000000, 0x0000000005, 0x0600000002, 0xFFFFFFFFFFFFFFFF]
)


def test_every_category_names_and_describes_as_the_c_functions_do():
    for code in SWEEP:
        assert vaxo.error_name(code) == c_text("vaxox_GetErrorName", code), hex(code)
        assert vaxo.errors.error_description(code) == c_text("vaxo_GetErrorString", code), hex(code)


def test_reserved_and_empty_system_codes_name_as_the_library_rows():
    assert vaxo.error_name(0x02FFFFFFFF) == "UnknownError"
    assert vaxo.error_name(0x0200000000) == "NoError"
    assert vaxo.error_name(0x0200000002) == "SysErr_2"
    assert vaxo.errors.error_description(0x0200000002) == os.strerror(2)
    assert vaxo.error_name(0x0100000000) == "NoError"
    assert vaxo.error_name(0x040000011E) == "UnknownError"
    assert vaxo.error_name(0x0100000009) == "Error code not supported"


def test_exception_carries_the_library_name():
    e = vaxo.VaxoError(0x0200000002)
    assert e.name == "SysErr_2"
    assert vaxo.api_code("Disconnected") == 0x0100000015
    assert vaxo.api_code("ConnectionContext") == 0x8100000004
