"""Python binding of libVaxo_Ubrix_TCP (standard library ctypes only).

    import vaxo
    with vaxo.Simulator() as sim, sim.connect() as c:
        c.set_vr(0, 1.5)
        c.axis(0).SPEED = 250
        print(c.execute("PRINT 1+2"))

The library is loaded from $VAXO_LIBRARY, else build/libVaxo_Ubrix_TCP.so of this source tree.
"""
from .connection import (API_VERSION, EVENT_ERROR, EVENT_INFORMATION, EVENT_WARNING, NO_PROCESS, Connection, Event,
                         FileEntry, ProcessEntry, Progress, VrBlock)
from .errors import VaxoError, api_code, error_name
from .params import PARAMETERS, AxisParameters, ProcessParameters, SlotParameters, SystemParameters
from .sim import Simulator

__all__ = ["API_VERSION", "EVENT_ERROR", "EVENT_INFORMATION", "EVENT_WARNING", "NO_PROCESS", "Connection", "Event",
           "FileEntry", "ProcessEntry", "Progress", "VrBlock", "VaxoError", "api_code", "error_name", "PARAMETERS",
           "AxisParameters", "ProcessParameters", "SlotParameters", "SystemParameters", "Simulator",
           "describe_error"]


def describe_error(code: int) -> str:
    """The library's description of an ErrorCode."""
    from . import _lib
    return _lib.describe(code)
