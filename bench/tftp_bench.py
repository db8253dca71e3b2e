#!/usr/bin/env python3
"""torvek-tftp against tftpd-hpa: one 40 MB image fetched by the same client
with the same block size from each server, in turns, inside the lab.

Reports per client and block size the median wall time of a transfer from
each server and their ratio, and the server's CPU time per transfer (user
and system, children included: tftpd-hpa forks one per transfer).

Usage: scripts/lab pc /usr/bin/python3 bench/tftp_bench.py BIN_DIR [RUNS]
"""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time

BIN = sys.argv[1]
RUNS = int(sys.argv[2]) if len(sys.argv) > 2 else 5
LAB = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts", "lab")
SERVER_IP = "10.77.0.1"
TICK = os.sysconf("SC_CLK_TCK")


def own_cpu(pid):
    """User and system seconds of one process, or 0 once it is gone."""
    try:
        with open("/proc/%d/stat" % pid) as f:
            fields = f.read().rsplit(")", 1)[1].split()
    except OSError:
        return 0.0
    return (int(fields[11]) + int(fields[12])) / TICK


class CpuMeter:
    """The CPU a server spends, its children included: tftpd-hpa forks one per
    transfer and does not wait for it, so each child is sampled every 5 ms
    while it lives (at most 5 ms of a child's last moments go unseen)."""

    def __init__(self, pid):
        self.pid = pid
        self.children = {}
        self.running = True
        self.start = own_cpu(pid)
        self.thread = threading.Thread(target=self.sample)
        self.thread.start()

    def sample(self):
        while self.running:
            try:
                with open("/proc/%d/task/%d/children" % (self.pid, self.pid)) as f:
                    for child in f.read().split():
                        used = own_cpu(int(child))
                        self.children[child] = max(self.children.get(child, 0.0), used)
            except OSError:
                pass
            time.sleep(0.005)

    def stop(self):
        self.running = False
        self.thread.join()
        return own_cpu(self.pid) - self.start + sum(self.children.values())


def fetch(kind, port, out, blksize, window=None):
    if kind == "tftp-hpa":
        cmd = ["tftp", SERVER_IP, str(port), "-m", "binary", "-c", "get", "image40.bin", out]
    elif kind == "curl":
        cmd = ["curl", "-s", "--tftp-blksize", str(blksize), "-o", out,
               "tftp://%s:%d/image40.bin" % (SERVER_IP, port)]
    else:
        cmd = ["atftp", "--get", "-r", "image40.bin", "-l", out, "--option",
               "blksize %d" % blksize]
        if window:
            cmd += ["--option", "windowsize %d" % window]
        cmd += [SERVER_IP, str(port)]
    started = time.perf_counter()
    subprocess.run([LAB, "lan"] + cmd, check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, timeout=300)
    took = time.perf_counter() - started
    if os.path.getsize(out) != 40 << 20:
        raise SystemExit("%s got %d bytes" % (kind, os.path.getsize(out)))
    os.unlink(out)
    return took


def main():
    work = tempfile.mkdtemp(prefix="torvek-tftp-bench-")
    root = os.path.join(work, "served")
    os.makedirs(root)
    with open(os.path.join(root, "image40.bin"), "wb") as f:
        f.write(os.urandom(40 << 20))
    os.chmod(work, 0o755)
    os.chmod(root, 0o755)
    ours = subprocess.Popen([os.path.join(BIN, "torvek-tftp"), "--root", root, "--port", "6990",
                             "--no-window"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    theirs = subprocess.Popen(["/usr/sbin/in.tftpd", "-L", "-s", root, "-a", ":6991"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(1)
    out = os.path.join(work, "got")
    cases = [("tftp-hpa", 512, None), ("curl", 512, None), ("curl", 1468, None),
             ("atftp", 512, None), ("atftp", 1468, None)]
    print("40 MB image, %d runs each, servers in turns; medians" % RUNS)
    print("%-9s %7s %12s %12s %7s %12s %12s" % ("client", "blksize", "torvek-tftp", "tftpd-hpa",
                                                 "ratio", "CPU ours", "CPU theirs"))
    try:
        for kind, blksize, window in cases:
            times = {6990: [], 6991: []}
            cpu = {6990: [], 6991: []}
            for _ in range(RUNS):
                for port, server in ((6990, ours), (6991, theirs)):
                    meter = CpuMeter(server.pid)
                    times[port].append(fetch(kind, port, out, blksize, window))
                    cpu[port].append(meter.stop())
            a, b = statistics.median(times[6990]), statistics.median(times[6991])
            print("%-9s %7d %10.2f s %10.2f s %7.2f %10.2f s %10.2f s" %
                  (kind, blksize, a, b, a / b, statistics.median(cpu[6990]),
                   statistics.median(cpu[6991])), flush=True)
        windowed = []
        windowed_cpu = []
        for _ in range(RUNS):
            meter = CpuMeter(ours.pid)
            windowed.append(fetch("atftp", 6990, out, 1468, 8))
            windowed_cpu.append(meter.stop())
        print("atftp blksize 1468 windowsize 8 from torvek-tftp: %.2f s, CPU %.2f s "
              "(tftpd-hpa has no windowsize)" % (statistics.median(windowed),
                                                 statistics.median(windowed_cpu)))
    finally:
        ours.terminate()
        theirs.terminate()
        ours.wait()
        theirs.wait()
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
