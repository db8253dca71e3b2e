#!/usr/bin/env python3
"""Kills the MAC writer at random moments, inside the lab, and checks what it left.

The writer is the tool's main window writing MACs in manual mode to one virtual
ORB740 module, as fast as the answers come. After every kill the counter file
must parse and must not have gone back; over the whole run no MAC may have
been given twice, although every start carries on from what a kill left.
Usage: mac_crash_test.py BIN_DIR LAB_SCRIPT KILLS   (TORVEK_CRASH_SEED repeats a run)
"""
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

BIN, LAB, KILLS = sys.argv[1], sys.argv[2], int(sys.argv[3])
COUNTER = re.compile(rb"^([0-9a-f]+)\n([0-9a-f]+)\n$")


def in_lab():
    try:
        return os.stat("/proc/self/ns/net").st_ino == os.stat("/run/netns/tvk-pc").st_ino
    except OSError:
        return False


def read_counter(path):
    """The counter file's id, None before the first save; fails on anything garbled."""
    try:
        with open(path, "rb") as f:
            content = f.read()
    except FileNotFoundError:
        return None
    match = COUNTER.match(content)
    if not match or int(match.group(2), 16) != 0x5038:
        sys.exit(f"FAIL: counter file garbled: {content!r}")
    return int(match.group(1), 16)


def count_lines(path):
    try:
        with open(path) as f:
            return sum(1 for line in f if line.strip())
    except FileNotFoundError:
        return 0


def main():
    if not in_lab():
        sys.exit("FAIL: not inside the lab's PC side (scripts/lab pc ...)")
    seed = int(os.environ.get("TORVEK_CRASH_SEED", time.time_ns() % 1_000_000))
    rng = random.Random(seed)
    work = tempfile.mkdtemp(prefix="torvek-crash-")
    program_dir = os.path.join(work, "program")
    os.mkdir(program_dir)
    mac_log = os.path.join(work, "macs.log")
    ready = os.path.join(work, "ready")
    counter_path = os.path.join(program_dir, "mac_data_file.txt")
    writer_log = os.path.join(work, "writer.log")
    sim = subprocess.Popen(
        [LAB, "lan", os.path.join(BIN, "torvek-modsim"), "--models", "740",
         "--mac-reboot-ms", "0", "--mac-answer-delay-ms", "40", "--mac-log", mac_log, "--ready", ready,
         "--quiet", "--lifetime", "3600"])
    failures = []
    try:
        deadline = time.monotonic() + 10
        while not os.path.exists(ready):
            if time.monotonic() > deadline or sim.poll() is not None:
                sys.exit("FAIL: modsim did not start")
            time.sleep(0.01)
        last = None
        writer = [os.path.join(BIN, "mac_crash_writer"), program_dir]
        for kill in range(KILLS):
            with open(writer_log, "ab") as out:
                child = subprocess.Popen(writer, stdout=out, stderr=subprocess.DEVNULL)
            # Start-up takes most of a second; a write follows every 150 ms or so.
            time.sleep(rng.uniform(0.05, 2.5))
            child.send_signal(signal.SIGKILL)
            child.wait()
            value = read_counter(counter_path)
            if last is not None and (value is None or value < last):
                failures.append(f"kill {kill}: counter went back from {last:x} to {value}")
            last = value if value is not None else last
        # A last start, left to write twice: it carries on from whatever the
        # last kill left, and a slow build still gets its writes in.
        before = count_lines(mac_log)
        with open(writer_log, "ab") as out:
            child = subprocess.Popen(writer, stdout=out, stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + 30
        while count_lines(mac_log) < before + 2 and time.monotonic() < deadline:
            time.sleep(0.05)
        child.send_signal(signal.SIGKILL)
        child.wait()
        value = read_counter(counter_path)
        if last is not None and (value is None or value < last):
            failures.append(f"last start: counter went back from {last:x} to {value}")
    finally:
        sim.send_signal(signal.SIGTERM)
        try:
            sim.wait(timeout=5)
        except subprocess.TimeoutExpired:
            sim.kill()

    with open(mac_log) as f:
        given = [line.split()[1] for line in f if line.strip()]
    repeated = sorted({mac for mac in given if given.count(mac) > 1})
    if repeated:
        failures.append(f"MACs given twice: {repeated[:10]}")
    ids = [int(mac.replace("-", "")[6:], 16) for mac in given]
    if any(i % 4 != 1 for i in ids):
        failures.append("a MAC off the counter's grid of 4")
    final = read_counter(counter_path) or 1
    # Killed with a write out: the next start goes past the address in flight.
    try:
        with open(os.path.join(program_dir, "mac_in_flight.txt")) as f:
            company, _, following = (int(word, 16) for word in f.read().split())
        if company == 0x5038 and final < following:
            final = following
    except (FileNotFoundError, ValueError):
        pass
    # Addresses that a start stepped past: taken by the module while the killed
    # run had not saved its counter, or kept in flight but never sent.
    with open(writer_log) as f:
        stepped = sum(1 for line in f if line.startswith("stepped past"))
    unused = (final - 1) // 4 - len(given)
    if len(given) == 0:
        failures.append("no write went through at all")
    if given and final <= max(ids):
        failures.append(f"next start at {final:x}, not past the last MAC given {max(ids):x}")
    print(f"seed {seed}: {KILLS} kills, {len(given)} MACs written, next start at {final:x}; "
          f"{stepped} starts stepped past a write in flight, {unused} addresses left unused")
    shutil.rmtree(work, ignore_errors=True)
    for failure in failures:
        print("FAIL:", failure)
    print(f"{1 if not failures else 0} passed, {1 if failures else 0} failed")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
