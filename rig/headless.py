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


def start(script, device, jack):
    """A running host, by its own number rather than by a shell's."""
    file = recorder.HOME / "script.lua"
    file.write_text(f"device = {text(device)}\njack = {str(jack).lower()}\ndofile({text(LIBRARY)})\n" + script)
    settings = recorder.environment() | {"ARDOUR_BACKEND_PATH": str(recorder.APP / "lib/backends")}
    return subprocess.Popen(["ardour8-lua", file], env=settings, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, errors="replace")


def run(script, device=recorder.TONES, jack=False, seconds=180):
    """Runs a script after the library beside this file and returns what it printed."""
    with start(script, device, jack) as host:
        try:
            output = host.communicate(timeout=seconds)[0]
        except subprocess.TimeoutExpired:
            host.kill()
            raise EngineFailed(f"not finished within {seconds} s: {host.communicate()[0]}") from None
    lines = [line for line in output.splitlines() if not re.match(r"lua/|\[WARNING\]: Falling back", line)]
    if "finished" not in lines:
        raise EngineFailed(f"exit {host.returncode}: " + "\n".join(lines[-20:]))
    return lines[: lines.index("finished")]


def opened(folder, script="", **options):
    """Opens a session, runs a script with it, saves it; what was printed."""
    return run(f"openSession({text(folder)})\n{script}\nfinish()\n", **options)


def crash(folder, script, word, device=recorder.TONES):
    """Opens a session and kills the engine at the moment when the script prints a word."""
    with start(f"openSession({text(folder)})\n{script}\npause(60)\n", device, False) as host:
        said = []
        for line in host.stdout:
            said.append(line)
            if line.strip() == word:
                host.kill()
                return
    raise EngineFailed("".join(said[-20:]))
