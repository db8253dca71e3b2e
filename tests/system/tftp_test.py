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
        result = subprocess.run([LAB, "lan", "tftp", SERVER_IP, str(server.port), "-m", "ascii",
                                 "-c", "get", "text.txt", out], capture_output=True, timeout=60)
        with open(out, "rb") as f:
            back = f.read()
        check(back == b"one\ntwo\r\nthree\rfour\n", "netascii comes back as it was: %r" % back)
    finally:
        server.stop()


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
        for name, size in (("image16.bin", 16 << 20), ("image40.bin", 40 << 20),
                           ("loss.bin", 1 << 20)):
            with open(os.path.join(root, name), "wb") as f:
                f.write(os.urandom(size))
        for i in range(5):
            with open(os.path.join(root, "small%d.bin" % i), "wb") as f:
                f.write(os.urandom(2 << 20))
        os.chmod(root, 0o755)

        steps = {"confinement": lambda: confinement(work, root, outside),
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
