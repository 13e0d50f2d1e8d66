"""ErrorCode values as Python exceptions, with the names of the library's error tables.

The names come from the same tables the library is built from (ApiErrors.def and
ControllerErrors.def), read once at import; the descriptions come from the library itself
(vaxo_GetErrorString)."""
import re

from . import _paths

API_BIT = 0x0100000000
SYSTEM_BIT = 0x0200000000
CONTROLLER_BIT = 0x0400000000
FATAL_BIT = 0x8000000000
INDEX_MASK = 0xFFFFFFFF

_API_ROW = re.compile(r'^VAXO_API_ERR\((\d+),\s*(\w+),\s*(\w+),\s*"((?:[^"\\]|\\.)*)"\)', re.M)
_API_RESERVED = re.compile(r'^VAXO_API_ERR_RESERVED\((\d+),\s*"((?:[^"\\]|\\.)*)"\)', re.M)
_CTRL_ROW = re.compile(r'^VAXO_CTRL_ERR\((\d+),\s*(\w+),\s*"((?:[^"\\]|\\.)*)"\)', re.M)


def _load():
    api, forms, ctrl = {}, {}, {}
    text = (_paths.errors_dir() / "ApiErrors.def").read_text()
    for m in _API_ROW.finditer(text):
        api[int(m.group(1))] = m.group(2)
        forms[m.group(2)] = m.group(3)
    for m in _API_RESERVED.finditer(text):
        api[int(m.group(1))] = m.group(2)
    text = (_paths.errors_dir() / "ControllerErrors.def").read_text()
    for m in _CTRL_ROW.finditer(text):
        ctrl[int(m.group(1))] = "ControllerError_" + m.group(2)
    return api, forms, ctrl


_API_NAMES, _API_FORMS, _CONTROLLER_NAMES = _load()


def error_name(code: int) -> str:
    """The name of an ErrorCode, as the library names it ("Timeout", "ControllerError_...")."""
    n = code & INDEX_MASK
    if code & SYSTEM_BIT:
        return "SysErr_%d" % (n - (1 << 32) if n & 0x80000000 else n)
    if code & CONTROLLER_BIT:
        return "NoError" if n == 0 else _CONTROLLER_NAMES.get(n, "UnknownError")
    if code & API_BIT:
        return "NoError" if n == 0 else _API_NAMES.get(n, "UnknownError")
    return "NoError" if code == 0 else "UnknownError"


def api_code(name: str) -> int:
    """The ErrorCode value of one of the library's own errors by name ("Timeout" -> 0x8100000006)."""
    for index, n in _API_NAMES.items():
        if n == name:
            return API_BIT | index | (FATAL_BIT if _API_FORMS.get(name) == "Fatal" else 0)
    raise KeyError(name)


class VaxoError(Exception):
    """A failed library call: code (the 64-bit ErrorCode), name, description and the operation."""

    def __init__(self, code: int, description: str = "", operation: str = ""):
        self.code = code
        self.name = error_name(code)
        self.description = description
        self.operation = operation
        where = operation + ": " if operation else ""
        super().__init__("%s0x%010x %s: %s" % (where, code, self.name, description))

    @property
    def fatal(self) -> bool:
        return bool(self.code & FATAL_BIT)

    @property
    def controller_error(self):
        """The controller's error number, or None when the error is not the controller's."""
        return self.code & INDEX_MASK if self.code & CONTROLLER_BIT else None
