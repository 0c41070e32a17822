#!/usr/bin/env python3
"""A file from one Vandry to another, beside rsync over ssh and plain rsync, over loopback, in the same run.

    network.py --build build/release [--report docs/network_speed.md] [--mib 1024] [--rounds 5]
    network.py --build build/release --quick        a smoke test: a small file, one round, no report

Two Vandrys, paired, listen on 127.0.0.1. The time is from the command that sends the file to the message that it is
there; the receiver flushes it to the medium before. rsync does not flush, so it is measured twice in one go: when it
ends, and when a `sync -f` of its destination has ended after it. In each round every contender works once, in an order
that turns. CPU is what both ends took together, user and system; memory is the larger peak of the two ends.

The ssh server is one of our own, unpacked by cmake/servers.sh, on a port and with keys of its own; as root it runs
in a mount namespace, where it finds the user and the directory that its installation would have made.
"""

import argparse
import filecmp
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import time

from running import Failed, program_form, run

WANTED = 0.5  # of the throughput of rsync over ssh


def free_port():
    with socket.socket() as listening:
        listening.bind(("127.0.0.1", 0))
        return listening.getsockname()[1]


def wait_for_port(port):
    for _ in range(500):
        with socket.socket() as trying:
            if trying.connect_ex(("127.0.0.1", port)) == 0:
                return
        time.sleep(0.02)
    raise Failed(f"nobody listens on port {port}")


def cpu_of(pid):
    """User and system seconds of a process so far."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def peak_of(pid):
    """Peak resident memory of a process, KiB."""
    return int(re.search(r"VmHWM:\s*(\d+)", pathlib.Path(f"/proc/{pid}/status").read_text())[1])


class Computer:
    """One computer with a Vandry on it, and the link to it."""

    def __init__(self, root, name, build):
        self.name = name
        self.root = root / name
        self.program = self.root / "program"
        self.build = build
        self.port = free_port()
        for part in ("home", "config", "program", "tmp", "run"):
            (self.root / part).mkdir(parents=True)
        (self.root / "run").chmod(0o700)
        (self.root / "config" / "orlim.ini").write_text(
            f"[Orlim]\r\nuser={name}\r\n[Zelkor]\r\nAcceptNetConn=1\r\n"
            f"[Vandry]\r\nPort={self.port}\r\nListen=127.0.0.1\r\n")
        self.environment = dict(
            os.environ, HOME=str(self.root / "home"), XDG_CONFIG_HOME=str(self.root / "config"),
            ZELKOR_DIR=str(self.program), TMPDIR=str(self.root / "tmp"), XDG_RUNTIME_DIR=str(self.root / "run"),
            LC_ALL="C", TZ="UTC")

    def vandry(self, *words):
        return run([self.build / "vandry" / "vandry", *words], env=self.environment).strip()

    def start(self):
        self.process = subprocess.Popen([self.build / "vandry" / "vandry"], env=self.environment,
                                        stdin=subprocess.DEVNULL)
        self.link = subprocess.Popen([self.build / "bench" / "tell_vandry"], env=self.environment,
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.expect("ready")
        wait_for_port(self.port)

    def say(self, command):
        self.link.stdin.write(command + "\n")
        self.link.stdin.flush()

    def expect(self, beginning):
        line = self.link.stdout.readline().rstrip("\n")
        if not line.startswith(beginning):
            raise Failed(f"{self.name}: expected \"{beginning}\", got \"{line}\"")
        return line

    def stop(self):
        self.link.stdin.close()
        self.link.wait()
        self.process.terminate()
        self.process.wait()


class SshServer:
    """Our own ssh server; `command` is the ssh that reaches it. Not there when it could not be fetched or started."""

    def __init__(self, folder, binaries):
        self.folder = folder
        self.sshd = binaries / "usr" / "sbin" / "sshd"
        self.process = None
        if not self.sshd.exists() or shutil.which("ssh") is None:
            return
        self.port = free_port()
        folder.mkdir(mode=0o700)
        for key in ("host", "user"):
            run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", folder / key])
        shutil.copy(folder / "user.pub", folder / "authorized")
        (folder / "config").write_text(
            f"Port {self.port}\nListenAddress 127.0.0.1\nHostKey {folder / 'host'}\nPidFile none\n"
            f"AuthorizedKeysFile {folder / 'authorized'}\nPasswordAuthentication no\nPermitRootLogin yes\n"
            "StrictModes no\nUsePAM no\nPrintMotd no\n")
        server = [str(self.sshd), "-D", "-e", "-f", str(folder / "config")]
        if os.geteuid() == 0:
            # A place of its own where the server's user and directory exist.
            users = pathlib.Path("/etc/passwd").read_text()
            if not re.search(r"^sshd:", users, re.M):
                users += "sshd:x:65533:65534::/run/sshd:/usr/sbin/nologin\n"
            (folder / "passwd").write_text(users)
            (folder / "passwd").chmod(0o644)
            server = ["unshare", "-m", "sh", "-c",
                      'mount --bind "$1" /etc/passwd && mount -t tmpfs none /run && mkdir -m 755 /run/sshd && shift && '
                      'exec "$@"', "sh", str(folder / "passwd"), *server]
        libraries = ":".join(str(path) for path in sorted(self.sshd.parent.parent.glob("lib/*-linux-gnu*"))
                             + sorted(binaries.glob("lib/*-linux-gnu*")))
        self.log = open(folder / "log", "wb")
        self.process = subprocess.Popen(server, env=dict(os.environ, LD_LIBRARY_PATH=libraries), stderr=self.log)
        self.command = (f"ssh -F none -p {self.port} -i {folder / 'user'} -o StrictHostKeyChecking=no "
                        f"-o UserKnownHostsFile={folder / 'known'} -o LogLevel=ERROR")
        try:
            wait_for_port(self.port)
            run([*self.command.split(), "127.0.0.1", "true"])
        except Failed as failure:
            print(f"no ssh server: {failure}\n{(folder / 'log').read_text()[-500:]}", file=sys.stderr)
            self.stop()

    def cpu(self):
        """Of the server's ended children, and theirs."""
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[13]) + int(fields[14])) / os.sysconf("SC_CLK_TCK")

    def stop(self):
        if self.process is not None:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait()
            self.process = None


class Bench:
    def __init__(self, options, folder):
        self.folder = folder
        self.mib = options.mib
        self.office = Computer(folder, "office", options.build)
        self.laptop = Computer(folder, "laptop", options.build)
        self.ssh = SshServer(folder / "ssh", options.ssh)
        self.source = folder / "source"
        self.measured = {}
        piece = random.Random(1).randbytes(1 << 20)
        with open(self.source, "wb") as file:
            for i in range(self.mib):
                # Each MiB is another, and none can be compressed.
                file.write(piece[i % 65536:] + piece[:i % 65536])

    def record(self, name, seconds, flushed, cpu, peak):
        self.measured.setdefault(name, []).append((seconds, flushed, cpu, peak))

    def check(self, name, path):
        if not filecmp.cmp(self.source, path, shallow=False):
            raise Failed(f"{name}: what arrived differs")
        path.unlink()

    def pair(self):
        self.office.vandry("--pair", "laptop", self.laptop.vandry("--fingerprint"))
        self.laptop.vandry("--pair", "office", self.office.vandry("--fingerprint"))

    def work_vandry(self):
        sent = self.office.program / "~sync00.tmp"
        shutil.copy(self.source, sent)
        run(["sync", "-f", sent])
        pids = (self.office.process.pid, self.laptop.process.pid)
        before = sum(map(cpu_of, pids))
        started = time.monotonic()
        self.office.say(f"NetFileSend 127.0.0.1:{self.laptop.port} office laptop {program_form(sent)}")
        self.laptop.expect("push FileSendReq office laptop ")
        target = self.laptop.program / "laptop.cas"
        self.laptop.say(f"NetFileRec {program_form(target)}")
        self.laptop.expect(f"reply OK {self.mib << 20}")
        self.laptop.expect("push NetReceived")
        seconds = time.monotonic() - started
        self.record("Vandry", seconds, seconds, sum(map(cpu_of, pids)) - before, max(map(peak_of, pids)))
        self.check("Vandry", target)

    def rsync(self, name, command, destination, server_cpu=lambda: 0.0):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        served = server_cpu()
        started = time.monotonic()
        run(command)
        seconds = time.monotonic() - started
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        # The server's share is known when its process for the connection has ended.
        if server_cpu() == served:
            time.sleep(0.2)
        run(["sync", "-f", destination.parent])
        flushed = time.monotonic() - started
        self.record(name, seconds, flushed, cpu + server_cpu() - served, 0)
        self.check(name, destination)

    def work_ssh(self):
        destination = self.folder / "by-ssh"
        self.rsync("rsync over ssh", ["rsync", "--whole-file", "-e", self.ssh.command, self.source,
                                      f"127.0.0.1:{destination}"], destination, self.ssh.cpu)

    def work_plain(self):
        destination = self.folder / "by-rsync"
        self.rsync("rsync, unencrypted", ["rsync", "--whole-file", self.source, destination], destination)

    def run(self, rounds):
        self.pair()
        self.office.start()
        self.laptop.start()
        jobs = [self.work_vandry, self.work_plain]
        if self.ssh.process is not None:
            jobs.append(self.work_ssh)
        for number in range(rounds):
            by = number % len(jobs)
            for job in jobs[by:] + jobs[:by]:
                job()
                run(["sync", "-f", self.folder])

    def stop(self):
        for computer in (self.office, self.laptop):
            if hasattr(computer, "process"):
                computer.stop()
        self.ssh.stop()

    def rows(self):
        for name in ("Vandry", "rsync over ssh", "rsync, unencrypted"):
            if name not in self.measured:
                continue
            times = self.measured[name]
            seconds, flushed, cpu = (statistics.median(each[i] for each in times) for i in range(3))
            peak = max(each[3] for each in times)
            yield name, self.mib / seconds, self.mib / flushed, cpu, peak / 1024

    def ratios(self, peer):
        speeds = {name: (plain, flushed) for name, plain, flushed, _, _ in self.rows()}
        own = speeds["Vandry"][0]
        return own / speeds[peer][0], own / speeds[peer][1]


def table(bench):
    own = next(bench.rows())
    lines = ["| | throughput beside Vandry's | with sync | CPU beside Vandry's | peak MiB of either end |",
             "|---|---:|---:|---:|---:|"]
    for name, plain, flushed, cpu, peak in bench.rows():
        lines.append(f"| {name} | {plain / own[1]:.2f} | {flushed / own[1]:.2f} | {cpu / own[3]:.2f} | "
                     f"{f'{peak:.1f}' if peak else ''} |")
    return "\n".join(lines)


def report(bench, rounds):
    if bench.ssh.process is None:
        verdict = "rsync over ssh could not be measured here: there was no ssh server."
    else:
        plain, flushed = bench.ratios("rsync over ssh")
        verdict = (f"Vandry carries {plain:.2f} times what rsync over ssh does, and {flushed:.2f} times when both bring the "
                   f"file to the medium (wanted: at least {WANTED}).")
    return f"""# Speed of the network

`make bench` sends one file of {bench.mib} MiB that can not be compressed from one Vandry to another over loopback, and beside
that by rsync over ssh and by rsync alone, in {rounds} rounds whose order turns, and writes this page. Throughput is from the
command to the message that the file is there. Vandry flushes the file to the medium before it says so, rsync does not; the
column "with sync" adds a `sync -f` to rsync. CPU is what both ends take together.

{table(bench)}

{verdict}
"""


def main():
    parser = argparse.ArgumentParser(description="Vandry's speed beside rsync over ssh.")
    parser.add_argument("--build", type=lambda text: pathlib.Path(text).resolve(), required=True)
    parser.add_argument("--ssh", type=lambda text: pathlib.Path(text).resolve(), default="build/ssh-server",
                        help="where cmake/servers.sh unpacked the server")
    parser.add_argument("--report", type=pathlib.Path, help="the page to write")
    parser.add_argument("--mib", type=int, default=1024)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--medium", type=pathlib.Path, help="where the files go (default: memory where it is there)")
    parser.add_argument("--quick", action="store_true", help="a smoke test")
    options = parser.parse_args()
    if options.quick:
        options.mib, options.rounds = 8, 1
    options.ssh = pathlib.Path(options.ssh).resolve()
    memory = pathlib.Path("/dev/shm")
    medium = options.medium or (memory if memory.is_dir() and os.access(memory, os.W_OK) and not options.quick else None)

    with tempfile.TemporaryDirectory(prefix="zelkor-network-", dir=medium) as folder:
        bench = Bench(options, pathlib.Path(folder).resolve())
        try:
            bench.run(options.rounds)
            page = report(bench, options.rounds)
        finally:
            bench.stop()
    for name, plain, flushed, cpu, peak in bench.rows():
        print(f"{name:20} {plain:7.0f} MiB/s {flushed:7.0f} with sync, {cpu:6.2f} s CPU"
              + (f", {peak:.1f} MiB" if peak else ""))
    if options.report is not None:
        options.report.write_text(page)


if __name__ == "__main__":
    try:
        main()
    except Failed as failure:
        sys.exit(str(failure))
