#!/usr/bin/env python3
"""torvek-tftp against real TFTP clients, inside the lab.

The server runs in the PC namespace; tftp-hpa, curl and atftp fetch from the
LAN namespace, as a boot loader would. Usage: tftp_test.py BIN_DIR LAB_SCRIPT
"""
import hashlib
import os
import shutil
import signal
import socket
import stat
import struct
import subprocess
import sys
import tempfile
import threading
import time

BIN, LAB = sys.argv[1], sys.argv[2]
SERVER_IP = "10.77.0.1"
# Transfer sockets come from a range above the kernel's ephemeral ports, so
# the packet-drop rule touches nothing but this server.
PORT_RANGE = (61100, 61999)
failures = []


def in_lab():
    try:
        return os.stat("/proc/self/ns/net").st_ino == os.stat("/run/netns/tvk-pc").st_ino
    except OSError:
        return False


def digest(path):
    with open(path, "rb") as f:
        return hashlib.sha256(f.read()).hexdigest()


served_digests = {}


def served_digest(path):
    """The served files do not change: each is hashed once."""
    if path not in served_digests:
        served_digests[path] = digest(path)
    return served_digests[path]


class Server:
    def __init__(self, root, port, *extra, user=None):
        args = [os.path.join(BIN, "torvek-tftp"), "--root", root, "--port", str(port),
                "--no-window", "--port-range", "%d:%d" % PORT_RANGE, *extra]
        if user:
            args = ["setpriv", "--reuid=%d" % user, "--regid=%d" % user, "--clear-groups"] + args
        self.out = tempfile.TemporaryFile(mode="w+")
        self.err = tempfile.TemporaryFile(mode="w+")
        self.process = subprocess.Popen(args, stdout=self.out, stderr=self.err)
        self.root = root
        self.port = port
        deadline = time.time() + 10
        while time.time() < deadline and self.process.poll() is None:
            self.err.seek(0)
            if "serving" in self.err.read():
                return
            time.sleep(0.05)
        if not user:
            check(False, "torvek-tftp did not start on port %d: %s" % (port, self.stderr()))

    def lines(self):
        self.out.seek(0)
        return self.out.read().splitlines()

    def stderr(self):
        self.err.seek(0)
        return self.err.read()

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                failures.append("torvek-tftp did not end on SIGTERM")
        return self.process.returncode


def client(kind, port, name, out, blksize=512, window=None):
    if kind == "tftp-hpa":
        assert blksize == 512  # this client asks for no options
        cmd = ["tftp", SERVER_IP, str(port), "-m", "binary", "-c", "get", name, out]
    elif kind == "curl":
        cmd = ["curl", "-s", "-S", "--tftp-blksize", str(blksize), "-o", out,
               "tftp://%s:%d/%s" % (SERVER_IP, port, name)]
    else:
        cmd = ["atftp", "--get", "-r", name, "-l", out, "--option", "blksize %d" % blksize]
        if window:
            cmd += ["--option", "windowsize %d" % window]
        cmd += [SERVER_IP, str(port)]
    return [LAB, "lan"] + cmd


def check(condition, what):
    if not condition:
        failures.append(what)
        print("FAIL", what, flush=True)


def fetch_all(server, work, jobs, label):
    """Runs the client commands at once and checks every file arrived whole."""
    started = time.time()
    running = []
    for i, (kind, name, blksize, window) in enumerate(jobs):
        out = os.path.join(work, "got-%s-%d" % (label, i))
        command = client(kind, server.port, name, out, blksize, window)
        running.append((subprocess.Popen(command, stdout=subprocess.DEVNULL,
                                         stderr=subprocess.PIPE), out, kind, name, blksize,
                        window))
    for process, out, kind, name, blksize, window in running:
        try:
            _, err = process.communicate(timeout=300)
        except subprocess.TimeoutExpired:
            process.kill()
            err = b"timed out"
        what = "%s: %s %s blksize %d window %s" % (label, kind, name, blksize, window)
        whole = os.path.exists(out) and digest(out) == served_digest(os.path.join(server.root, name))
        check(process.returncode == 0 and whole, what + " " + err.decode(errors="replace")[-200:])
        if os.path.exists(out):
            os.unlink(out)
    return time.time() - started


def big_images(work, root):
    server = Server(root, 6969)
    try:
        for name in ("image16.bin", "image40.bin"):
            for kind, blksize, window in (("tftp-hpa", 512, None), ("curl", 512, None),
                                          ("curl", 1468, None), ("atftp", 512, None),
                                          ("atftp", 1468, None), ("atftp", 1468, 8)):
                took = fetch_all(server, work, [(kind, name, blksize, window)], "big")
                print("  %-8s %s blksize %4d window %s: %.2f s" % (kind, name, blksize, window,
                                                                   took), flush=True)
        ok_lines = [line for line in server.lines() if line.startswith("ok ")]
        check(len(ok_lines) == 12, "one ok line per transfer: %d" % len(ok_lines))
    finally:
        server.stop()


def twenty_at_once(work, root):
    server = Server(root, 6970)
    try:
        kinds = [("curl", 1468, None), ("atftp", 512, None), ("atftp", 1468, 8),
                 ("tftp-hpa", 512, None)]
        jobs = [(kinds[i % 4][0], "small%d.bin" % (i % 5), kinds[i % 4][1], kinds[i % 4][2])
                for i in range(20)]
        took = fetch_all(server, work, jobs, "twenty")
        print("  twenty clients at once: %.2f s" % took, flush=True)
    finally:
        server.stop()


def with_loss(work, root):
    def nft(*args):
        return subprocess.run(["nft"] + list(args), capture_output=True, text=True)

    nft("delete", "table", "inet", "torvek_tftp_loss")
    rules = [
        ["add", "table", "inet", "torvek_tftp_loss"],
        ["add", "chain", "inet", "torvek_tftp_loss", "out",
         "{ type filter hook output priority 0 ; }"],
        ["add", "rule", "inet", "torvek_tftp_loss", "out", "udp", "sport",
         "%d-%d" % PORT_RANGE, "numgen", "random", "mod", "100", "<", "5", "drop"],
    ]
    for rule in rules:
        result = nft(*rule)
        if result.returncode != 0:
            check(False, "nft: " + result.stderr)
            return
    server = Server(root, 6971)
    try:
        jobs = [("tftp-hpa", "loss.bin", 512, None), ("curl", "loss.bin", 1468, None),
                ("atftp", "loss.bin", 1468, None), ("atftp", "loss.bin", 1468, 8)]
        for job in jobs:
            took = fetch_all(server, work, [job], "loss")
            print("  5%% of the server's packets dropped, %s blksize %d window %s: %.2f s"
                  % (job[0], job[2], job[3], took), flush=True)
        resent = sum(int(line.split(", ")[1].split()[0]) for line in server.lines()
                     if "sent again" in line)
        check(resent > 0, "the loss rule dropped nothing")
    finally:
        server.stop()
        nft("delete", "table", "inet", "torvek_tftp_loss")


def request(port, payload, timeout=3):
    """Sends one datagram to the server and returns the first answer."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.settimeout(timeout)
        s.sendto(payload, (SERVER_IP, port))
        try:
            return s.recvfrom(70000)[0]
        except socket.timeout:
            return b""


def rrq(name, mode=b"octet", opcode=1):
    if isinstance(name, str):
        name = name.encode()
    return struct.pack("!H", opcode) + name + b"\0" + mode + b"\0"


def rrq_options(name, mode=b"octet", opcode=1, **options):
    return rrq(name, mode, opcode) + b"".join(
        b"%s\0%s\0" % (k.encode(), str(v).encode()) for k, v in options.items())


def spoof(source, destination, payload):
    """One UDP datagram with a forged sender, through a raw socket."""
    header = struct.pack("!HHHH", source[1], destination[1], 8 + len(payload), 0)
    ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + 8 + len(payload), 0, 0, 64, 17, 0,
                     socket.inet_aton(source[0]), socket.inet_aton(destination[0]))
    with socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW) as s:
        s.sendto(ip + header + payload, (destination[0], 0))


class Counter:
    """Counts the UDP datagrams this namespace sends that match nftables
    expressions, one count for each: what goes back and forth between servers."""
    TABLE = "torvek_tftp_count"

    def __init__(self, *matches):
        subprocess.run(["nft", "delete", "table", "inet", self.TABLE], capture_output=True)
        rules = [["add", "table", "inet", self.TABLE],
                 ["add", "chain", "inet", self.TABLE, "out",
                  "{ type filter hook output priority 0 ; }"]]
        rules += [["add", "rule", "inet", self.TABLE, "out"] + m.split() + ["counter"]
                  for m in matches]
        for rule in rules:
            result = subprocess.run(["nft"] + rule, capture_output=True, text=True)
            check(result.returncode == 0, "nft: " + result.stderr)

    def counts(self):
        listing = subprocess.run(["nft", "list", "table", "inet", self.TABLE],
                                 capture_output=True, text=True).stdout
        return [int(line.split("counter packets")[1].split()[0])
                for line in listing.splitlines() if "counter packets" in line]

    def packets(self):
        return (self.counts() or [-1])[0]

    def close(self):
        subprocess.run(["nft", "delete", "table", "inet", self.TABLE], capture_output=True)


def server_memory(server):
    """Resident kilobytes and open descriptors of a server."""
    with open("/proc/%d/status" % server.process.pid) as f:
        rss = next(int(line.split()[1]) for line in f if line.startswith("VmRSS:"))
    return rss, len(os.listdir("/proc/%d/fd" % server.process.pid))


def timed_fetch(server, work, name="image16.bin", blksize=1468):
    started = time.time()
    fetch_all(server, work, [("curl", name, blksize, None)], "timed")
    return time.time() - started


def reflection(work, root):
    """A forged error between two servers, or from a server to itself, is
    never answered: the datagrams end with the forged one."""
    a, b = Server(root, 6974), Server(root, 6975)
    here = SERVER_IP
    counter = Counter("udp dport { 6974, 6975 }")
    try:
        error = b"\0\5\0\0oops\0"
        for what, source, destination, payload, most in (
                ("an error from the other server", (here, 6975), (here, 6974), error, 1),
                ("an error from the server's own port", (here, 6974), (here, 6974), error, 1),
                ("a request from the server's own port", (here, 6974), (here, 6974),
                 rrq("inside.bin"), 1),
                ("an unknown opcode from the other server", (here, 6975), (here, 6974),
                 b"\0\x09junk", 2)):
            before = counter.packets()
            spoof(source, destination, payload)
            time.sleep(0.5)
            sent = counter.packets() - before
            check(1 <= sent <= most, "%s: %d datagrams, at most %d" % (what, sent, most))
        # The same on a transfer's own port: a read that is never acknowledged
        # holds one open while the forged datagrams arrive.
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
            s.settimeout(3)
            s.sendto(rrq("image16.bin"), (here, 6974))
            _, (_, port) = s.recvfrom(70000)
            counter.close()
            # From the transfer's port to the other server; to itself.
            counter = Counter("udp sport %d udp dport 6975" % port,
                              "udp sport %d udp dport %d" % (port, port))
            for source in ((here, 6975), (here, port)):
                spoof(source, (here, port), error)
                spoof(source, (here, port), b"\0\4\0\1")
            time.sleep(0.5)
            # The acknowledgement from a stranger gets one error; the forged
            # ones from the port itself are the only datagrams to it.
            check(counter.counts() == [1, 2], "a transfer answers only the other server's "
                  "acknowledgement: %r datagrams" % counter.counts())
        lines = a.lines()
        check(any("ignored: not a request" in line for line in lines) and
              any("ignored: forged sender" in line for line in lines),
              "the forged datagrams show in the log:\n" + "\n".join(lines))
        check(a.process.poll() is None and b.process.poll() is None, "both servers still run")
    finally:
        counter.close()
        a.stop()
        b.stop()


def floods(work, root):
    """Reads that are never acknowledged, in thousands from one address and
    as netascii of a 40 MB image from another, while a third client fetches
    16 MB: bounded descriptors and memory, and the fetch within twice its
    quiet time. (1,000 reads here; bench/tftp_bench.py floods with 5,000.)"""
    server = Server(root, 6976)
    flood = []
    try:
        quiet = sorted(timed_fetch(server, work) for _ in range(3))[1]
        _, descriptors = server_memory(server)
        # 1,000 octet reads, every other one asking the longest timeout, from
        # the server's address; 20 netascii reads of 40 MB from loopback.
        for i in range(1000):
            s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            s.setblocking(False)
            s.sendto(rrq_options("image16.bin", **({"timeout": 255} if i % 2 else {})),
                     (SERVER_IP, server.port))
            flood.append(s)
        for i in range(20):
            s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            s.setblocking(False)
            s.sendto(rrq("image40.bin", b"netascii"), ("127.0.0.1", server.port))
            flood.append(s)
        flooded_at = time.time()
        loaded = timed_fetch(server, work)
        rss, open_now = server_memory(server)
        print("  16 MB fetch: %.2f s quiet, %.2f s beside the floods; server %d MB, %d "
              "descriptors" % (quiet, loaded, rss // 1024, open_now), flush=True)
        check(loaded <= 2 * quiet, "the fetch beside the floods took %.2f s, quiet %.2f s"
              % (loaded, quiet))
        check(rss < 50 * 1024, "the server holds %d kB beside the floods" % rss)
        check(open_now <= descriptors + 2 * (32 + 20), "%d descriptors open" % open_now)
        errors = 0
        for s in flood:
            try:
                while True:
                    errors += s.recv(70000)[:2] == b"\0\5"
            except BlockingIOError:
                pass
        most = 20 + 10 * (time.time() - flooded_at) + 5
        check(errors <= most, "%d errors for the refused reads, at most %d" % (errors, most))
        # The reads nobody acknowledged are given up within seconds, the
        # longest timeout asked for or not; the refusals come as a summary.
        deadline = flooded_at + 12
        while time.time() < deadline and server_memory(server)[1] > descriptors:
            time.sleep(0.2)
        gone = time.time() - flooded_at
        check(server_memory(server)[1] <= descriptors,
              "descriptors back to %d after the floods: %d" % (descriptors,
                                                               server_memory(server)[1]))
        print("  unacknowledged reads given up after %.1f s" % gone, flush=True)
        while time.time() < flooded_at + 11.5 and not any(
                "more requests refused" in line for line in server.lines()):
            time.sleep(0.2)
        lines = server.lines()
        busy = [line for line in lines if "transfers from this address" in line]
        check(0 < len(busy) <= 21 and "more requests refused" in busy[-1],
              "refusals summed up:\n" + "\n".join(busy[:3] + busy[-2:]))
        check(len(lines) < 120, "%d log lines for the floods" % len(lines))
    finally:
        for s in flood:
            s.close()
        server.stop()


def small_port_range(work, root):
    """Ten reads never acknowledged from one address hold at most half of a
    range of ten ports: another client is served at once."""
    server = Server(root, 6977, "--port-range", "62000:62009")
    flood = []
    try:
        for _ in range(10):
            s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            s.sendto(rrq("inside.bin"), (SERVER_IP, server.port))
            flood.append(s)
        time.sleep(0.2)
        took = fetch_all(server, work, [("tftp-hpa", "small0.bin", 512, None)], "range")
        check(took < 10, "a fetch beside ten unacknowledged reads took %.1f s" % took)
    finally:
        for s in flood:
            s.close()
        server.stop()


def confinement(work, root, outside):
    server = Server(root, 6972)
    try:
        secret = os.path.basename(outside)
        cases = {
            "dot-dot": "../" + secret,
            "deep dot-dot": "sub/../../" + secret,
            "backslash dot-dot": "..\\" + secret,
            "absolute": outside,
            "link out": "leak",
            "link to a folder out": "leakdir/" + secret,
            "device": "device",
            "fifo": "fifo",
            "folder": "sub",
        }
        for what, name in cases.items():
            answer = request(server.port, rrq(name))
            check(answer[:2] == b"\0\5", "%s (%s) is answered with an error: %r" % (what, name,
                                                                                   answer[:20]))
            check(answer[2:4] in (b"\0\1", b"\0\2"), "%s: error code %r" % (what, answer[2:4]))
        # A NUL inside the name: what follows it is no mode, so the request is refused.
        answer = request(server.port, b"\0\1inside.bin\0../" + secret.encode() + b"\0octet\0")
        check(answer[:2] == b"\0\5", "a name with NUL is refused: %r" % answer[:20])
        # A write request while uploads are not allowed.
        answer = request(server.port, rrq("new.bin", opcode=2))
        check(answer[:4] == b"\0\5\0\2", "a write is refused without allow uploads: %r" % answer)
        check(not os.path.exists(os.path.join(root, "new.bin")), "a refused upload left a file")
        time.sleep(0.3)
        lines = server.lines()
        refused = [line for line in lines if "refused" in line]
        check(len(refused) >= len(cases) - 1, "each attempt shows in the log:\n" + "\n".join(lines))
        # The file inside is still served after all that.
        answer = request(server.port, rrq("inside.bin"))
        check(answer[:4] == b"\0\3\0\1" and answer[4:] == b"inside", "the inside file: %r" % answer)
        # ... but not as a folder, nor under an upload's name.
        for name in ("inside.bin/", ".tftp-upload-1234", "sub/.tftp-upload-99"):
            answer = request(server.port, rrq(name))
            check(answer[:4] == b"\0\5\0\2", "%s is refused: %r" % (name, answer))
        # A request of thousands of options is refused on its length, at once.
        many = rrq("inside.bin") + b"".join(b"o%d\0%d\0" % (i, i) for i in range(6500))
        started = time.time()
        answer = request(server.port, many[:65000])
        check(answer[:2] == b"\0\5" and b"too long" in answer,
              "a request of 65,000 bytes is refused: %r" % answer[:40])
        check(time.time() - started < 0.5, "the refusal took %.2f s" % (time.time() - started))
        # A FIFO is never opened: a writer waiting on it stays waiting.
        opened = []
        writer = threading.Thread(target=lambda: opened.append(os.open(
            os.path.join(root, "fifo"), os.O_WRONLY)), daemon=True)
        writer.start()
        answer = request(server.port, rrq("fifo"))
        writer.join(0.5)
        check(answer[:2] == b"\0\5" and not opened, "the FIFO was opened by the server")
        os.close(os.open(os.path.join(root, "fifo"), os.O_RDONLY | os.O_NONBLOCK))
        writer.join(2)
        for fd in opened:
            os.close(fd)
        # A client's error text cannot forge a line or reach the terminal.
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
            s.settimeout(3)
            s.sendto(rrq("inside.bin"), (SERVER_IP, server.port))
            _, transfer = s.recvfrom(70000)
            s.sendto(b"\0\5\0\0x\nok     6.6.6.6:1 read 100000 bytes FORGED.bin\x1b[2J\0",
                     transfer)
        time.sleep(0.3)
        lines = server.lines()
        check(not any(line.startswith("ok     6.6.6.6") for line in lines) and
              not any("\x1b" in line for line in lines) and
              any("FORGED.bin\\x1b[2J" in line for line in lines),
              "a client's error text is escaped in the log:\n" + "\n".join(lines[-3:]))
    finally:
        server.stop()


def uploads_and_text(work, root):
    server = Server(root, 6973, "--allow-uploads")
    try:
        source = os.path.join(work, "upload.bin")
        with open(source, "wb") as f:
            f.write(os.urandom(300000))
        result = subprocess.run([LAB, "lan", "atftp", "--put", "-l", source, "-r", "sub/up.bin",
                                 "--option", "blksize 1468", SERVER_IP, str(server.port)],
                                capture_output=True, timeout=60)
        target = os.path.join(root, "sub", "up.bin")
        check(result.returncode == 0 and os.path.exists(target) and
              digest(target) == digest(source), "an upload arrives whole: %r" % result.stderr)
        check(not [n for n in os.listdir(os.path.join(root, "sub")) if ".part-" in n],
              "no temporary file is left beside an upload")
        out = os.path.join(work, "text-back.txt")
        for name in ("text.txt", "lines.txt"):
            result = subprocess.run([LAB, "lan", "tftp", SERVER_IP, str(server.port), "-m",
                                     "ascii", "-c", "get", name, out], capture_output=True,
                                    timeout=60)
            with open(out, "rb") as f:
                back = f.read()
            with open(os.path.join(root, name), "rb") as f:
                check(back == f.read(), "netascii %s comes back as it was: %r" % (name, back[:40]))
        # Names up to the longest a folder takes, though an upload is written aside.
        longest = "n" * 255
        result = subprocess.run([LAB, "lan", "atftp", "--put", "-l", source, "-r", longest,
                                 SERVER_IP, str(server.port)], capture_output=True, timeout=60)
        target = os.path.join(root, longest)
        check(result.returncode == 0 and os.path.exists(target) and
              digest(target) == digest(source), "an upload of a 255-character name: %r"
              % result.stderr)
        hijack(server, root)
    finally:
        server.stop()


def hijack(server, root):
    """While an upload is half-way, nothing in the folder shows it, and
    nothing another client does reaches it."""
    victim = os.urandom(100000)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.settimeout(3)
        before = set(os.listdir(root))
        s.sendto(rrq("victim.bin", opcode=2), (SERVER_IP, server.port))
        answer, transfer = s.recvfrom(100)
        check(answer == b"\0\4\0\0", "the upload is acknowledged: %r" % answer)
        blocks = [victim[i:i + 512] for i in range(0, len(victim) + 1, 512)]
        for number, block in enumerate(blocks[:100], 1):
            s.sendto(struct.pack("!HH", 3, number) + block, transfer)
            s.recvfrom(100)
        appeared = set(os.listdir(root)) - before
        check(not appeared, "a half-way upload shows in the folder: %r" % appeared)
        for name in appeared | {".victim.bin.part-000001", ".tftp-upload-000001"}:
            answer = request(server.port, rrq(name))
            check(answer[:2] == b"\0\5", "a read of %s during an upload: %r" % (name, answer[:8]))
        # A write to the name the upload has meanwhile, if any, is refused too.
        intruder = os.path.join(os.path.dirname(root), "intruder.bin")
        with open(intruder, "wb") as f:
            f.write(b"x" * 777)
        for name in appeared or {".tftp-upload-000001"}:
            subprocess.run([LAB, "lan", "atftp", "--put", "-l", intruder, "-r", name, SERVER_IP,
                            str(server.port)], capture_output=True, timeout=30)
        for number, block in enumerate(blocks[100:], 101):
            s.sendto(struct.pack("!HH", 3, number) + block, transfer)
            s.recvfrom(100)
    time.sleep(0.2)
    with open(os.path.join(root, "victim.bin"), "rb") as f:
        check(f.read() == victim, "the upload arrived whole and untouched")
    check(not [n for n in os.listdir(root) if n.startswith(".tftp-upload-")],
          "no upload name is left in the folder")


def privilege(root):
    # Port 69 as an ordinary user: refused, and the way to grant it is told.
    server = Server(root, 69, user=65534)
    code = server.stop()
    check(code == 1 and "setcap cap_net_bind_service=+ep" in server.stderr(),
          "port 69 without the right says how to grant it: %r" % server.stderr())


def main():
    if not in_lab():
        print("tftp_test: not inside the lab's PC namespace (scripts/lab pc ...)")
        return 1
    work = tempfile.mkdtemp(prefix="torvek-tftp-test-")
    os.chmod(work, 0o755)
    try:
        root = os.path.join(work, "served")
        os.makedirs(os.path.join(root, "sub"))
        outside_dir = os.path.join(work, "outside")
        os.makedirs(outside_dir)
        outside = os.path.join(outside_dir, "secret.txt")
        with open(outside, "w") as f:
            f.write("never to be served")
        os.symlink(outside, os.path.join(root, "leak"))
        os.symlink(outside_dir, os.path.join(root, "leakdir"))
        os.mkfifo(os.path.join(root, "fifo"))
        os.mknod(os.path.join(root, "device"), stat.S_IFCHR | 0o644, os.makedev(1, 3))
        with open(os.path.join(root, "inside.bin"), "wb") as f:
            f.write(b"inside")
        with open(os.path.join(root, "text.txt"), "wb") as f:
            f.write(b"one\ntwo\r\nthree\rfour\n")
        with open(os.path.join(root, "lines.txt"), "wb") as f:
            # Line ends of every kind across many block edges.
            f.write(b"".join(b"line %d%s" % (i, (b"\n", b"\r\n", b"\r", b"")[i % 4])
                             for i in range(20000)))
        for name, size in (("image16.bin", 16 << 20), ("image40.bin", 40 << 20),
                           ("loss.bin", 1 << 20)):
            with open(os.path.join(root, name), "wb") as f:
                f.write(os.urandom(size))
        for i in range(5):
            with open(os.path.join(root, "small%d.bin" % i), "wb") as f:
                f.write(os.urandom(2 << 20))
        os.chmod(root, 0o755)

        steps = {"reflection": lambda: reflection(work, root),
                 "floods": lambda: floods(work, root),
                 "range": lambda: small_port_range(work, root),
                 "confinement": lambda: confinement(work, root, outside),
                 "uploads": lambda: uploads_and_text(work, root),
                 "privilege": lambda: privilege(root),
                 "twenty": lambda: twenty_at_once(work, root),
                 "loss": lambda: with_loss(work, root),
                 "big": lambda: big_images(work, root)}
        only = sys.argv[3:] or list(steps)
        for name in only:
            print(name, flush=True)
            steps[name]()
    finally:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print("%d failures" % len(failures))
        return 1
    print("all passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
