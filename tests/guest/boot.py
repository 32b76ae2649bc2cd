#!/usr/bin/env python3
"""Boots the guest, shows its console and judges the cases that it prints.

usage: boot.py KERNEL INITRD SECONDS

The guest prints "ok <case>" or "FAIL <case>" for every case, "drive <line> <level>" when it wants an input of the
board's GPIO chip driven, and "guest: done" at the end. Exit code 0: every case passed and the end was reached.
"""
import json
import os
import selectors
import socket
import subprocess
import sys
import tempfile
import time


def connect(path):
    """A file that talks to one of QEMU's sockets, which appear as soon as it runs."""
    deadline = time.monotonic() + 10
    while True:
        try:
            link = socket.socket(socket.AF_UNIX)
            link.settimeout(10)
            link.connect(path)
            return link.makefile("rw", buffering=1)
        except OSError:
            if time.monotonic() > deadline:
                raise
            time.sleep(0.02)


def ask(monitor, command, **arguments):
    monitor.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
    monitor.flush()
    while True:
        answer = json.loads(monitor.readline())
        if "return" in answer:
            return answer["return"]
        if "error" in answer:
            raise RuntimeError(answer["error"])


def gpio_chip(monitor):
    """Path of the board's GPIO chip among QEMU's devices."""
    monitor.readline()   # greeting
    ask(monitor, "qmp_capabilities")
    devices = ask(monitor, "qom-list", path="/machine/unattached")
    return next("/machine/unattached/" + device["name"] for device in devices if device["type"] == "child<pl061>")


def input_driver(folder):
    """A function that sets the level of an input of the board's chip."""
    chip = gpio_chip(connect(folder + "/qmp"))
    wires = connect(folder + "/qtest")

    def drive(line, level):
        wires.write(f"set_irq_in {chip} unnamed-gpio-in {line} {level}\n")
        wires.flush()
        wires.readline()

    return drive


def follow(qemu, drive, seconds):
    """Shows the console until the guest is off. Returns the counts of passed and failed cases, and whether it ended."""
    passed = failed = 0
    done = False
    deadline = time.monotonic() + seconds
    console = selectors.DefaultSelector()
    console.register(qemu.stdout, selectors.EVENT_READ)
    buffer = b""
    while time.monotonic() < deadline:
        if not console.select(timeout=max(0.0, deadline - time.monotonic())):
            break
        data = os.read(qemu.stdout.fileno(), 65536)
        if not data:
            break
        buffer += data
        *lines, buffer = buffer.split(b"\n")
        for line in (raw.decode(errors="replace").rstrip("\r") for raw in lines):
            if line.startswith("drive "):
                drive(*line.split()[1:])
                continue
            print(line, flush=True)
            passed += line.startswith("ok ")
            failed += line.startswith("FAIL ")
            done = done or line == "guest: done"
    return passed, failed, done


def main():
    kernel, initrd, seconds = sys.argv[1], sys.argv[2], float(sys.argv[3])
    begin = time.monotonic()
    with tempfile.TemporaryDirectory() as folder:
        qemu = subprocess.Popen(
            ["qemu-system-aarch64", "-M", "virt", "-cpu", "cortex-a72", "-m", "256", "-nographic", "-no-reboot",
             "-nic", "none", "-monitor", "none", "-serial", "stdio",
             "-qtest", f"unix:{folder}/qtest,server=on,wait=off", "-qtest-log", "/dev/null",
             "-qmp", f"unix:{folder}/qmp,server=on,wait=off",
             "-kernel", kernel, "-initrd", initrd, "-append", "console=ttyAMA0 quiet panic=-1"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        try:
            passed, failed, done = follow(qemu, input_driver(folder), seconds)
        finally:
            qemu.kill()
            qemu.wait()
    if not done:
        print(f"guest: it did not reach its end (time limit {seconds:g} s)")
    print(f"guest: {passed} cases passed, {failed} failed, {time.monotonic() - begin:.1f} s")
    return 0 if done and passed > 0 and failed == 0 else 1


sys.exit(main())
