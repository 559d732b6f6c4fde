"""docs/scale/parallel.sh, with a job killed in the middle."""

import shutil
import subprocess

import pytest
from conftest import SCALE, SHARD, digests, kill_one_command, wait_for


def test_killed_job(place, tmp_path):
    if not shutil.which("parallel"):
        pytest.skip("GNU parallel is not installed")
    run = subprocess.Popen(
        [SCALE / "parallel.sh", place / "model", place / "text", tmp_path, str(SHARD), "2"],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
    )
    wait_for(lambda: list(tmp_path.glob("shard-*.json")))
    shard = wait_for(lambda: kill_one_command(tmp_path))
    out, errors = run.communicate(timeout=200)
    assert run.returncode == 0, errors
    assert (tmp_path / f"shard-{int(shard):06}.json").exists()  # another job made it
    assert b"10 of them were there" in out
    assert digests(tmp_path) == digests(place / "single")
