#!/usr/bin/env python3
"""Runs the install rules of Corvane.app and the script of the disk image with stand-ins of a Mac's tools, which record
their calls, and asserts what is signed, in which order and how, what the notary gets and what is stapled. Then makes sure
that the check bites: other orders and calls must be refused.

usage: check-signing.py BUILD_FOLDER WORK_FOLDER SOURCE_FOLDER
"""

import json
import os
import shutil
import subprocess
import sys

build, work, source = sys.argv[1:4]
shutil.rmtree(work, ignore_errors=True)
tools, calls = os.path.join(work, "tools"), os.path.join(work, "calls")
os.makedirs(tools)
IDENTITY, PROFILE = "Developer ID Application: Somebody (ABCDE12345)", "corvane-notary"

STANDIN = f"""#!{sys.executable}
import json, os, sys
with open({calls!r}, "a") as file:
    file.write(json.dumps([os.path.basename(sys.argv[0]), *sys.argv[1:]]) + "\\n")
"""
MAKES_ITS_FILE = STANDIN + 'open(sys.argv[-1], "w").close()\n'
# Qt's program puts frameworks, with a library of another within one, and plug-ins into the bundle.
DEPLOYS = STANDIN + """
contents = os.path.join(sys.argv[1], "Contents")
for name in ("QtCore", "QtGui"):
    version = os.path.join(contents, "Frameworks", name + ".framework", "Versions", "A")
    os.makedirs(version)
    open(os.path.join(version, name), "w").close()
    os.symlink("A", os.path.join(contents, "Frameworks", name + ".framework", "Versions", "Current"))
open(os.path.join(contents, "Frameworks", "QtGui.framework", "Versions", "A", "libinner.dylib"), "w").close()
for name in ("PlugIns/platforms/libqcocoa.dylib", "PlugIns/styles/libqmacstyle.dylib", "Frameworks/libpng.dylib"):
    os.makedirs(os.path.dirname(os.path.join(contents, name)), exist_ok=True)
    open(os.path.join(contents, name), "w").close()
"""
for tool, text in {"codesign": STANDIN, "xcrun": STANDIN, "ditto": MAKES_ITS_FILE, "hdiutil": MAKES_ITS_FILE,
                   "macdeployqt": DEPLOYS}.items():
    with open(os.path.join(tools, tool), "w") as file:
        file.write(text)
    os.chmod(os.path.join(tools, tool), 0o755)


def run(*command, identity="", profile="", fails=False):
    """What the tools were told, in order."""
    if os.path.exists(calls):
        os.remove(calls)
    environment = os.environ | {"PATH": tools + os.pathsep + os.environ["PATH"], "CORVANE_SIGN_IDENTITY": identity,
                                "CORVANE_NOTARY_PROFILE": profile,
                                "CORVANE_MACDEPLOYQT": os.path.join(tools, "macdeployqt")}
    ended = subprocess.run(command, env=environment, capture_output=True, text=True)
    assert (ended.returncode != 0) == fails, ended.stdout + ended.stderr
    if not os.path.exists(calls):
        return []
    with open(calls) as file:
        return [json.loads(line) for line in file]


def install(name, **how):
    prefix = os.path.join(work, name)
    return run("cmake", "--install", build, "--component", "bundle", "--prefix", prefix, **how)


def image(name, **how):
    return run(os.path.join(source, "packaging/macos/make-image"), build, os.path.join(work, name), **how)


def part(path):
    """A path below the bundle's Contents, "bundle" for itself, else the file's name."""
    for end, inner in (("Corvane.app/Contents/", True), ("Corvane.app", False)):
        if end in path and (inner or path.endswith(end)):
            return path.split(end, 1)[1] if inner else "bundle"
    return os.path.basename(path)


def check_signing(told, hardened=True):
    signed = [call for call in told if call[0] == "codesign" and "--sign" in call]
    for call in signed:
        assert "--deep" not in call, f"signed deeply: {call}"
        assert "--entitlements" not in call, call
        assert ("--options" in call and call[call.index("--options") + 1] == "runtime") == hardened, call
        assert ("--timestamp" in call) == hardened, call
    order = [part(call[-1]) for call in signed if not call[-1].endswith(".dmg")]
    # QtCore.framework before or after QtGui's is all the same; a part before what holds it is not.
    assert set(order) == {
        "Frameworks/QtCore.framework", "Frameworks/QtGui.framework",
        "Frameworks/QtGui.framework/Versions/A/libinner.dylib", "Frameworks/libpng.dylib",
        "PlugIns/platforms/libqcocoa.dylib", "PlugIns/styles/libqmacstyle.dylib",
        "MacOS/corvanectl", "MacOS/livetrax-sim", "MacOS/lv1-console-sim", "bundle"}, order
    assert len(order) == len(set(order)), f"signed twice: {order}"
    assert order[-1] == "bundle", "the bundle is sealed before its parts"
    assert order.index("Frameworks/QtGui.framework/Versions/A/libinner.dylib") < order.index("Frameworks/QtGui.framework")
    libraries = [index for index, name in enumerate(order) if not name.startswith("MacOS/")][:-1]
    assert max(libraries) < min(index for index, name in enumerate(order) if name.startswith("MacOS/")), order
    verified = [call for call in told if call[0] == "codesign" and "--verify" in call and call[-1].endswith("Corvane.app")]
    assert len(verified) == 1 and told.index(verified[0]) > told.index(signed[len(order) - 1]), "not verified"
    assert told[0][0] == "macdeployqt" and told[0][2] == "-always-overwrite", "Qt comes after the signatures"


def check_notary(told, *kinds):
    """Of each kind of file: submitted and waited for once, then stapled, signed before."""
    steps = [(call[1:3], part(call[3])) for call in told if call[0] == "xcrun"]
    expected = []
    for submitted, stapled in kinds:
        expected += [(["notarytool", "submit"], submitted), (["stapler", "staple"], stapled)]
        if stapled != "bundle":
            expected.append((["stapler", "validate"], stapled))
    assert steps == expected, steps
    for call in told:
        if call[:3] == ["xcrun", "notarytool", "submit"]:
            assert call[4:] == ["--keychain-profile", PROFILE, "--wait"], call


def check_image(told):
    check_notary(told, ("Corvane.app.zip", "bundle"), ("Corvane.dmg", "Corvane.dmg"))
    made = [call for call in told if call[0] == "hdiutil"]
    assert len(made) == 1 and made[0][1] == "create" and part(made[0][-1]) == "Corvane.dmg", made
    assert made[0][made[0].index("-volname") + 1] == "Corvane" and made[0][made[0].index("-format") + 1] == "UDZO", made
    names = [" ".join([call[0], *call[1:3], part(call[-1])]) if call[0] == "codesign" else call[0] + " " + part(call[-1])
             for call in told]
    at = {name: index for index, name in enumerate(names)}
    signed = next(index for index, call in enumerate(told) if "--sign" in call and call[-1].endswith(".dmg"))
    stapled_bundle = told.index(next(call for call in told if call[:3] == ["xcrun", "stapler", "staple"]))
    assert stapled_bundle < at["hdiutil Corvane.dmg"] < signed < len(told) - 3, "image made of what was not stapled yet"


def must_refuse(check, told, fault, change, *rest):
    changed = change([list(call) for call in told])
    assert changed != told, f"{fault}: that is no fault"
    try:
        check(changed, *rest)
    except (AssertionError, ValueError, StopIteration):
        return
    raise AssertionError(f"{fault}: went unnoticed")


def is_bundle(call):
    return "--sign" in call and call[-1].endswith("Corvane.app")


plain = install("plain")
assert [call[0] for call in plain] == ["macdeployqt"], plain
assert not os.path.exists(os.path.join(work, "plain/Corvane.app.zip"))
check_signing(install("adhoc", identity="-"), False)
told = install("signed", identity=IDENTITY)
check_signing(told)
check_notary(told)
check_signing(install("notarised", identity=IDENTITY, profile=PROFILE))
assert not os.path.exists(os.path.join(work, "notarised/Corvane.app.zip")), "the notary's copy stays"

assert [call[0] for call in image("Corvane.dmg")] == ["macdeployqt", "hdiutil"]
assert image("Corvane.dmg", profile=PROFILE, fails=True) == [], "an unsigned image went to the notary"
whole = image("Corvane.dmg", identity=IDENTITY, profile=PROFILE)
check_signing(whole)
check_image(whole)

must_refuse(check_signing, told, "signed deeply",
            lambda all: [[call[0], "--deep", *call[1:]] if is_bundle(call) else call for call in all])
must_refuse(check_signing, told, "the bundle first",
            lambda all: [all[0], *filter(is_bundle, all), *[call for call in all[1:] if not is_bundle(call)]])
must_refuse(check_signing, told, "without the hardened runtime",
            lambda all: [[word for word in call if word not in ("--options", "runtime")] for call in all])
must_refuse(check_signing, told, "a plug-in left out",
            lambda all: [call for call in all if not call[-1].endswith("libqcocoa.dylib")])
must_refuse(check_signing, told, "not verified", lambda all: [call for call in all if "--verify" not in call])
must_refuse(check_signing, told, "Qt after the signatures", lambda all: [*all[1:], all[0]])
must_refuse(check_image, whole, "the image not stapled",
            lambda all: [call for call in all if not (call[2:3] == ["staple"] and call[-1].endswith(".dmg"))])
must_refuse(check_image, whole, "the image not signed",
            lambda all: [call for call in all if not ("--sign" in call and call[-1].endswith(".dmg"))])
must_refuse(check_image, whole, "the notary not waited for", lambda all: [[w for w in call if w != "--wait"] for call in all])
must_refuse(check_image, whole, "the image made first",
            lambda all: [call for call in all if call[0] == "hdiutil"] + [call for call in all if call[0] != "hdiutil"])
print("the bundle and its image are signed from the inside out, notarised and stapled")
