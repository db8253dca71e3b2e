#!/usr/bin/env python3
"""torvek-tftp against tftpd-hpa: one 40 MB image fetched by the same client
with the same block size from each server, in turns, inside the lab.

Reports per client and block size the median wall time of a transfer from
each server and their ratio, and the server's CPU time per transfer (user
and system, children included: tftpd-hpa forks one per transfer).

With `hostile`, torvek-tftp under hostile input instead, each figure as
min/median/max of RUNS against its ceiling: a 16 MB fetch beside 5,000
reads never acknowledged from one address (ceiling: twice the quiet fetch),
the server's resident memory then and 10 s later (ceiling 50 MB), the same
beside 20 netascii reads of a 40 MB image, the answer to a request of 6,500
options and a 1 MB fetch beside a flood of them, and the datagrams that one
forged error makes between two servers in 10 s (ceiling: none answered). A
run that does not complete prints no figure.

Usage: scripts/lab pc /usr/bin/python3 bench/tftp_bench.py BIN_DIR [RUNS] [hostile]
"""
import os
import shutil
import socket
import statistics
import struct
import subprocess
import sys
import tempfile
import threading
import time

BIN = sys.argv[1]
RUNS = int(sys.argv[2]) if len(sys.argv) > 2 else 5
HOSTILE = sys.argv[3:] == ["hostile"]
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


def fetch(kind, port, out, blksize, window=None, name="image40.bin", size=40 << 20):
    if kind == "tftp-hpa":
        cmd = ["tftp", SERVER_IP, str(port), "-m", "binary", "-c", "get", name, out]
    elif kind == "curl":
        cmd = ["curl", "-s", "--tftp-blksize", str(blksize), "-o", out,
               "tftp://%s:%d/%s" % (SERVER_IP, port, name)]
    else:
        cmd = ["atftp", "--get", "-r", name, "-l", out, "--option",
               "blksize %d" % blksize]
        if window:
            cmd += ["--option", "windowsize %d" % window]
        cmd += [SERVER_IP, str(port)]
    started = time.perf_counter()
    subprocess.run([LAB, "lan"] + cmd, check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, timeout=300)
    took = time.perf_counter() - started
    if os.path.getsize(out) != size:
        raise SystemExit("%s got %d bytes" % (kind, os.path.getsize(out)))
    os.unlink(out)
    return took


def request(name, mode=b"octet", **options):
    return (b"\0\1" + name.encode() + b"\0" + mode + b"\0" +
            b"".join(b"%s\0%s\0" % (k.encode(), str(v).encode()) for k, v in options.items()))


def resident(pid):
    """Resident kilobytes and open descriptors of a process."""
    with open("/proc/%d/status" % pid) as f:
        rss = next(int(line.split()[1]) for line in f if line.startswith("VmRSS:"))
    return rss, len(os.listdir("/proc/%d/fd" % pid))


class Peak:
    """The most resident memory and descriptors of a process, sampled every
    20 ms while it runs."""

    def __init__(self, pid):
        self.pid = pid
        self.rss = self.fds = 0
        self.running = True
        self.thread = threading.Thread(target=self.sample)
        self.thread.start()

    def sample(self):
        while self.running:
            rss, fds = resident(self.pid)
            self.rss, self.fds = max(self.rss, rss), max(self.fds, fds)
            time.sleep(0.02)

    def stop(self):
        self.running = False
        self.thread.join()
        return self.rss, self.fds


def spread(values, unit, ceiling=None):
    text = "min %s, median %s, max %s" % tuple(unit % v for v in
                                                 (min(values), statistics.median(values),
                                                  max(values)))
    if ceiling is not None:
        text += "  (ceiling %s: %s)" % (unit % ceiling,
                                        "ok" if statistics.median(values) <= ceiling else "OVER")
    return text


def open_flood(count, address, name, mode=b"octet", **options):
    """Requests from `count` ports that never answer (every other one asking
    the longest timeout), sent with forged source ports so that the flood
    costs this side no descriptors."""
    with socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW) as raw:
        for i in range(count):
            payload = request(name, mode, **(options if i % 2 else {}))
            header = struct.pack("!HHHH", 20000 + i, 6990, 8 + len(payload), 0)
            ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 28 + len(payload), 0, 0, 64, 17, 0,
                             socket.inet_aton(address), socket.inet_aton(address))
            raw.sendto(ip + header + payload, (address, 0))
    return []


def beside_flood(server, out, flood_of, fetch_name, fetch_size, settle):
    """A fetch from the LAN beside a flood: its time, the server's peak memory
    and descriptors, and its memory `settle` seconds after the flood."""
    peak = Peak(server.pid)
    flood = flood_of()
    try:
        took = fetch("curl", 6990, out, 1468, name=fetch_name, size=fetch_size)
    finally:
        rss, fds = peak.stop()
        for s in flood:
            s.close()
    time.sleep(settle)
    return took, rss, fds, resident(server.pid)[0]


def spoof(source, destination, payload):
    header = struct.pack("!HHHH", source[1], destination[1], 8 + len(payload), 0)
    ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 28 + len(payload), 0, 0, 64, 17, 0,
                     socket.inet_aton(source[0]), socket.inet_aton(destination[0]))
    with socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW) as s:
        s.sendto(ip + header + payload, (destination[0], 0))


def datagrams_between(ports, source, destination, seconds):
    """Datagrams to the given ports in `seconds` after one forged error."""
    table = "torvek_tftp_bench"
    nft = lambda *a: subprocess.run(["nft"] + list(a), capture_output=True, text=True)
    nft("delete", "table", "inet", table)
    nft("add", "table", "inet", table)
    nft("add", "chain", "inet", table, "out", "{ type filter hook output priority 0 ; }")
    nft("add", "rule", "inet", table, "out", "udp", "dport",
        "{ %s }" % ", ".join(map(str, ports)), "counter")
    try:
        spoof(source, destination, b"\0\5\0\0forged\0")
        time.sleep(seconds)
        listing = nft("list", "table", "inet", table).stdout
        return int(listing.split("counter packets")[1].split()[0])
    finally:
        nft("delete", "table", "inet", table)


def hostile(work, root, ours):
    out = os.path.join(work, "got")
    with open(os.path.join(root, "image16.bin"), "wb") as f:
        f.write(os.urandom(16 << 20))
    with open(os.path.join(root, "one.bin"), "wb") as f:
        f.write(os.urandom(1 << 20))
    print("torvek-tftp under hostile input, %d runs each" % RUNS)
    quiet = [fetch("curl", 6990, out, 1468, name="image16.bin", size=16 << 20)
             for _ in range(RUNS)]
    ceiling = 2 * statistics.median(quiet)
    print("16 MB fetch, quiet:            %s" % spread(quiet, "%.2f s"), flush=True)
    for what, flood_of in (
            ("5,000 unacknowledged reads", lambda: open_flood(5000, SERVER_IP, "image16.bin",
                                                              timeout=255)),
            ("20 netascii reads of 40 MB", lambda: open_flood(20, "127.0.0.1", "image40.bin",
                                                              b"netascii"))):
        runs = [beside_flood(ours, out, flood_of, "image16.bin", 16 << 20, 10)
                for _ in range(RUNS)]
        print("16 MB fetch beside %s: %s" % (what, spread([r[0] for r in runs], "%.2f s",
                                                          ceiling)))
        print("  server memory, peak:         %s" % spread([r[1] / 1024 for r in runs],
                                                           "%.1f MB", 50))
        print("  server memory, 10 s later:   %s" % spread([r[3] / 1024 for r in runs],
                                                           "%.1f MB", 50))
        print("  descriptors, peak:           %s" % spread([r[2] for r in runs], "%d"),
              flush=True)
    # 6,500 options: the answer, and a 1 MB fetch beside a flood of them.
    many = request("one.bin") + b"".join(b"o%d\0%d\0" % (i, i) for i in range(6500))
    answers = []
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.settimeout(2)
        for _ in range(20 * RUNS):
            started = time.perf_counter()
            s.sendto(many[:65000], (SERVER_IP, 6990))
            s.recvfrom(1000)
            answers.append((time.perf_counter() - started) * 1000)
            time.sleep(0.1)  # within the ration of errors
    print("answer to 6,500 options:       %s" % spread(answers, "%.2f ms"))
    quiet1 = [fetch("curl", 6990, out, 1468, name="one.bin", size=1 << 20) for _ in range(RUNS)]
    loaded1 = []
    for _ in range(RUNS):
        stop = time.time() + 60
        flooding = threading.Event()

        def flood():
            # At most 20,000 of them, for at most a minute.
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
                for _ in range(200):
                    if flooding.is_set() or time.time() > stop:
                        break
                    for _ in range(100):
                        s.sendto(many[:65000], ("127.0.0.1", 6990))
                    time.sleep(0.001)

        thread = threading.Thread(target=flood)
        thread.start()
        try:
            loaded1.append(fetch("curl", 6990, out, 1468, name="one.bin", size=1 << 20))
        finally:
            flooding.set()
            thread.join()
    print("1 MB fetch, quiet:             %s" % spread(quiet1, "%.2f s"))
    print("1 MB fetch beside 6,500-option requests: %s" %
          spread(loaded1, "%.2f s", 2 * statistics.median(quiet1)), flush=True)
    # A forged error between two servers, and from a server's own port.
    other = subprocess.Popen([os.path.join(BIN, "torvek-tftp"), "--root", root, "--port",
                              "6992", "--no-window"], stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL)
    try:
        time.sleep(1)
        between = [datagrams_between((6990, 6992), (SERVER_IP, 6992), (SERVER_IP, 6990), 10)
                   - 1 for _ in range(RUNS)]
        itself = [datagrams_between((6990,), (SERVER_IP, 6990), (SERVER_IP, 6990), 10) - 1
                  for _ in range(RUNS)]
    finally:
        other.terminate()
        other.wait()
    print("datagrams in 10 s after a forged error between two servers: %s" %
          spread(between, "%d", 0))
    print("datagrams in 10 s after a forged error from the server's own port: %s" %
          spread(itself, "%d", 0))


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
    if HOSTILE:
        try:
            time.sleep(1)
            hostile(work, root, ours)
        finally:
            ours.terminate()
            ours.wait()
            shutil.rmtree(work, ignore_errors=True)
        return
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
