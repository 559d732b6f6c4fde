"""docs/scale/slurm.sh on a cluster of this machine, with its own configuration and daemons: a task
whose command is killed, one that is put back into the queue, and a daemon that is killed and comes
back.
"""

import contextlib
import getpass
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess

import pytest
from conftest import KORA, SCALE, SHARD, digests, kill_one_command, wait_for

CONFIGURATION = """
ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket={folder}/munge/socket,cred_expire=5
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerType=sched/builtin
SchedulerParameters=sched_interval=3,builtin_interval=3
JobRequeue=1
ReturnToService=2
SlurmdParameters=config_overrides
MailProg=/bin/true
KillWait=2
MessageTimeout=60
BatchStartTimeout=120
UnkillableStepTimeout=180
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
"""


# The kora that tasks call. While `hold` is there it waits before it begins, so that the test finds
# running tasks however fast or busy the machine is.
HELD = """#!/bin/sh
while [ -e {hold} ]; do sleep 0.1; done
exec {kora} "$@"
"""


class Cluster:
    def __init__(self, folder, stack):
        self.folder, self.stack = folder, stack
        for name in ("state", "spool", "munge"):
            (folder / name).mkdir()
        folder.joinpath("munge").chmod(0o711)
        key = folder / "munge" / "key"
        key.write_bytes(os.urandom(128))
        key.chmod(0o600)
        self.hold, self.kora = folder / "hold", folder / "kora"
        self.kora.write_text(HELD.format(hold=self.hold, kora=KORA))
        self.kora.chmod(0o755)
        with contextlib.ExitStack() as held:
            sockets = [held.enter_context(socket.socket()) for _ in range(2)]
            for free in sockets:
                free.bind(("127.0.0.1", 0))
            ports = [free.getsockname()[1] for free in sockets]
        host = socket.gethostname().split(".")[0]
        configuration = folder / "slurm.conf"
        configuration.write_text(
            CONFIGURATION.format(host=host, user=getpass.getuser(), ports=ports, folder=folder)
        )
        self.environment = {
            **os.environ,
            "SLURM_CONF": str(configuration),
            "KORA_COMMAND": str(self.kora),
        }
        munge = folder / "munge"
        self.start("munged", "--foreground", "--force", f"--socket={munge}/socket",
                   f"--key-file={key}", f"--pid-file={munge}/pid", f"--log-file={munge}/log",
                   f"--seed-file={munge}/seed")  # fmt: skip
        wait_for((munge / "socket").exists, 60)
        self.start("slurmctld", "-D")
        self.slurmd = self.start("slurmd", "-D")
        wait_for(lambda: self.node() == "idle", 120)

    def start(self, *words):
        with open(self.folder / f"{words[0]}.log", "ab") as log:
            process = subprocess.Popen(words, stdout=log, stderr=log, env=self.environment)
        self.stack.callback(self.stop, process)
        return process

    @staticmethod
    def stop(process):
        process.terminate()
        try:
            process.wait(5)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def run(self, *words, check=True):
        done = subprocess.run(words, env=self.environment, capture_output=True, text=True)
        assert not check or done.returncode == 0, done.stderr
        return done.stdout

    def node(self):
        """The node's state, such as "mixed"; a star stands for a daemon that does not answer."""
        return self.run("sinfo", "-h", "-o", "%T", check=False).strip()

    def states(self):
        """What the tasks of the array are doing: number to (state, how often put back)."""
        rows = self.run("squeue", "-h", "-r", "-O", "ArrayTaskID:9,State:20,RestartCnt:9")
        found = (row.split() for row in rows.split("\n") if row)
        return {int(task): (state, int(count)) for task, state, count in found if task.isdigit()}

    def array(self):
        """The number of the job that all tasks belong to: the first one submitted."""
        return min(map(int, self.run("squeue", "-h", "-r", "-O", "ArrayJobID:9").split()))

    def held(self):
        """Tasks that run and wait; none while one is just coming or going."""
        states = self.states()
        running = {task for task, (state, _) in states.items() if state == "RUNNING"}
        if any(state in ("COMPLETING", "CONFIGURING") for state, _ in states.values()):
            return set()
        waiting = [words for words in commands() if words[:2] == ["/bin/sh", str(self.kora)]]
        return running if len(waiting) == len(running) else set()

    def say_why(self):
        """What the daemons complained of."""
        rows = [f"node: {self.run('sinfo', '-h', '-o', '%T %E', check=False).strip()}"]
        for path in sorted([*self.folder.glob("*.log"), self.folder / "munge" / "log"]):
            if path.exists():
                log = path.read_text("utf-8", "replace").split("\n")
                told = [row for row in log if re.search("error|fatal|drain", row, re.IGNORECASE)]
                rows += [f"{path.name}: {row}" for row in told[-8:]]
        return "\n".join(rows)


def commands():
    """The words of every process."""
    for path in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        with contextlib.suppress(OSError):
            yield path.read_bytes().decode("utf-8", "replace").split("\0")


@pytest.fixture
def cluster(tmp_path):
    os.environ["PATH"] += ":/usr/sbin"
    for program in ("munged", "slurmctld", "slurmd", "sbatch"):
        if not shutil.which(program):
            pytest.skip(f"{program} is not installed")
    with contextlib.ExitStack() as stack:
        folder = tmp_path / "cluster"
        folder.mkdir()
        started = Cluster.__new__(Cluster)
        try:
            started.__init__(folder, stack)
        except AssertionError:
            pytest.skip("Slurm does not start on this machine:\n" + started.say_why())
        stack.callback(started.run, "scancel", "--me", check=False)
        yield started


def test_killed_and_requeued_tasks(place, tmp_path, cluster):
    out = tmp_path / "out"
    cluster.hold.touch()
    run = subprocess.Popen(
        [SCALE / "slurm.sh", place / "model", place / "text", out, str(SHARD), "5"],
        env=cluster.environment,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        start_new_session=True,
    )
    cluster.stack.callback(lambda: cluster.hold.unlink(missing_ok=True))
    cluster.stack.callback(lambda: run.poll() is None and os.killpg(run.pid, signal.SIGKILL))

    def until(condition):
        """Waits, but not for a cluster that has given up."""

        def look():
            assert "drain" not in cluster.node() and "down" not in cluster.node(), cluster.say_why()
            return condition()

        return wait_for(look, 300)

    def back(task):
        """Whether it was put back into the queue, and what ran of it has left."""
        state, count = cluster.states().get(task, ("", 1))
        return count > 0 and state != "COMPLETING"

    # The command of a task is killed in the middle. On a busy machine both that run may have ended
    # before this process got its turn: then it is one of the next two.
    for ended in (4, 8):
        until(lambda: len(cluster.held()) == 2)
        cluster.hold.unlink()
        found = wait_for(
            lambda: (len(list(out.glob("shard-*.json"))) > ended - 4 and kill_one_command(out))
            or len(list(out.glob("shard-*.json"))) == ended
        )
        cluster.hold.touch()
        if found is not True:
            break
    assert found is not True, "no command was caught in the middle"
    killed = int(found.split("-")[0]) // 2
    until(lambda: back(killed))
    # A task is put back into the queue.
    requeued = min(until(lambda: cluster.held() - {killed}))
    cluster.run("scontrol", "requeue", f"{cluster.array()}_{requeued}")
    until(lambda: back(requeued))
    # The node's daemon is killed; tasks outlive it, and it takes them up again.
    until(lambda: len(cluster.held()) == 2)
    cluster.slurmd.kill()
    cluster.slurmd.wait()
    cluster.slurmd = cluster.start("slurmd", "-D")
    cluster.hold.unlink()
    until(lambda: run.poll() is not None)
    output, errors = run.communicate()
    logs = {path.name: path.read_text() for path in out.glob("*.log")}
    assert run.returncode == 0, (errors, logs, cluster.say_why())
    assert "Killed" in logs[f"task-{killed}.log"]
    assert "REQUEUE" in logs[f"task-{requeued}.log"]
    for task in (killed, requeued):
        assert "shards: 2" in logs[f"task-{task}.log"], logs  # it ran to its end
    assert "10 of them were there" in logs["report.log"]  # nothing was left to the last one
    assert digests(out) == digests(place / "single")
    assert (out / "manifest.json").read_bytes() == (
        pathlib.Path(place) / "single" / "manifest.json"
    ).read_bytes()
