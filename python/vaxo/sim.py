"""The simulated controller for scripts and tests: `vaxo sim` in a child process.

    with vaxo.Simulator() as sim, sim.connect() as c:
        print(c.system.CONTROL)
"""
import os
import signal
import subprocess
import tempfile
import time

from . import _paths
from .connection import Connection


class Simulator:
    """Runs `vaxo sim --port 0 --file-port 0` and learns both ports from its port file."""

    def __init__(self, *, seed=None, controller_type=None, firmware=None, sysvar16=False, tool=None,
                 start_timeout=10.0):
        self.tool = str(tool or _paths.tool_path())
        self.args = ["sim", "--port", "0", "--file-port", "0"]
        if seed is not None:
            self.args += ["--seed", str(seed)]
        if controller_type is not None:
            self.args += ["--type", str(controller_type)]
        if firmware is not None:
            self.args += ["--firmware", str(firmware)]
        if sysvar16:
            self.args.append("--sysvar16")
        self.start_timeout = start_timeout
        self.port = self.file_port = None
        self._proc = None
        self._dir = None

    def start(self):
        if not os.path.exists(self.tool):
            raise OSError("vaxo tool not found at %s (build it, or set VAXO_TOOL)" % self.tool)
        self._dir = tempfile.TemporaryDirectory(prefix="vaxo_sim_")
        port_file = os.path.join(self._dir.name, "ports")
        self._proc = subprocess.Popen([self.tool, *self.args, "--port-file", port_file],
                                      stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        deadline = time.monotonic() + self.start_timeout
        while not os.path.exists(port_file):
            if self._proc.poll() is not None:
                err = self._proc.stderr.read().decode(errors="replace")
                raise RuntimeError("vaxo sim exited with %d: %s" % (self._proc.returncode, err))
            if time.monotonic() > deadline:
                self.stop()
                raise TimeoutError("vaxo sim did not start within %.1f s" % self.start_timeout)
            time.sleep(0.01)
        with open(port_file) as f:
            self.port, self.file_port = (int(x) for x in f.read().split())
        return self

    def stop(self):
        if self._proc and self._proc.poll() is None:
            self._proc.send_signal(signal.SIGTERM)
            try:
                self._proc.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self._proc.kill()
                self._proc.wait()
        if self._proc:
            self._proc.stderr.close()
        self._proc = None
        if self._dir:
            self._dir.cleanup()
            self._dir = None

    def connect(self, **kwargs) -> Connection:
        """A Connection to this simulator (not yet open; use it in a with statement)."""
        kwargs.setdefault("file_port", self.file_port)
        return Connection("127.0.0.1", self.port, **kwargs)

    def __enter__(self):
        return self.start()

    def __exit__(self, *exc):
        self.stop()
        return False
