#!/usr/bin/env python3
"""Asserts the layout of Corvane.app as the install rules make it, and that its property list is complete; then makes
sure that the check bites: each deliberate fault must be refused. Exit 77 where no icon could be made and nothing else is
wrong.

usage: check-bundle.py BUILD_FOLDER WORK_FOLDER WINDOW(ON|OFF) ICON(ON|OFF)
"""

import json
import os
import plistlib
import shutil
import subprocess
import sys
import xml.parsers.expat

build, work, window, icon = sys.argv[1:5]
shutil.rmtree(work, ignore_errors=True)
subprocess.run(["cmake", "--install", build, "--component", "bundle", "--prefix", work], check=True,
               stdout=subprocess.DEVNULL)
contents = os.path.join(work, "Corvane.app", "Contents")
with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "CMakePresets.json")) as file:
    preset = next(each["cacheVariables"] for each in json.load(file)["configurePresets"] if each["name"] == "macos")


def inside(name):
    return os.path.join(contents, name)


def check_layout():
    found = {os.path.relpath(os.path.join(folder, name), contents)
             for folder, _, names in os.walk(contents) for name in names}
    expected = {"Info.plist", "PkgInfo", "MacOS/corvanectl", "MacOS/livetrax-sim", "MacOS/lv1-console-sim",
                "Resources/LiveTraxSeed.template", "Resources/AppIcon.png", "Resources/LICENSE",
                "Resources/ThirdPartyNotices.txt", "Resources/completions/corvanectl.bash",
                "Resources/completions/_corvanectl", "Resources/completions/corvanectl.fish"}
    for program in ("corvane", "corvanectl", "lv1-console-sim", "livetrax-sim"):
        expected.add(f"Resources/man/man1/{program}.1")
    if window == "ON":
        expected.add("MacOS/corvane")
    if icon == "ON":
        expected.add("Resources/AppIcon.icns")
    assert found == expected, f"missing {expected - found}, not expected {found - expected}"
    for name in found:
        if name.startswith("MacOS/"):
            assert os.access(inside(name), os.X_OK), name


def check_properties():
    with open(inside("Info.plist"), "rb") as file:
        properties = plistlib.load(file)
    wanted = {
        "CFBundleIdentifier": "app.corvane.Corvane",
        "CFBundleExecutable": "corvane",
        "CFBundleName": "Corvane",
        "CFBundlePackageType": "APPL",
        "CFBundleIconFile": "AppIcon",
        "CFBundleInfoDictionaryVersion": "6.0",
        "NSBonjourServices": ["_waveslv113._tcp"],
        "NSHighResolutionCapable": True,
        "NSRequiresAquaSystemAppearance": False,
        "NSPrincipalClass": "NSApplication",
    }
    for key, value in wanted.items():
        assert properties.get(key) == value, f"{key}: {properties.get(key)!r}"
    for key in ("CFBundleShortVersionString", "CFBundleVersion", "LSMinimumSystemVersion"):
        parts = properties.get(key, "").split(".")
        assert 1 <= len(parts) <= 3 and all(part.isdigit() for part in parts), f"{key}: {properties.get(key)!r}"
    assert len(properties.get("NSLocalNetworkUsageDescription", "")) > 20
    assert properties.get("NSHumanReadableCopyright", "").startswith("Copyright (c) "), "without its copyright"
    assert properties["LSMinimumSystemVersion"] == "13.0", properties["LSMinimumSystemVersion"]
    assert not any("@" in value for value in properties.values() if isinstance(value, str)), properties
    with open(inside("PkgInfo"), "rb") as file:
        assert file.read() == b"APPL????"


def check_preset():
    """What the preset builds on a Mac is for both processors, and for the system that the property list promises."""
    assert sorted(preset.get("CMAKE_OSX_ARCHITECTURES", "").split(";")) == ["arm64", "x86_64"], preset
    assert preset.get("CMAKE_OSX_DEPLOYMENT_TARGET") == "13.0", preset


def check_icon():
    """A header, then pictures that fill the file exactly, the largest among them."""
    if icon != "ON":
        return
    with open(inside("Resources/AppIcon.icns"), "rb") as file:
        data = file.read()
    assert data[:4] == b"icns" and int.from_bytes(data[4:8], "big") == len(data), "not an icon file"
    kinds, position = set(), 8
    while position < len(data):
        size = int.from_bytes(data[position + 4:position + 8], "big")
        assert 8 < size <= len(data) - position, "a picture that is not whole"
        kinds.add(data[position:position + 4])
        position += size
    assert b"ic09" in kinds, f"the picture of 512 points is missing: {kinds}"


def check_programs():
    """A program finds the base template that is in its own bundle."""
    # Rehearsals claim fixed ports: in a network of their own.
    alone = ["unshare", "--user", "--map-root-user", "--net"]
    if subprocess.run([*alone, "true"], stderr=subprocess.DEVNULL).returncode != 0:
        print("no network of its own: programs in the bundle were not run")
        return
    rehearsal = os.path.join(work, "rehearsal")
    recorder = os.path.join(rehearsal, "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3")
    os.makedirs(os.path.dirname(recorder))
    shutil.copy(inside("MacOS/livetrax-sim"), recorder)
    patch = os.path.join(work, "patch.json")
    with open(patch, "w") as file:
        file.write('{"version":1,"channels":[{"name":"Kick","stereo":false,"driver":"SoundGrid","inputIndex":0,'
                   '"sourceType":"Input","sourceIndex":0}]}')
    create = [inside("MacOS/corvanectl"), "create", "Friday", "--in", work, "--from", patch, "--rehearse", rehearsal]
    template = inside("Resources/LiveTraxSeed.template")
    os.rename(template, template + ".away")
    without = subprocess.run([*alone, *create], capture_output=True, text=True)
    assert "does not contain the LiveTrax base template" in without.stderr, without
    os.rename(template + ".away", template)
    subprocess.run([*alone, *create], check=True, stdout=subprocess.DEVNULL)


def refused(check):
    try:
        check()
    except (AssertionError, plistlib.InvalidFileException, xml.parsers.expat.ExpatError, ValueError):
        return True
    return False


def must_refuse(check, fault, name, change):
    """Puts `change` of the file's bytes in its place, for as long as it takes to be refused."""
    path = inside(name)
    with open(path, "rb") as file:
        whole = file.read()
    changed = change(whole)
    assert changed != whole, f"{fault}: that is no fault"
    with open(path, "wb") as file:
        file.write(changed)
    assert refused(check), f"{fault}: went unnoticed"
    with open(path, "wb") as file:
        file.write(whole)


def without_key(key):
    def change(whole):
        properties = plistlib.loads(whole)
        del properties[key]
        return plistlib.dumps(properties)
    return change


def with_value(key, value):
    return lambda whole: plistlib.dumps(plistlib.loads(whole) | {key: value})


def check_the_checks():
    for key in ("CFBundleIdentifier", "CFBundleExecutable", "CFBundleIconFile", "CFBundleVersion", "NSBonjourServices",
                "NSLocalNetworkUsageDescription", "NSHighResolutionCapable", "LSMinimumSystemVersion",
                "NSHumanReadableCopyright"):
        must_refuse(check_properties, f"without {key}", "Info.plist", without_key(key))
    for key, value in (("CFBundleVersion", "1.0 beta"), ("CFBundleName", "@PROJECT_NAME@"),
                       ("LSApplicationCategoryType", "@CATEGORY@"), ("NSBonjourServices", ["_http._tcp"]),
                       ("NSLocalNetworkUsageDescription", "why"), ("NSRequiresAquaSystemAppearance", True),
                       ("LSMinimumSystemVersion", "12.0")):
        must_refuse(check_properties, f"{key} is {value!r}", "Info.plist", with_value(key, value))
    for key, value in (("CMAKE_OSX_ARCHITECTURES", "arm64"), ("CMAKE_OSX_DEPLOYMENT_TARGET", "14.0")):
        right, preset[key] = preset[key], value
        assert refused(check_preset), f"the preset's {key} is {value}: went unnoticed"
        preset[key] = right
    must_refuse(check_properties, "a torn property list", "Info.plist", lambda whole: whole[:len(whole) // 2])
    must_refuse(check_properties, "another kind of package", "PkgInfo", lambda whole: b"FMWK????")
    if icon == "ON":
        file = "Resources/AppIcon.icns"
        must_refuse(check_icon, "a picture instead of an icon file", file, lambda whole: b"\x89PNG" + whole[4:])
        must_refuse(check_icon, "a torn icon file", file, lambda whole: whole[:-100])
        must_refuse(check_icon, "an icon without its largest picture", file,
                    lambda whole: whole.replace(b"ic09", b"ic99", 1))

    program = inside("MacOS/corvanectl")
    mode = os.stat(program).st_mode
    os.chmod(program, 0o644)
    assert refused(check_layout), "a program that cannot be run: went unnoticed"
    os.chmod(program, mode)
    for name in ("MacOS/corvanectl", "Resources/LiveTraxSeed.template"):
        os.rename(inside(name), os.path.join(work, "away"))
        assert refused(check_layout), f"without {name}: went unnoticed"
        os.rename(os.path.join(work, "away"), inside(name))
    with open(inside("Resources/stray"), "w"):
        pass
    assert refused(check_layout), "a file too many: went unnoticed"
    os.remove(inside("Resources/stray"))


checks = (check_layout, check_properties, check_preset, check_icon)
for each in checks:
    each()
check_programs()
check_the_checks()
for each in checks:  # as it was
    each()
if icon != "ON":
    print("not all was checked: png2icns is missing")
    sys.exit(77)
print("Corvane.app is laid out as it should be")
