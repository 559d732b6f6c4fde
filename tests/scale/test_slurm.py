"""docs/scale/slurm.sh on a cluster of this machine, with its own configuration and daemons: a task
whose command is killed, one that is put back into the queue, and a daemon that is killed and comes
back.
"""

import contextlib
import getpass
import os
import pathlib
import shutil
import socket
import subprocess

import pytest
from conftest import SCALE, SHARD, digests, kill_one_command, wait_for

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
JobRequeue=1
ReturnToService=2
SlurmdParameters=config_overrides
MailProg=/bin/true
KillWait=2
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
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
        self.environment = {**os.environ, "SLURM_CONF": str(configuration)}
        munge = folder / "munge"
        self.start("munged", "--foreground", "--force", f"--socket={munge}/socket",
                   f"--key-file={key}", f"--pid-file={munge}/pid", f"--log-file={munge}/log",
                   f"--seed-file={munge}/seed")  # fmt: skip
        wait_for((munge / "socket").exists, 30)
        self.start("slurmctld", "-D")
        self.slurmd = self.start("slurmd", "-D")
        wait_for(lambda: self.run("sinfo", "-h", "-o", "%T", check=False).strip() == "idle", 60)

    def start(self, *words):
        with open(self.folder / f"{words[0]}.log", "ab") as log:
            process = subprocess.Popen(words, stdout=log, stderr=log, env=self.environment)
        self.stack.callback(self.stop, process)
        return process

    @staticmethod
    def stop(process):
        process.terminate()
        try:
            process.wait(20)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def run(self, *words, check=True):
        done = subprocess.run(words, env=self.environment, capture_output=True, text=True)
        assert not check or done.returncode == 0, done.stderr
        return done.stdout

    def tasks(self, state):
        rows = self.run("squeue", "-h", "-r", "-o", "%i %T").split("\n")
        return [row.split()[0] for row in rows if row.endswith(" " + state) and "_" in row]


@pytest.fixture
def cluster(tmp_path):
    os.environ["PATH"] += ":/usr/sbin"
    for program in ("munged", "slurmctld", "slurmd", "sbatch"):
        if not shutil.which(program):
            pytest.skip(f"{program} is not installed")
    with contextlib.ExitStack() as stack:
        folder = tmp_path / "cluster"
        folder.mkdir()
        try:
            started = Cluster(folder, stack)
        except AssertionError:
            logs = [path.read_text(errors="replace")[-2000:] for path in folder.glob("*.log")]
            raise AssertionError("the cluster did not start\n" + "\n".join(logs)) from None
        stack.callback(started.run, "scancel", "--me", check=False)
        yield started


def test_killed_and_requeued_tasks(place, tmp_path, cluster):
    out = tmp_path / "out"
    run = subprocess.Popen(
        [SCALE / "slurm.sh", place / "model", place / "text", out, str(SHARD), "5"],
        env=cluster.environment,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    )
    cluster.stack.callback(run.kill)
    wait_for(lambda: len(cluster.tasks("RUNNING")) == 2)
    wait_for(lambda: list(out.glob("shard-*.json")))
    killed = int(wait_for(lambda: kill_one_command(out)).split("-")[0]) // 2
    back = wait_for(lambda: [task for task in cluster.tasks("RUNNING") if task[-1] != str(killed)])
    cluster.run("scontrol", "requeue", back[0])
    # The node's daemon goes as well; jobs outlive it, and it takes them up again.
    cluster.slurmd.kill()
    cluster.slurmd.wait()
    cluster.slurmd = cluster.start("slurmd", "-D")
    output, errors = run.communicate(timeout=200)
    logs = {path.name: path.read_text() for path in out.glob("*.log")}
    assert run.returncode == 0, (errors, logs)
    assert "Killed" in logs[f"task-{killed}.log"]
    assert "shards: 2" in logs[f"task-{killed}.log"], logs  # and was run again
    assert "shards: 2" in logs[f"task-{back[0].split('_')[1]}.log"]
    assert "10 of them were there" in logs["report.log"]  # nothing was left to the last one
    assert digests(out) == digests(place / "single")
    assert (out / "manifest.json").read_bytes() == (
        pathlib.Path(place) / "single" / "manifest.json"
    ).read_bytes()
