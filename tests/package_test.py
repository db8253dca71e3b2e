#!/usr/bin/env python3
"""The Debian packages, unpacked into a temporary root and run from there in
the lab: every binary answers --version, and torvek, run with a fresh HOME,
searches the lab's virtual modules and keeps its daily log in the per-user
data folder, not beside its executable.

Usage (inside the lab's PC namespace): package_test.py LAB_SCRIPT VERSION DEB...
"""
import glob
import os
import signal
import subprocess
import sys
import tempfile
import time

LAB, VERSION, DEBS = sys.argv[1], sys.argv[2], sys.argv[3:]
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)
        print("FAIL", what, flush=True)


def wait_for(predicate, seconds):
    deadline = time.time() + seconds
    while time.time() < deadline:
        if predicate():
            return True
        time.sleep(0.1)
    return predicate()


def main():
    try:
        inside = os.stat("/proc/self/ns/net").st_ino == os.stat("/run/netns/tvk-pc").st_ino
    except OSError:
        inside = False
    if not inside:
        print("package_test: not inside the lab's PC namespace")
        return 1
    work = tempfile.mkdtemp(prefix="torvek-package-test-")
    os.chmod(work, 0o755)
    root = os.path.join(work, "root")
    for deb in DEBS:
        subprocess.run(["dpkg-deb", "-x", deb, root], check=True)
    bindir = os.path.join(root, "usr", "bin")
    names = sorted(os.listdir(bindir))
    check({"torvek", "torvek-tftp", "torvek-modsim", "torvek-bootsim"} <= set(names),
          "binaries: %s" % names)
    env = {k: v for k, v in os.environ.items() if not k.startswith(("XDG_", "DISPLAY"))}
    for name in names:
        result = subprocess.run([os.path.join(bindir, name), "--version"], capture_output=True,
                                text=True, timeout=20, env=env)
        check(result.returncode == 0 and result.stdout.strip() == "%s %s" % (name, VERSION),
              "%s --version: %r %r" % (name, result.stdout, result.stderr))
        result = subprocess.run([os.path.join(bindir, name), "--help"], capture_output=True,
                                text=True, timeout=20, env=env)
        check(result.returncode == 0 and "usage" in result.stdout.lower(),
              "%s --help: %r" % (name, result.stdout[:200]))

    home = os.path.join(work, "home")
    os.makedirs(home)
    frames = os.path.join(work, "frames.log")
    sim = subprocess.Popen([LAB, "lan", os.path.join(bindir, "torvek-modsim"), "--count", "3",
                            "--lifetime", "120", "--quiet", "--log", frames])
    time.sleep(0.5)
    env.update(HOME=home, QT_QPA_PLATFORM="offscreen")
    torvek = subprocess.Popen([os.path.join(bindir, "torvek")], cwd=work, env=env,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        def searched():
            return os.path.exists(frames) and "10.77.0.1:7981 23 " in open(frames).read()

        check(wait_for(searched, 20), "the unpacked torvek's search reaches the virtual modules")
        data = os.path.join(home, ".local", "share", "Torvek")
        check(wait_for(lambda: glob.glob(os.path.join(data, "*.txt")), 20),
              "the daily log is in the per-user data folder %s" % data)
        check(not glob.glob(os.path.join(bindir, "*.txt")), "nothing is written beside torvek")
        check(torvek.poll() is None, "torvek keeps running")
    finally:
        torvek.send_signal(signal.SIGTERM)
        try:
            torvek.wait(10)
        except subprocess.TimeoutExpired:
            torvek.kill()
        sim.terminate()
        sim.wait()
        subprocess.run(["rm", "-rf", work])
    if failures:
        print("%d failures" % len(failures))
        return 1
    print("packages run from their unpacked root")
    return 0


if __name__ == "__main__":
    sys.exit(main())
