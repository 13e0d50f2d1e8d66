"""ErrorCode values as Python exceptions. Every name and description comes from the library
itself (vaxox_GetErrorName, vaxo_GetErrorString), so Python and C name a code alike."""
import re

from . import _lib, _paths

API_BIT = 0x0100000000
SYSTEM_BIT = 0x0200000000
CONTROLLER_BIT = 0x0400000000
FATAL_BIT = 0x8000000000
INDEX_MASK = 0xFFFFFFFF
_API_ROWS = 26

# Which form (fatal or plain) the library produces each of its own errors in: the one thing
# that is not a name or a text, read from the library's own error list.
_API_FORM = re.compile(r'^VAXO_API_ERR\((\d+),\s*(\w+),\s*(\w+),', re.M)


def _load_forms():
    text = (_paths.errors_dir() / "ApiErrors.def").read_text()
    return {int(m.group(1)): m.group(3) for m in _API_FORM.finditer(text)}


_API_FORMS = None


def error_name(code: int) -> str:
    """The name of an ErrorCode, as the library names it ("Timeout", "ControllerError_...")."""
    return _lib.name_of(code)


def error_description(code: int) -> str:
    """The description of an ErrorCode, as the library gives it."""
    return _lib.describe(code)


def api_code(name: str) -> int:
    """The ErrorCode value of one of the library's own errors by name ("Timeout" -> 0x8100000006)."""
    global _API_FORMS
    if _API_FORMS is None:
        _API_FORMS = _load_forms()
    for index in range(1, _API_ROWS):
        if error_name(API_BIT | index) == name:
            return API_BIT | index | (FATAL_BIT if _API_FORMS.get(index) == "Fatal" else 0)
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
