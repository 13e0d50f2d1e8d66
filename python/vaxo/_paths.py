"""Where the binding finds the built library, the tool and the lists it reads at import."""
import os
from pathlib import Path

# python/vaxo/_paths.py -> the source tree's root
SOURCE_ROOT = Path(__file__).resolve().parents[2]
BUILD_DIR = Path(os.environ.get("VAXO_BUILD_DIR", SOURCE_ROOT / "build"))


def library_path() -> Path:
    """The shared library: $VAXO_LIBRARY, else build/libVaxo_Ubrix_TCP.so."""
    env = os.environ.get("VAXO_LIBRARY")
    return Path(env) if env else BUILD_DIR / "libVaxo_Ubrix_TCP.so"


def tool_path() -> Path:
    """The command-line tool, which also runs the simulated controller: $VAXO_TOOL, else build/tools/vaxo."""
    env = os.environ.get("VAXO_TOOL")
    return Path(env) if env else BUILD_DIR / "tools" / "vaxo"


def include_dir() -> Path:
    """The public headers (for the named-parameter list): $VAXO_INCLUDE_DIR, else include/."""
    env = os.environ.get("VAXO_INCLUDE_DIR")
    return Path(env) if env else SOURCE_ROOT / "include"


def errors_dir() -> Path:
    """The error tables: $VAXO_ERRORS_DIR, else shared/errors/."""
    env = os.environ.get("VAXO_ERRORS_DIR")
    return Path(env) if env else SOURCE_ROOT / "shared" / "errors"
