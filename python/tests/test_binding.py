import math
import socket
import time

import pytest

import vaxo


def test_values_round_trip(conn):
    conn.set_vr(10, 2.5)
    assert conn.get_vr(10) == 2.5
    conn.set_vr(20, [1.0, -2.0, 3.5])
    assert conn.get_vr(20, 3) == [1.0, -2.0, 3.5]
    conn.set_table(1000, [4.0, 5.0])
    assert conn.get_table(1000, 2) == [4.0, 5.0]
    assert conn.get_table(1001) == 5.0


def test_named_parameters_are_generated_from_the_one_list(conn):
    names = {(p.kind, p.name) for p in vaxo.PARAMETERS}
    assert ("Axis", "SPEED") in names and ("System", "CONTROL") in names
    assert set(vaxo.AxisParameters.NAMES) == {n for k, n in names if k == "Axis"}
    conn.axis(2).SPEED = 123.5
    assert conn.axis(2).SPEED == 123.5
    assert conn.system.CONTROL == 1664
    with pytest.raises(AttributeError):
        conn.system.CONTROL = 1  # read-only: no setter generated
    with pytest.raises(AttributeError):
        conn.axis(0).SPEEED = 1  # a typo is not silently stored


def test_error_carries_code_name_and_description():
    c = vaxo.Connection("127.0.0.1", 1)
    with pytest.raises(vaxo.VaxoError) as e:
        c.get_vr(0)  # not open
    assert e.value.name == vaxo.error_name(e.value.code)
    assert e.value.name != "UnknownError" and e.value.description
    c.destroy()
    assert vaxo.error_name(vaxo.api_code("Timeout")) == "Timeout"
    assert vaxo.api_code("Timeout") == 0x8100000006
    assert vaxo.error_name(0x0400000001) == "ControllerError_COMMAND_NOT_RECOGNISED"


def test_connect_to_a_closed_port_fails_quickly_with_a_clear_error():
    s = socket.socket()
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()  # nothing listens here now
    c = vaxo.Connection("127.0.0.1", port, connect_timeout=1000)
    t0 = time.monotonic()
    with pytest.raises(vaxo.VaxoError) as e:
        c.open()
    assert time.monotonic() - t0 < 3
    assert e.value.operation == "OpenConnection"
    assert e.value.name == "SysErr_111" and "refused" in e.value.description
    c.destroy()


def test_events_reach_the_callback(sim):
    seen = []
    with sim.connect(on_event=seen.append) as c:
        with pytest.raises(vaxo.VaxoError):
            c.execute("THIS IS NOT A COMMAND ((")
    assert all(isinstance(e, vaxo.Event) for e in seen)


def test_execute_dir_upload_run(conn, tmp_path):
    assert float(conn.execute("PRINT 1+2")) == 3
    prog = tmp_path / "PYPROG.BAS"
    prog.write_bytes(b"".join(b"VR(%d) = %d\r\n" % (i, i) for i in range(50)))
    progress = []
    conn.upload(prog, progress=progress.append)
    assert progress and progress[-1].state == 2 and progress[-1].done == progress[-1].total
    assert conn.remote_crc("PYPROG") == conn.local_crc(prog)
    assert "PYPROG" in [f.name for f in conn.dir()]
    conn.run("PYPROG")
    conn.stop("PYPROG")


def test_vr_block_reports_only_changes(conn):
    conn.set_vr(0, [0.0] * 4)
    block = conn.vr_block(range(4))
    assert block.fetch() == {0: 0.0, 1: 0.0, 2: 0.0, 3: 0.0}
    conn.set_vr(2, 9.0)
    assert block.changed() == {2: 9.0}
    block.delete()


def test_a_move_ends_idle(conn):
    ax = conn.axis(1)
    ax.SPEED, ax.ACCEL, ax.DECEL = 1000, 10000, 10000
    conn.move_rel(50, 1)
    deadline = time.monotonic() + 10
    while not ax.IDLE and time.monotonic() < deadline:
        time.sleep(0.05)
    assert ax.IDLE and math.isclose(ax.DPOS, 50, abs_tol=1e-6)
