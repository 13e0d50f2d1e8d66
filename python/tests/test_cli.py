"""The `vaxo` command line, run as a user would: against the embedded simulated controller
(no --host) and against `vaxo sim`."""
import json
import socket
import subprocess
import time

import pytest


def vaxo(tool, *args, timeout=30):
    return subprocess.run([tool, *args], capture_output=True, text=True, timeout=timeout)


def js(tool, *args):
    r = vaxo(tool, "--json", *args)
    assert r.returncode == 0, r.stderr
    return json.loads(r.stdout.strip().splitlines()[-1])


def test_info(tool):
    out = js(tool, "info")
    assert out["controller_type"] == 1664 and out["firmware"] > 0 and out["api_version"].startswith("1.2.1")


@pytest.mark.parametrize("kind", ["vr", "table"])
def test_memory_get_set_and_ranges(tool, kind):
    # Each run has its own embedded controller: a write and a read in one run need trace-free
    # chaining, so check what `set` reports and that `get` of fresh memory is 0.
    assert js(tool, kind, "set", "5", "1.5", "2.5") == {f"{kind.upper()}(5)": 1.5, f"{kind.upper()}(6)": 2.5}
    assert js(tool, kind, "get", "5", "--count", "3") == {f"{kind.upper()}({i})": 0 for i in (5, 6, 7)}


def test_param_by_name_with_targets(tool):
    assert js(tool, "param", "set", "speed", "--axis", "3", "77") == {"SPEED AXIS(3)": 77}
    assert js(tool, "param", "get", "CONTROL") == {"CONTROL": 1664}
    assert "UNITS AXIS(0)" in js(tool, "param", "get", "UNITS")
    r = vaxo(tool, "param", "set", "CONTROL", "5")
    assert r.returncode != 0 and "read-only" in r.stderr
    r = vaxo(tool, "param", "get", "NO_SUCH_PARAM")
    assert r.returncode != 0 and "unknown parameter" in r.stderr


def test_exec_prints_the_response(tool):
    assert float(js(tool, "exec", "PRINT 2*21")["response"]) == 42


def test_dir_ps_run_stop_crc_against_a_sim_server(tool, sim, tmp_path):
    base = ["--port", str(sim.port), "--host", "127.0.0.1", "--file-port", str(sim.file_port)]
    prog = tmp_path / "CLIPROG.BAS"
    prog.write_bytes(b"".join(b"VR(%d) = 1\r\n" % i for i in range(300)))
    r = vaxo(tool, *base, "upload", str(prog))
    assert r.returncode == 0, r.stderr
    assert "upload [" in r.stderr and "100%" in r.stderr  # the progress bar
    assert "crc_match" in r.stdout and "true" in r.stdout
    assert any(f["name"] == "CLIPROG" for f in js(tool, *base, "dir")["files"])
    local = js(tool, "crc", "--local", str(prog))["crc"]
    assert js(tool, *base, "crc", "CLIPROG")["crc"] == local
    assert vaxo(tool, *base, "run", "CLIPROG").returncode == 0
    assert isinstance(js(tool, *base, "ps").get("processes", []), list)  # it may already have ended
    vaxo(tool, *base, "stop", "CLIPROG")
    out = tmp_path / "back.bas"
    r = vaxo(tool, *base, "download", "CLIPROG", str(out))
    assert r.returncode == 0, r.stderr
    assert out.read_bytes().replace(b"\r\n", b"\n") == prog.read_bytes().replace(b"\r\n", b"\n")


def test_watch_prints_only_changes(tool, sim):
    base = ["--port", str(sim.port), "--host", "127.0.0.1"]
    vaxo(tool, *base, "vr", "set", "300", "1", "2")
    r = vaxo(tool, *base, "--json", "watch", "vr", "300-301", "--count", "3", "--interval", "20")
    assert r.returncode == 0, r.stderr
    changes = json.loads(r.stdout)["changes"]
    assert [(c["name"], c["value"]) for c in changes] == [("VR(300)", 1), ("VR(301)", 2)]  # first round only


def test_io(tool):
    out = js(tool, "io", "--set", "8", "on", "8")
    assert out["OP(8)"] is True and "IN(8)" in out
    assert set(js(tool, "io")) == {"inputs", "outputs"}


def test_trace_shows_bytes_and_decoded_tokens(tool):
    r = vaxo(tool, "trace", "vr", "get", "3")
    assert r.returncode == 0, r.stderr
    assert "->" in r.stdout and "<-" in r.stdout
    assert "VR" in r.stdout and "value 0 status 0" in r.stdout


def test_demo_runs_to_the_end(tool):
    r = vaxo(tool, "demo", timeout=120)
    assert r.returncode == 0, r.stderr
    assert "== demo finished (0 steps not completed)" in r.stdout


@pytest.mark.parametrize("args", [[], ["nosuchcommand"], ["vr", "get"], ["vr", "get", "x"], ["--port", "99999999", "info"],
                                  ["watch", "bogus", "1"], ["io", "--set", "1"]])
def test_bad_arguments_give_usage_not_a_crash(tool, args):
    r = vaxo(tool, *args)
    assert r.returncode not in (0, -6, -11) and r.returncode > 0
    assert "Usage" in r.stdout + r.stderr or "usage" in r.stdout + r.stderr or "--help" in r.stderr


def test_wrong_port_fails_within_the_connect_timeout(tool):
    s = socket.socket()
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()
    t0 = time.monotonic()
    r = vaxo(tool, "--host", "127.0.0.1", "--port", str(port), "--connect-timeout", "1000", "info")
    assert time.monotonic() - t0 < 5
    assert r.returncode != 0
    assert f"cannot connect to 127.0.0.1:{port}" in r.stderr and "OpenConnection failed" in r.stderr


def test_errors_print_name_and_description(tool):
    r = vaxo(tool, "exec", "THIS IS NOT A COMMAND ((")
    assert r.returncode != 0 and "failed: 0x" in r.stderr


def test_log_file_gets_timestamped_lines(tool, tmp_path):
    log = tmp_path / "vaxo.log"
    vaxo(tool, "--log", str(log), "exec", "THIS IS NOT A COMMAND ((")
    lines = log.read_text().splitlines()
    assert lines
    for line in lines:
        time.strptime(line[:19], "%Y-%m-%d %H:%M:%S")
