"""The shared library and the C types of its flat interface (ctypes)."""
import ctypes as C

from . import _paths

ErrorCode = C.c_uint64
Handle = C.c_void_p


class VersionInfo(C.Structure):
    _fields_ = [("major", C.c_uint16), ("minor", C.c_uint16), ("patch", C.c_uint16), ("build", C.c_uint16)]


class FileInfo(C.Structure):
    _fields_ = [("type", C.c_int32), ("size", C.c_uint32), ("crc", C.c_uint32), ("lines", C.c_int32),
                ("flags", C.c_uint32)]


class ProcessInfo(C.Structure):
    _fields_ = [("process", C.c_int32), ("state", C.c_int32), ("priority", C.c_int32), ("line", C.c_int32),
                ("ticks", C.c_uint64), ("cycles", C.c_uint64), ("load", C.c_double), ("flags", C.c_uint32),
                ("reserved", C.c_uint32)]


class ProgressInfo(C.Structure):
    _fields_ = [("done", C.c_uint64), ("total", C.c_uint64), ("state", C.c_uint32), ("reserved", C.c_uint32)]


class Range(C.Structure):
    _fields_ = [("first", C.c_uint32), ("count", C.c_uint32)]


EventCb = C.CFUNCTYPE(None, C.c_void_p, C.c_uint32, C.c_uint64, C.c_char_p, C.c_uint32)
TextCb = C.CFUNCTYPE(None, C.c_void_p, C.POINTER(C.c_char), C.c_uint32)
FileInfoCb = C.CFUNCTYPE(None, C.c_void_p, C.POINTER(FileInfo), C.c_char_p)
ProcessInfoCb = C.CFUNCTYPE(None, C.c_void_p, C.POINTER(ProcessInfo), C.c_char_p)
ProgressCb = C.CFUNCTYPE(None, C.c_void_p, C.POINTER(ProgressInfo))

D, U32, I32, U16, U8, B, S = C.c_double, C.c_uint32, C.c_int32, C.c_uint16, C.c_uint8, C.c_bool, C.c_char_p
P = C.POINTER

# name: argument types (every function returns an ErrorCode unless listed in _OTHER_RESULTS)
_PROTOTYPES = {
    "vaxo_CreateContext": [P(VersionInfo), EventCb, C.c_void_p, P(Handle)],
    "vaxo_DestroyContext": [Handle],
    "vaxo_IsConnected": [Handle],
    "vaxo_GetApiVersionStr": [Handle, TextCb, C.c_void_p],
    "vaxo_GetErrorString": [C.c_uint64, TextCb, C.c_void_p],
    "vaxox_GetErrorName": [C.c_uint64, TextCb, C.c_void_p],
    "vaxo_SetTcpHostName": [Handle, S],
    "vaxo_SetTcpPort": [Handle, U16],
    "vaxo_SetTcpConnectTimeout": [Handle, U32],
    "vaxo_SetTcpCommandTimeout": [Handle, U32],
    "vaxo_OpenConnection": [Handle],
    "vaxo_CloseConnection": [Handle],
    "vaxo_GetFirmwareVersionNumber": [Handle, P(D)],
    "vaxo_GetVrValue": [Handle, U32, P(D)],
    "vaxo_SetVrValue": [Handle, U32, D],
    "vaxo_GetTableValue": [Handle, U32, P(D)],
    "vaxo_SetTableValue": [Handle, U32, D],
    "vaxo_GetMultiVrValues": [Handle, U32, U32, P(D)],
    "vaxo_SetMultiVrValues": [Handle, U32, U32, P(D)],
    "vaxo_GetMultiTableValues": [Handle, U32, U32, P(D)],
    "vaxo_SetMultiTableValues": [Handle, U32, U32, P(D)],
    "vaxo_SetVrString": [Handle, U32, S],
    "vaxo_GetVrString4c": [Handle, U32, TextCb, C.c_void_p],
    "vaxo_Execute": [Handle, S],
    "vaxo_ExecuteWithResponse4c": [Handle, S, TextCb, C.c_void_p],
    "vaxo_RunProgram3": [Handle, S, U32],
    "vaxo_StopProgram3": [Handle, S, U32],
    "vaxo_Halt": [Handle],
    "vaxo_GetProcessList": [Handle, ProcessInfoCb, C.c_void_p],
    "vaxo_Dir": [Handle, FileInfoCb, C.c_void_p],
    "vaxo_FileExists": [Handle, S, P(B)],
    "vaxo_Delete": [Handle, S, B],
    "vaxo_UploadFile": [Handle, S, S, U32, U32, I32, U8, U8, U8, I32, U16, ProgressCb, C.c_void_p],
    "vaxo_DownloadFile": [Handle, S, S, U32, U32, I32, U16, ProgressCb, C.c_void_p],
    "vaxo_GetLocalFileCRC": [Handle, S, B, P(C.c_uint64)],
    "vaxo_GetRemoteFileCRC": [Handle, S, P(C.c_uint64)],
    "vaxo_MoveAbs": [Handle, D, I32],
    "vaxo_MoveRel": [Handle, D, I32],
    "vaxo_Cancel": [Handle, I32, I32],
    "vaxo_GetDIn3": [Handle, U32, P(B)],
    "vaxo_GetDOut3": [Handle, U32, P(B)],
    "vaxo_SetDOut3": [Handle, U32, B],
    "vaxo_GetDIn32": [Handle, P(U32)],
    "vaxo_GetDOut32": [Handle, P(U32)],
    "vaxo_ParamBlockDefineVr": [Handle, P(U32), U32, P(I32)],
    "vaxo_ParamBlockFetchAllVr": [Handle, I32, P(D), U32],
    "vaxo_ParamBlockFetchChangedVr": [Handle, I32, P(D), U32, P(C.c_uint64)],
    "vaxo_ParamBlockDelete": [Handle, I32],
}
_OTHER_RESULTS = {"vaxo_IsConnected": C.c_bool, "vaxo_GetErrorString": None, "vaxox_GetErrorName": None}

_lib = None


def library():
    """The loaded library (loaded on first use, from $VAXO_LIBRARY or build/)."""
    global _lib
    if _lib is None:
        path = _paths.library_path()
        if not path.exists():
            raise OSError("libVaxo_Ubrix_TCP not found at %s (build it, or set VAXO_LIBRARY)" % path)
        lib = C.CDLL(str(path))
        for name, args in _PROTOTYPES.items():
            fn = getattr(lib, name, None)
            if fn is None:
                continue  # a family not in this build: its methods raise when called
            fn.argtypes = args
            fn.restype = _OTHER_RESULTS.get(name, ErrorCode)
        _lib = lib
    return _lib


def function(name):
    """One flat function by name, with ErrorCode result for the ones without a prototype here."""
    fn = getattr(library(), name)
    if name not in _PROTOTYPES and fn.restype is not ErrorCode:
        fn.restype = ErrorCode
    return fn


def _text_of(fn, code: int) -> str:
    out = []

    def take(_user, text, length):
        out.append(C.string_at(text, length).decode("utf-8", "replace"))

    fn(code & 0xFFFFFFFFFFFFFFFF, TextCb(take), None)
    return out[0] if out else ""


def describe(code: int) -> str:
    """The library's description of an ErrorCode."""
    return _text_of(library().vaxo_GetErrorString, code)


def name_of(code: int) -> str:
    """The library's name of an ErrorCode."""
    return _text_of(library().vaxox_GetErrorName, code)
