"""Named parameters: one accessor per row of include/vaxo/NamedParams.def, the list the C and
C++ interfaces are expanded from, read at import.

    conn.axis(0).SPEED = 250       # vaxo_SetAxisParameter_SPEED(h, 0, 250)
    conn.axis(0).MPOS              # vaxo_GetAxisParameter_MPOS(h, 0, &v)
    conn.system.CONTROL            # vaxo_GetSystemParameter_CONTROL(h, &v)
    conn.process(3).PROC_STATUS    conn.slot(0).SERIAL_NUMBER
"""
import ctypes as C
import functools
import re
from collections import namedtuple

from . import _lib, _paths

Param = namedtuple("Param", "kind name writable")

_ROW = re.compile(r"^VAXO_PARAM\((\w+),\s*(\w+),\s*(RW|RO)\)", re.M)


def _load():
    text = (_paths.include_dir() / "vaxo" / "NamedParams.def").read_text()
    return [Param(m.group(1), m.group(2), m.group(3) == "RW") for m in _ROW.finditer(text)]


PARAMETERS = _load()
KINDS = ("Axis", "System", "Process", "Slot")


@functools.lru_cache(maxsize=None)
def _bind(kind, name, set_):
    fn = _lib.function("vaxo_%s%sParameter_%s" % ("Set" if set_ else "Get", kind, name))
    indexed = kind != "System"
    if set_:
        fn.argtypes = [_lib.Handle] + ([C.c_uint32] if indexed else []) + [C.c_double]
    else:
        fn.argtypes = [_lib.Handle] + ([C.c_uint32] if indexed else []) + [C.POINTER(C.c_double)]
    fn.restype = _lib.ErrorCode
    return fn


class _Target:
    """Parameters of one axis, process or slot (or of the system); attributes are generated."""

    _kind = None

    def __init__(self, conn, index=None):
        object.__setattr__(self, "_conn", conn)
        object.__setattr__(self, "_index", index)

    def __repr__(self):
        return "<%s parameters%s>" % (self._kind, "" if self._index is None else " %d" % self._index)

    def _args(self):
        return [] if self._index is None else [self._index]

    def __setattr__(self, key, value):
        # Only generated properties may be set: a typo must not pass silently.
        prop = getattr(type(self), key, None)
        if not isinstance(prop, property) or prop.fset is None:
            raise AttributeError("%s has no writable parameter %s" % (self._kind, key))
        prop.fset(self, value)


def _make_property(kind, p):
    def get(self):
        v = C.c_double()
        self._conn._check(_bind(kind, p.name, False)(self._conn._handle, *self._args(), C.byref(v)),
                          "Get%sParameter_%s" % (kind, p.name))
        return v.value

    def set_(self, value):
        self._conn._check(_bind(kind, p.name, True)(self._conn._handle, *self._args(), float(value)),
                          "Set%sParameter_%s" % (kind, p.name))

    doc = "%s parameter %s (%s)" % (kind, p.name, "read/write" if p.writable else "read-only")
    return property(get, set_ if p.writable else None, doc=doc)


def _make_class(kind):
    attrs = {"_kind": kind, "__slots__": ()}
    names = []
    for p in PARAMETERS:
        if p.kind == kind:
            attrs[p.name] = _make_property(kind, p)
            names.append(p.name)
    attrs["NAMES"] = tuple(names)
    return type(kind + "Parameters", (_Target,), attrs)


AxisParameters = _make_class("Axis")
SystemParameters = _make_class("System")
ProcessParameters = _make_class("Process")
SlotParameters = _make_class("Slot")
