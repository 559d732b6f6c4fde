"""docs/scale/translate_dask.py on a scheduler and two workers, one of them killed in the middle."""

import os
import signal
import subprocess
import sys

import pytest
from conftest import SCALE, kora, wait_for

pytest.importorskip("distributed")


def start(stack, tmp_path, name, *words):
    log = open(tmp_path / f"{name}.log", "wb")
    process = subprocess.Popen(
        [sys.executable, *map(str, words)],
        stdout=log,
        stderr=log,
        cwd=tmp_path,
        env={**os.environ, "OMP_NUM_THREADS": "1"},
    )
    log.close()
    stack.append(process)
    return process


@pytest.fixture
def processes():
    """Ends what a test has started."""
    started = []
    yield started
    for process in reversed(started):
        process.terminate()
    for process in started:
        try:
            process.wait(20)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


def test_killed_worker(place, tmp_path, processes):
    file = tmp_path / "scheduler.json"
    start(processes, tmp_path, "scheduler", "-m", "distributed.cli.dask_scheduler", "--host",
          "127.0.0.1", "--port", "0", "--no-dashboard", "--scheduler-file", file)  # fmt: skip
    wait_for(file.exists)
    workers = [
        start(
            processes,
            tmp_path,
            f"worker{i}",
            "-m",
            "distributed.cli.dask_worker",
            "--scheduler-file",
            file,
            "--host",
            "127.0.0.1",
            "--nthreads",
            "2",
            "--no-nanny",
            "--no-dashboard",
            "--local-directory",
            tmp_path / f"local{i}",
        )  # fmt: skip
        for i in range(2)
    ]
    import distributed

    with distributed.Client(scheduler_file=str(file)) as client:
        client.wait_for_workers(2, timeout=60)
        address = client.scheduler.address

        output = tmp_path / "output"
        run = subprocess.Popen(
            [sys.executable, SCALE / "translate_dask.py", "--scheduler", address, "-m",
             place / "model", "--partition-size", "100", place / "text", output],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)  # fmt: skip
        processes.append(run)
        part = tmp_path / "output.part"
        wait_for(lambda: part.exists() and part.stat().st_size > 0)
        busy = wait_for(lambda: [a for a, tasks in client.processing().items() if tasks])
        assert len(busy) == 2
        workers[0].send_signal(signal.SIGKILL)
        assert workers[0].wait(20) == -signal.SIGKILL
        assert run.poll() is None and not output.exists()  # it was in the middle
        out, errors = run.communicate(timeout=200)
    assert run.returncode == 0, errors
    assert b"done, with 1 workers at the end" in out
    filtered = kora("translate", "-m", place / "model", input=(place / "text").read_bytes()).stdout
    assert output.read_bytes() == filtered
    assert not part.exists()
