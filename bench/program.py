#!/usr/bin/env python3
"""Measures the program itself, from outside: how long from its start until its window is there, what memory it
holds when it has settled, and how often its threads wake up while nothing happens.

    bench/program.py BIN_FOLDER RESULT [--starts N] [--settle SECONDS] [--idle SECONDS]

It runs on a display (Xvfb), in a network, a /run and a home of its own, so that nothing of this machine is met: no
console, no message bus, no Bonjour daemon but those that are started here. The display is watched by a small X
client below: the server tells it that the window was mapped and that something was drawn into it, so that the
times are as fine as the scheduler lets them be, a fraction of a millisecond.
"""

import argparse
import json
import os
import select
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

TIMEOUT = 30  # seconds, for anything to happen

BUS = "/run/dbus/system_bus_socket"
BUS_CONFIGURATION = f"""<busconfig><type>system</type><listen>unix:path={BUS}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*" eavesdrop="true"/>
<allow receive_sender="*"/></policy></busconfig>"""
DAEMON_CONFIGURATION = """[server]
use-ipv4=yes
use-ipv6=no
allow-interfaces=lo
enable-dbus=yes
[publish]
publish-workstation=no
"""


class Display:
    """A connection to the X server that hears of every window: when it is mapped, and when it is first drawn into."""

    MAP_NOTIFY, CREATE_NOTIFY, REPLY = 19, 16, 1

    def __init__(self, number):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(f"/tmp/.X11-unix/X{number}")
        self.socket.sendall(struct.pack("<BxHHHHxx", ord("l"), 11, 0, 0, 0))
        status, length = struct.unpack("<BxHHH", self.read(8))[0::3]
        setup = self.read(4 * length)
        if status != 1:
            raise RuntimeError("the display refuses connections")
        self.next_id = struct.unpack_from("<I", setup, 4)[0]
        vendor, formats = struct.unpack_from("<H", setup, 16)[0], setup[21]
        root = struct.unpack_from("<I", setup, 32 + (vendor + 3) // 4 * 4 + 8 * formats)[0]
        self.request(2, 0, struct.pack("<III", root, 1 << 11, 1 << 19))  # its children's events
        self.request(98, 0, struct.pack("<Hxx8s", 6, b"DAMAGE"))
        present, self.damage, self.damage_notify = self.reply()[8:11]
        if not present:
            raise RuntimeError("the display cannot tell when it is drawn on")
        self.request(self.damage, 0, struct.pack("<II", 1, 1))
        self.reply()

    def read(self, count):
        data = b""
        while len(data) < count:
            part = self.socket.recv(count - len(data))
            if not part:
                raise RuntimeError("the display has gone")
            data += part
        return data

    def request(self, opcode, detail, body):
        self.socket.sendall(struct.pack("<BBH", opcode, detail, 1 + len(body) // 4) + body)

    def reply(self):
        while True:
            packet = self.read(32)
            if packet[0] == 0:
                raise RuntimeError(f"the display reports error {packet[1]}")
            if packet[0] == self.REPLY:
                return packet + self.read(4 * struct.unpack_from("<I", packet, 4)[0])

    def await_window(self):
        """Returns when the next window is mapped, and when it was first drawn into after that."""
        window = mapped = None
        drawings = {}
        end = time.monotonic() + TIMEOUT
        while select.select([self.socket], [], [], max(0, end - time.monotonic()))[0]:
            event = self.read(32)
            now = time.monotonic()
            kind = event[0] & 0x7F
            if kind == self.CREATE_NOTIFY:
                # Watched from here on: no drawing can come before the watch.
                self.next_id += 1
                drawings[self.next_id] = struct.unpack_from("<I", event, 8)[0]
                self.request(self.damage, 1, struct.pack("<IIBxxx", self.next_id, drawings[self.next_id], 3))
            elif kind == self.MAP_NOTIFY and mapped is None and not event[12]:
                window, mapped = struct.unpack_from("<I", event, 8)[0], now
            elif kind == self.damage_notify and mapped is not None:
                if drawings.get(struct.unpack_from("<I", event, 8)[0]) == window:
                    return mapped, now
        raise RuntimeError("no window came")

    def forget(self):
        """Throws away what was heard so far."""
        while select.select([self.socket], [], [], 0)[0]:
            self.read(32)


class Bench:
    def __init__(self, programs, folder):
        self.programs = programs
        self.folder = folder
        self.children = []
        reading, writing = os.pipe()
        self.start(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x1024x24", "-nolisten", "tcp"],
                   pass_fds=[writing])
        os.close(writing)
        number = os.read(reading, 16).decode().strip()
        if not number:
            raise RuntimeError("Xvfb does not start")
        self.display = Display(number)
        self.environment = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "DISPLAY": f":{number}",
                            "QT_QPA_PLATFORM": "xcb", "DBUS_SESSION_BUS_ADDRESS": f"unix:path={folder}/run/bus"}
        places = {"HOME": "home", "XDG_CONFIG_HOME": "home/.config", "XDG_CACHE_HOME": "home/.cache",
                  "XDG_DATA_HOME": "home/.local/share", "XDG_RUNTIME_DIR": "run"}
        for name, place in places.items():
            self.environment[name] = os.path.join(folder, place)
            os.makedirs(self.environment[name], mode=0o700, exist_ok=True)

    def start(self, command, **options):
        child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                 stderr=open(os.path.join(self.folder, "errors"), "a"), **options)
        self.children.append(child)
        return child

    def stop(self, child):
        child.send_signal(signal.SIGTERM)
        status = child.wait(TIMEOUT)
        self.children.remove(child)
        return status

    def stop_all(self):
        for child in reversed(self.children):
            child.kill()
            child.wait()

    def start_program(self, arguments):
        """Returns the program, and the seconds until its window was mapped and until it was painted."""
        self.display.forget()
        begin = time.monotonic()
        program = self.start([os.path.join(self.programs, "corvane"), *arguments], env=self.environment)
        mapped, painted = self.display.await_window()
        return program, mapped - begin, painted - begin

    def end_program(self, program):
        status = self.stop(program)
        if status != 0:
            raise RuntimeError(f"the program ended with {status}")

    def start_bus(self):
        for name, text in (("bus.conf", BUS_CONFIGURATION), ("avahi.conf", DAEMON_CONFIGURATION)):
            with open(os.path.join("/run", name), "w") as file:
                file.write(text)
        os.makedirs("/run/dbus")
        os.makedirs("/run/avahi-daemon")
        # An ordinary user's namespace knows nobody but that user, and Avahi insists on a user of its own.
        for name, text in (("passwd", "root:x:0:0::/:\navahi:x:0:0::/:\n"), ("group", "root:x:0:\navahi:x:0:\n")):
            with open(f"/run/{name}", "w") as file:
                file.write(text)
            subprocess.run(["mount", "--bind", f"/run/{name}", f"/etc/{name}"], check=True)
        self.start(["dbus-daemon", "--config-file=/run/bus.conf", "--nofork", "--nopidfile"])
        eventually(lambda: os.path.exists(BUS))

    def start_bonjour(self):
        self.start(["avahi-daemon", "-f", "/run/avahi.conf", "--no-drop-root", "--no-chroot", "--no-rlimits"])
        state = ["dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.Avahi", "/",
                 "org.freedesktop.Avahi.Server.GetState"]
        eventually(lambda: b"int32 2" in subprocess.run(state, capture_output=True).stdout)

    def measure(self, arguments, options):
        """Everything about the program started in one way."""
        program, _, _ = self.start_program(arguments)  # the first finds cold caches
        self.end_program(program)
        mapped, painted = [], []
        for _ in range(options.starts):
            program, until_mapped, until_painted = self.start_program(arguments)
            mapped.append(until_mapped)
            painted.append(until_painted)
            if len(mapped) < options.starts:
                self.end_program(program)
        time.sleep(options.settle)
        before = switches(program.pid)
        time.sleep(options.idle)
        after = switches(program.pid)
        woken = {thread: count - before.get(thread, 0) for thread, count in after.items()}
        result = {"mapped": mapped, "painted": painted, "memory": memory(program.pid), "idle": options.idle,
                  "wake-ups": woken}
        self.end_program(program)
        return result


def eventually(condition):
    end = time.monotonic() + TIMEOUT
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError("something that was started does not come up")
        time.sleep(0.05)


def switches(process):
    """How often each thread has been given the processor, by its number and name."""
    counts = {}
    for thread in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{thread}/status") as file:
            fields = dict(line.split(":", 1) for line in file)
        counts[f"{thread} {fields['Name'].strip()}"] = (int(fields["voluntary_ctxt_switches"]) +
                                                int(fields["nonvoluntary_ctxt_switches"]))
    return counts


def memory(process):
    """Bytes: all that is resident, its share of that, and what is nobody else's."""
    fields = {}
    with open(f"/proc/{process}/smaps_rollup") as file:
        for line in list(file)[1:]:
            name, value = line.split()[:2]
            fields[name.rstrip(":")] = int(value) * 1024
    return {"resident": fields["Rss"], "share": fields["Pss"],
            "own": fields["Private_Clean"] + fields["Private_Dirty"]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("programs", help="folder of the built programs")
    parser.add_argument("result", help="file for the measurements, JSON")
    parser.add_argument("--starts", type=int, default=9)
    parser.add_argument("--settle", type=float, default=32)
    parser.add_argument("--idle", type=float, default=20)
    options = parser.parse_args()
    if "CORVANE_BENCH_NAMESPACE" not in os.environ:
        os.environ["CORVANE_BENCH_NAMESPACE"] = "1"
        own = [] if os.geteuid() == 0 else ["--map-root-user"]
        os.execvp("unshare", ["unshare", *own, "--net", "--mount", sys.executable, *sys.argv])
    subprocess.run(["ip", "link", "set", "lo", "up", "multicast", "on"], check=True)
    subprocess.run(["mount", "-t", "tmpfs", "none", "/run"], check=True)

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # what was started ends with it
    folder = tempfile.mkdtemp(prefix="corvane-bench-")
    bench = None
    try:
        bench = Bench(os.path.abspath(options.programs), folder)
        bench.start_bus()
        results = {"alone": bench.measure([], options)}
        results["rehearsal"] = bench.measure(["--rehearse", os.path.join(folder, "rehearsal")], options)
        bench.start_bonjour()
        results["bonjour"] = bench.measure([], options)
    except Exception:
        with open(os.path.join(folder, "errors")) as file:
            sys.stderr.write(file.read())
        raise
    finally:
        if bench:
            bench.stop_all()
        shutil.rmtree(folder)
    with open(options.result, "w") as file:
        json.dump(results, file, indent=1)


if __name__ == "__main__":
    main()
