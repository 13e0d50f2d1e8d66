import os
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

import vaxo  # noqa: E402


@pytest.fixture(scope="session")
def sim():
    with vaxo.Simulator(seed=7) as s:
        yield s


@pytest.fixture
def conn(sim):
    with sim.connect() as c:
        yield c


@pytest.fixture(scope="session")
def tool():
    path = str(vaxo._paths.tool_path())
    if not os.path.exists(path):
        pytest.skip("vaxo tool not built")
    return path
