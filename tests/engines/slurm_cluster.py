# SPDX-License-Identifier: Apache-2.0
"""A Slurm cluster of one node on the loopback interface, for a test: needs neither root nor a service nor a configuration of
the machine, and leaves nothing behind."""
import getpass
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time

DAEMONS = ("munged", "slurmctld", "slurmd")
CONFIGURATION = """
ClusterName=corvana-test
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket,cred_expire=5
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
SwitchType=switch/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerType=sched/backfill
SchedulerParameters=sched_interval=1,bf_interval=1,batch_sched_delay=1
SlurmdParameters=config_overrides
ReturnToService=2
KillWait=1
NodeName={host} NodeAddr=127.0.0.1 CPUs={cpus} RealMemory=16000 State=UNKNOWN
PartitionName=main Nodes={host} Default=YES State=UP
"""


class Unavailable(Exception):
    """This system cannot run the cluster; tells why."""


def program(name):
    """Where a daemon is; the folders for them are not in everybody's PATH."""
    return shutil.which(name, path=f"{os.environ['PATH']}:/usr/sbin:/sbin")


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for taken in sockets:
        taken.bind(("127.0.0.1", 0))
    ports = [taken.getsockname()[1] for taken in sockets]
    for taken in sockets:
        taken.close()
    return ports


class SlurmCluster:
    """with SlurmCluster(cpus) as cluster: cluster.run("sbatch", ...)"""

    def __init__(self, cpus):
        self.cpus, self.daemons, self.host = cpus, [], socket.gethostname().split(".")[0]

    def __enter__(self):
        missing = [name for name in DAEMONS if program(name) is None]
        if missing:
            raise Unavailable(f"not installed: {' '.join(missing)}")
        # Short, since the name of a socket may have 107 bytes; readable, since munged insists on it.
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="corvana-slurm-", dir="/tmp"))
        try:
            self.configure()
            self.start_all()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if len(self.daemons) == len(DAEMONS):
            self.end_jobs()
        # The controller first: it would take the others for lost.
        for daemon in reversed(self.daemons[:1] + self.daemons[:0:-1]):
            daemon.terminate()
            try:
                daemon.wait(10)
            except subprocess.TimeoutExpired:
                daemon.kill()
                daemon.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def end_jobs(self):
        """No job outlives the test, whatever made it end."""
        try:
            self.run("scancel", "--me", "--signal=KILL", "--full", check=False)
            self.run("scancel", "--me", check=False)
            self.wait(lambda: not self.run("squeue", "-h", "-t", "R,CG", check=False).strip(), 10)
        except (TimeoutError, subprocess.SubprocessError) as fault:
            print(f"jobs of the test's Slurm may be left: {fault}")

    def configure(self):
        self.folder.chmod(0o711)
        for name in ("state", "spool"):
            (self.folder / name).mkdir()
        key = self.folder / "munge.key"
        key.touch(0o600)
        key.write_bytes(os.urandom(128))
        (self.folder / "slurm.conf").write_text(CONFIGURATION.format(
            folder=self.folder, host=self.host, user=getpass.getuser(), ports=free_ports(2), cpus=self.cpus))
        # What a job around this test, or a user of another cluster, has set is not meant for this one.
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith(("SLURM", "SBATCH"))}
        self.environment["SLURM_CONF"] = str(self.folder / "slurm.conf")

    def start_all(self):
        files = {"key-file": "munge.key", "socket": "munge.socket", "pid-file": "munge.pid", "seed-file": "munge.seed"}
        self.start("munged", "--foreground", "--force", "--num-threads=2", "--origin=127.0.0.1",
                   *(f"--{option}={self.folder / name}" for option, name in files.items()))
        self.wait_for_daemon((self.folder / "munge.socket").exists)
        self.start("slurmctld", "-D", "-i")
        self.start("slurmd", "-D")
        self.wait_for_daemon(lambda: self.run("sinfo", "-h", "-o", "%t", check=False).strip() == "idle")

    def start(self, name, *arguments):
        # A test that is killed takes the daemons along.
        with open(self.folder / f"{name}.log", "wb") as log:
            self.daemons.append(subprocess.Popen(["setpriv", "--pdeathsig", "TERM", program(name), *arguments],
                                                 env=self.environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                                 start_new_session=True))

    def wait_for_daemon(self, is_ready):
        try:
            self.wait(lambda: is_ready() or any(daemon.poll() is not None for daemon in self.daemons), 20)
        except TimeoutError:
            pass
        if any(daemon.poll() is not None for daemon in self.daemons) or not is_ready():
            raise Unavailable(f"Slurm does not start here:\n{self.logs()}")

    def logs(self):
        return "".join(f"{log.name}:\n" + "".join(log.read_text(errors="replace").splitlines(True)[-15:])
                       for log in sorted(self.folder.glob("*.log")))

    def run(self, *command, check=True, **options):
        """What one of Slurm's commands prints."""
        done = subprocess.run(command, env={**self.environment, **options.pop("env", {})}, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60, **options)
        if check and done.returncode != 0:
            raise RuntimeError(f"{' '.join(map(str, command))}: {done.stderr}\n{self.logs()}")
        return done.stdout

    def wait(self, is_so, seconds):
        end = time.monotonic() + seconds
        while not is_so():
            if time.monotonic() > end:
                raise TimeoutError(f"nothing happens for {seconds} s")
            time.sleep(0.05)

    def lose_node(self):
        """What happens to jobs when their machine dies: the controller gives it up and has them run again. It takes the machine
        back as soon as it answers, which is at once."""
        self.run("scontrol", "update", f"NodeName={self.host}", "State=DOWN", "Reason=lost")
