"""The Connection class: one context of the library, one link to one controller."""
import ctypes as C
import os
from collections import namedtuple

from . import _lib
from .errors import VaxoError
from .params import AxisParameters, ProcessParameters, SlotParameters, SystemParameters

FileEntry = namedtuple("FileEntry", "name type size crc lines flags")
ProcessEntry = namedtuple("ProcessEntry", "process program state priority line ticks cycles load")
Progress = namedtuple("Progress", "done total state")
Event = namedtuple("Event", "type value text")

EVENT_ERROR, EVENT_WARNING, EVENT_INFORMATION = 0, 1, 2
NO_PROCESS = 0xFFFFFFFF
API_VERSION = (1, 2, 1, 1196)


def _text_collector():
    out = []

    def take(_user, text, length):
        out.append(C.string_at(text, length).decode("utf-8", "replace"))

    return out, _lib.TextCb(take)


class Connection:
    """A link to a controller.

        with vaxo.Connection("127.0.0.1", port) as c:
            c.set_vr(3, 1.5)
            c.axis(0).SPEED = 250

    on_event(event) is called with an Event(type, value, text) for every event of the library,
    on whichever thread raised it (the reader thread for most)."""

    def __init__(self, host="127.0.0.1", port=3240, *, connect_timeout=5000, command_timeout=10000,
                 file_port=0, on_event=None):
        self.host, self.port, self.file_port = host, port, file_port
        self.connect_timeout, self.command_timeout = connect_timeout, command_timeout
        self.on_event = on_event
        self.events = []  # the last events, kept when no on_event is given
        lib = _lib.library()
        self._lib = lib
        self._event_cb = _lib.EventCb(self._event)  # referenced for the context's lifetime
        self._handle = _lib.Handle()
        version = _lib.VersionInfo(*API_VERSION)
        self._check(lib.vaxo_CreateContext(C.byref(version), self._event_cb, None, C.byref(self._handle)),
                    "CreateContext")
        self.system = SystemParameters(self)

    # ---- lifetime ----
    def _event(self, _user, type_, value, text, length):
        event = Event(type_, value, C.string_at(text, length).decode("utf-8", "replace") if text else "")
        if self.on_event:
            try:
                self.on_event(event)
            except Exception:  # an exception must not unwind into the library
                pass
        else:
            self.events.append(event)
            del self.events[:-100]

    def _check(self, code, operation):
        if code:
            raise VaxoError(code, _lib.describe(code), operation)

    def open(self):
        lib, h = self._lib, self._handle
        self._check(lib.vaxo_SetTcpHostName(h, self.host.encode()), "SetTcpHostName")
        self._check(lib.vaxo_SetTcpPort(h, self.port), "SetTcpPort")
        self._check(lib.vaxo_SetTcpConnectTimeout(h, self.connect_timeout), "SetTcpConnectTimeout")
        self._check(lib.vaxo_SetTcpCommandTimeout(h, self.command_timeout), "SetTcpCommandTimeout")
        self._check(lib.vaxo_OpenConnection(h), "OpenConnection")
        return self

    def close(self):
        if self._handle:
            self._lib.vaxo_CloseConnection(self._handle)

    def destroy(self):
        if self._handle:
            self._lib.vaxo_DestroyContext(self._handle)
            self._handle = _lib.Handle()

    def __enter__(self):
        return self.open()

    def __exit__(self, *exc):
        self.destroy()
        return False

    def __del__(self):
        try:
            self.destroy()
        except Exception:
            pass

    @property
    def connected(self) -> bool:
        return bool(self._handle) and self._lib.vaxo_IsConnected(self._handle)

    @property
    def api_version(self) -> str:
        out, cb = _text_collector()
        self._check(self._lib.vaxo_GetApiVersionStr(self._handle, cb, None), "GetApiVersionStr")
        return out[0]

    @property
    def firmware(self) -> float:
        v = C.c_double()
        self._check(self._lib.vaxo_GetFirmwareVersionNumber(self._handle, C.byref(v)), "GetFirmwareVersionNumber")
        return v.value

    # ---- named parameters ----
    def axis(self, n: int) -> AxisParameters:
        return AxisParameters(self, n)

    def process(self, n: int) -> ProcessParameters:
        return ProcessParameters(self, n)

    def slot(self, n: int) -> SlotParameters:
        return SlotParameters(self, n)

    # ---- VR and TABLE ----
    def _get(self, name, index):
        v = C.c_double()
        self._check(getattr(self._lib, name)(self._handle, index, C.byref(v)), name[5:])
        return v.value

    def get_vr(self, index, count=None):
        """VR(index), or a list of count values from index."""
        if count is None:
            return self._get("vaxo_GetVrValue", index)
        buf = (C.c_double * count)()
        self._check(self._lib.vaxo_GetMultiVrValues(self._handle, index, count, buf), "GetMultiVrValues")
        return list(buf)

    def set_vr(self, index, value):
        """VR(index) = value; a sequence writes consecutive VRs from index."""
        if isinstance(value, (list, tuple)):
            buf = (C.c_double * len(value))(*value)
            self._check(self._lib.vaxo_SetMultiVrValues(self._handle, index, len(value), buf), "SetMultiVrValues")
        else:
            self._check(self._lib.vaxo_SetVrValue(self._handle, index, float(value)), "SetVrValue")

    def get_table(self, index, count=None):
        if count is None:
            return self._get("vaxo_GetTableValue", index)
        buf = (C.c_double * count)()
        self._check(self._lib.vaxo_GetMultiTableValues(self._handle, index, count, buf), "GetMultiTableValues")
        return list(buf)

    def set_table(self, index, value):
        if isinstance(value, (list, tuple)):
            buf = (C.c_double * len(value))(*value)
            self._check(self._lib.vaxo_SetMultiTableValues(self._handle, index, len(value), buf),
                        "SetMultiTableValues")
        else:
            self._check(self._lib.vaxo_SetTableValue(self._handle, index, float(value)), "SetTableValue")

    # ---- command line, programs, processes ----
    def execute(self, command: str) -> str:
        """Runs one command line; returns what it printed."""
        out, cb = _text_collector()
        self._check(self._lib.vaxo_ExecuteWithResponse4c(self._handle, command.encode(), cb, None),
                    "ExecuteWithResponse")
        return out[0] if out else ""

    def run(self, program: str, process: int = NO_PROCESS):
        self._check(self._lib.vaxo_RunProgram3(self._handle, program.encode(), process), "RunProgram")

    def stop(self, program: str, process: int = NO_PROCESS):
        self._check(self._lib.vaxo_StopProgram3(self._handle, program.encode(), process), "StopProgram")

    def halt(self):
        self._check(self._lib.vaxo_Halt(self._handle), "Halt")

    def processes(self):
        out = []

        def take(_user, info, name):
            i = info.contents
            out.append(ProcessEntry(i.process, name.decode(), i.state, i.priority, i.line, i.ticks, i.cycles, i.load))

        self._check(self._lib.vaxo_GetProcessList(self._handle, _lib.ProcessInfoCb(take), None), "GetProcessList")
        return out

    def dir(self):
        out = []

        def take(_user, info, name):
            i = info.contents
            out.append(FileEntry(name.decode(), i.type, i.size, i.crc, i.lines, i.flags))

        self._check(self._lib.vaxo_Dir(self._handle, _lib.FileInfoCb(take), None), "Dir")
        return out

    def file_exists(self, name: str) -> bool:
        v = C.c_bool()
        self._check(self._lib.vaxo_FileExists(self._handle, name.encode(), C.byref(v)), "FileExists")
        return v.value

    # ---- files ----
    @staticmethod
    def _progress_cb(progress):
        if progress is None:
            return _lib.ProgressCb()

        def take(_user, info):
            i = info.contents
            try:
                progress(Progress(i.done, i.total, i.state))
            except Exception:
                pass

        return _lib.ProgressCb(take)

    def upload(self, local, remote=None, *, type=0, mode=1, level=0, autorun=False, storage=0, timeout=10000,
               progress=None):
        """Sends a local file; progress(Progress) is called as it goes."""
        remote = remote or os.path.basename(str(local))
        cb = self._progress_cb(progress)
        self._check(self._lib.vaxo_UploadFile(self._handle, remote.encode(), str(local).encode(), type, mode, level,
                                              1 if autorun else 0, 1 if level > 0 else 0, storage, timeout,
                                              self.file_port, cb, None), "UploadFile")

    def download(self, remote, local, *, type=0, mode=0, timeout=10000, progress=None):
        cb = self._progress_cb(progress)
        self._check(self._lib.vaxo_DownloadFile(self._handle, remote.encode(), str(local).encode(), type, mode,
                                                timeout, self.file_port, cb, None), "DownloadFile")

    def local_crc(self, path, compressed=False) -> int:
        v = C.c_uint64()
        self._check(self._lib.vaxo_GetLocalFileCRC(self._handle, str(path).encode(), compressed, C.byref(v)),
                    "GetLocalFileCRC")
        return v.value

    def remote_crc(self, name) -> int:
        v = C.c_uint64()
        self._check(self._lib.vaxo_GetRemoteFileCRC(self._handle, name.encode(), C.byref(v)), "GetRemoteFileCRC")
        return v.value

    # ---- motion and I/O ----
    def move_abs(self, position, axis):
        self._check(self._lib.vaxo_MoveAbs(self._handle, float(position), axis), "MoveAbs")

    def move_rel(self, distance, axis):
        self._check(self._lib.vaxo_MoveRel(self._handle, float(distance), axis), "MoveRel")

    def get_input(self, channel) -> bool:
        v = C.c_bool()
        self._check(self._lib.vaxo_GetDIn3(self._handle, channel, C.byref(v)), "GetDIn")
        return v.value

    def get_output(self, channel) -> bool:
        v = C.c_bool()
        self._check(self._lib.vaxo_GetDOut3(self._handle, channel, C.byref(v)), "GetDOut")
        return v.value

    def set_output(self, channel, on: bool):
        self._check(self._lib.vaxo_SetDOut3(self._handle, channel, bool(on)), "SetDOut")

    # ---- parameter blocks ----
    def vr_block(self, indices):
        """A VrBlock over the given VR indices, defined on the controller."""
        return VrBlock(self, list(indices))


class VrBlock:
    """A VR parameter block: fetch() reads all, changed() only what changed since ({index: value})."""

    def __init__(self, conn, indices):
        self._conn, self.indices = conn, indices
        arr = (C.c_uint32 * len(indices))(*indices)
        block = C.c_int32(-1)
        conn._check(conn._lib.vaxo_ParamBlockDefineVr(conn._handle, arr, len(indices), C.byref(block)),
                    "ParamBlockDefineVr")
        self.block = block.value

    def fetch(self):
        buf = (C.c_double * len(self.indices))()
        self._conn._check(self._conn._lib.vaxo_ParamBlockFetchAllVr(self._conn._handle, self.block, buf,
                                                                    len(self.indices)), "ParamBlockFetchAllVr")
        return dict(zip(self.indices, buf))

    def changed(self):
        buf = (C.c_double * len(self.indices))()
        mask = C.c_uint64()
        self._conn._check(self._conn._lib.vaxo_ParamBlockFetchChangedVr(self._conn._handle, self.block, buf,
                                                                        len(self.indices), C.byref(mask)),
                          "ParamBlockFetchChangedVr")
        return {self.indices[i]: buf[i] for i in range(len(self.indices)) if mask.value >> (i % 64) & 1}

    def delete(self):
        self._conn._check(self._conn._lib.vaxo_ParamBlockDelete(self._conn._handle, self.block), "ParamBlockDelete")
