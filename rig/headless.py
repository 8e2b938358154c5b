"""The recorder's engine without its windows: sessions are opened, changed, recorded into and saved by scripts."""

import re
import subprocess
from pathlib import Path

import recorder

LIBRARY = Path(__file__).parent / "sessions/Engine.lua"


class EngineFailed(Exception):
    """The engine refused or crashed; its own words."""


def text(value):
    """A Lua string of any bytes."""
    return '"' + "".join(f"\\{byte:03d}" for byte in str(value).encode()) + '"'


def run(script, device=recorder.TONES, jack=False, seconds=120):
    """Runs a script after the library beside this file and returns what it printed."""
    start = f"device = {text(device)}\njack = {str(jack).lower()}\ndofile({text(LIBRARY)})\n"
    file = recorder.HOME / "script.lua"
    file.write_text(start + script)
    settings = recorder.environment() | {"ARDOUR_BACKEND_PATH": str(recorder.APP / "lib/backends")}
    host = subprocess.run(["ardour8-lua", file], env=settings, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          errors="replace", timeout=seconds)
    lines = [line for line in host.stdout.splitlines() if not re.match(r"lua/|\[WARNING\]: Falling back", line)]
    if "finished" not in lines:
        raise EngineFailed(f"exit {host.returncode}: " + "\n".join(lines[-20:] + host.stderr.splitlines()[-20:]))
    return lines[: lines.index("finished")]


def opened(folder, script="", **options):
    """Opens a session, runs a script with it, saves it; what was printed."""
    return run(f"openSession({text(folder)})\n{script}\nfinish()\n", **options)
