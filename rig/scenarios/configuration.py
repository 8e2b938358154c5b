"""The recorder's own files: configuration, hooks, list of sessions."""

import base64
import difflib
import xml.etree.ElementTree as ET

import corvane
import osc
import recorder
from corvane import corvanectl, patchFile
from report import report
from shows import BAND, complaints, create, savedByRecorder, scenario


def hook(identifier, name):
    """An action hook as the recorder stores one: its state is Lua text in base64."""
    state = f's = {{}} s["n"] = "{name}" s["s"] = "-- {name}" s["f"] = "return function () end" s["a"] = {{}} '
    signals = "1".rjust(32, "0")
    content = base64.b64encode(state.encode()).decode()
    return f'    <LuaCallback lua="Lua 5.3" id="{identifier}" name="{name}" signals="{signals}">{content}</LuaCallback>\n'


def scripts(*hooks):
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<UIScripts>
  <ActionHooks>
{"".join(hooks)}  </ActionHooks>
</UIScripts>
"""


def quitByMenu():
    """The recorder's own way out, on which it writes its configuration."""
    osc.send("/access_action", "Common/Quit")
    recorder.waitFor(lambda: not recorder.pids(), 20, "the recorder's end")


@scenario("The recorder's configuration, hooks and list of sessions")
def configuration():
    first = create("First", BAND)
    savedByRecorder(first)
    quitByMenu()
    config, backup, hooks = (recorder.PREFERENCES / n for n in ("config", "config.corvane-backup", "ui_scripts"))
    backup.unlink()
    written = config.read_bytes()
    hooks.write_text(scripts(hook(770, "My Hook"), hook(771, "Corvane Tick"), hook(772, "Corvane Sync"), hook(773, "Wolke ☁")))
    corvanectl("sync", first, "--from", patchFile(BAND), "--launch")
    report.equal("the backup is what the recorder wrote", backup.read_bytes(), written)
    changes = [line for line in difflib.ndiff(written.decode().splitlines(), config.read_text().splitlines()) if line[0] in "+-"]
    report.check("something was changed", changes)
    report.equal("only the surface's switches were changed",
                 [c for c in changes if not any(n in c for n in ('"osc-port"', '"use-osc"', '"Open Sound Control (OSC)"'))], [])
    report.equal("only the old hooks were taken out", hooks.read_text(), scripts(hook(770, "My Hook"), hook(773, "Wolke ☁")))
    recorder.waitUntilReady()
    report.check("the recorder came up with both", recorder.isReady())
    quitByMenu()
    surface = next(p for p in ET.parse(config).getroot().iter("Protocol") if p.get("name") == "Open Sound Control (OSC)")
    report.equal("the recorder keeps the surface on", surface.get("active"), "1")
    second = create("Second", BAND)
    report.equal("the list of sessions, newest first", (recorder.PREFERENCES / "recent").read_text().splitlines(),
                 ["Second", str(second), "First", str(first)])
    report.equal("the backup is still the first", backup.read_bytes(), written)
    recorder.quit()
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])
