#!/usr/bin/env python3
"""Asserts the layout of Corvane.app as the install rules make it, and that its property list is complete.

usage: check-bundle.py BUILD_FOLDER WORK_FOLDER WINDOW(ON|OFF) ICON(ON|OFF)
"""

import os
import plistlib
import shutil
import subprocess
import sys

build, work, window, icon = sys.argv[1:5]
shutil.rmtree(work, ignore_errors=True)
subprocess.run(["cmake", "--install", build, "--component", "bundle", "--prefix", work], check=True,
               stdout=subprocess.DEVNULL)
contents = os.path.join(work, "Corvane.app", "Contents")

found = {os.path.relpath(os.path.join(folder, name), contents)
         for folder, _, names in os.walk(contents) for name in names}
expected = {"Info.plist", "PkgInfo", "MacOS/corvanectl", "MacOS/livetrax-sim", "MacOS/lv1-console-sim",
            "Resources/LiveTraxSeed.template", "Resources/AppIcon.png", "Resources/NOTICE"}
if window == "ON":
    expected.add("MacOS/corvane")
if icon == "ON":
    expected.add("Resources/AppIcon.icns")
assert found == expected, f"missing {expected - found}, not expected {found - expected}"

for name in found:
    if name.startswith("MacOS/"):
        assert os.access(os.path.join(contents, name), os.X_OK), name

with open(os.path.join(contents, "Info.plist"), "rb") as file:
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
    parts = properties[key].split(".")
    assert 1 <= len(parts) <= 3 and all(part.isdigit() for part in parts), f"{key}: {properties[key]!r}"
assert len(properties["NSLocalNetworkUsageDescription"]) > 20
assert not any("@" in value for value in properties.values() if isinstance(value, str)), properties

with open(os.path.join(contents, "PkgInfo"), "rb") as file:
    assert file.read() == b"APPL????"
if icon == "ON":
    with open(os.path.join(contents, "Resources", "AppIcon.icns"), "rb") as file:
        assert file.read(4) == b"icns"
# A program finds the base template that is in its own bundle. Rehearsals claim fixed ports: in a network of their own.
alone = ["unshare", "--user", "--map-root-user", "--net"]
if subprocess.run([*alone, "true"], stderr=subprocess.DEVNULL).returncode == 0:
    rehearsal = os.path.join(work, "rehearsal")
    recorder = os.path.join(rehearsal, "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3")
    os.makedirs(os.path.dirname(recorder))
    shutil.copy(os.path.join(contents, "MacOS/livetrax-sim"), recorder)
    patch = os.path.join(work, "patch.json")
    with open(patch, "w") as file:
        file.write('{"version":1,"channels":[{"name":"Kick","stereo":false,"driver":"SoundGrid","inputIndex":0,'
                   '"sourceType":"Input","sourceIndex":0}]}')
    create = [os.path.join(contents, "MacOS/corvanectl"), "create", "Friday", "--in", work, "--from", patch,
              "--rehearse", rehearsal]
    template = os.path.join(contents, "Resources/LiveTraxSeed.template")
    os.rename(template, template + ".away")
    without = subprocess.run([*alone, *create], capture_output=True, text=True)
    assert "does not contain the LiveTrax base template" in without.stderr, without
    os.rename(template + ".away", template)
    subprocess.run([*alone, *create], check=True, stdout=subprocess.DEVNULL)
else:
    print("no network of its own: programs in the bundle were not run")

print("Corvane.app is laid out as it should be")
