#!/usr/bin/env python3
"""Prints the results of the benchmarks as one table in Markdown, each row beside what it is compared with."""

import glob
import json
import os
import platform
import statistics
import sys

UNIT = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def load(path):
    """The rows of a result file by name: of several runs the best one, times in nanoseconds of processor time."""
    with open(path) as file:
        document = json.load(file)
    rows = {}
    for row in document["benchmarks"]:
        if row["run_type"] != "iteration":
            continue
        manual = "/manual_time" in row["name"]
        name = row["name"].split("/iterations:")[0].split("/manual_time")[0].split("/repeats:")[0]
        row["cpu"] = row["real_time" if manual else "cpu_time"] * UNIT[row["time_unit"]]
        if name not in rows or row["cpu"] < rows[name]["cpu"]:
            rows[name] = row
    return document["context"], rows


def time(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def codec_rows(rows):
    shapes = {"0": "ping", "1": "colour", "64": "patch of 64", "256": "patch of 256", "1024": "patch of 1024"}
    print("| codec | Corvane | oscpack | liblo | ahead of the better | allocating the bytes alone |")
    print("|---|---|---|---|---|---|")
    for operation in ("encode", "parse"):
        for shape, title in shapes.items():
            ours, pack, lo = (rows[f"{operation}{who}/{shape}"]["cpu"] for who in ("Corvane", "Oscpack", "Liblo"))
            alone = time(rows[f"encodeNothing/{shape}"]["cpu"]) if operation == "encode" else ""
            print(f"| {operation} {title} | {time(ours)} | {time(pack)} | {time(lo)} | {min(pack, lo) / ours:.2f} times "
                  f"| {alone} |")
    print()
    print("| framing | a frame or byte | aim |")
    print("|---|---|---|")
    for count in (10, 1000, 10000, 100000):
        print(f"| {count} frames in one read | {time(rows[f'framesInOneRead/{count}']['cpu'] / count)} | under 10 ns |")
    print(f"| a frame byte by byte | {time(rows['frameByteByByte']['ns/byte'])} | |")
    print(f"| the longest frame in reads of 64 KiB | {time(rows['longestFrame']['cpu'])} for 2 MB | |")
    print()


def session_rows(rows):
    print("| session | file | operation | bare library | engine | times | aim | peak memory | times |")
    print("|---|---|---|---|---|---|---|---|---|")
    pairs = (("signature", "load", "signature / load", "0.7"),
             ("update", "loadsave", "update / load and save", "0.85"),
             ("generate", "loadsave", "generate / load and save", "0.85"))
    for engine, bare, title, aim in pairs:
        names = [name for name in rows if name.startswith(f"row/{engine}/")]
        for name in sorted(names, key=lambda name: rows[name]["MB"]):
            row = rows[name]
            other = rows[name.replace(engine, bare)]
            tracks = name.split("tracks:")[1].split("/")[0]
            print(f"| {tracks} tracks | {row['MB']:.3g} MB | {title} | {time(other['cpu'])} | {time(row['cpu'])} "
                  f"| {row['cpu'] / other['cpu']:.2f} | {aim} | {row['peak MB']:.0f} MB "
                  f"| {row['peak MB'] / other['peak MB']:.2f} |")
    print()


def road_rows(rows):
    print("| road | p50 | p99 | aim for p99 |")
    print("|---|---|---|---|")
    titles = (("consoleToPatch/channels:64", "console to onPatch, 64 channels", "2 ms"),
              ("consoleToPatch/channels:1024", "console to onPatch, 1024 channels", "5 ms"),
              ("sceneToMarker", "scene to /marker, less the 130 ms it waits", "5 ms"))
    for name, title, aim in titles:
        row = rows[name]
        print(f"| {title} | {time(row['p50 us'] * 1e3)} | {time(row['p99 us'] * 1e3)} | {aim} |")
    print()


def program_rows(path):
    """What bench/program.py has measured: a column for each of the ways in which the program was started."""
    with open(path) as file:
        results = json.load(file)
    ways = [results[name] for name in ("bonjour", "alone", "rehearsal")]

    def row(title, aim, value):
        print(f"| {title} | {' | '.join(value(way) for way in ways)} | {aim} |")

    def milliseconds(times):
        return f"{1e3 * statistics.median(times):.0f} ms, at most {1e3 * max(times):.0f}"

    def megabytes(name):
        return lambda way: f"{way['memory'][name] / 1e6:.1f} MB"

    print("| program | no console | no Bonjour daemon either | console connected | aim |")
    print("|---|---|---|---|---|")
    row(f"start until the window is mapped, median of {len(ways[0]['mapped'])}", "",
        lambda way: milliseconds(way["mapped"]))
    row("start until it is painted", "500 ms", lambda way: milliseconds(way["painted"]))
    row("memory when idle: resident", "80 MB", megabytes("resident"))
    row("its share of that", "", megabytes("share"))
    row("nobody else's", "", megabytes("own"))
    row(f"wake-ups in {ways[0]['idle']:g} s of idling", "0; not for a console, which talks",
        lambda way: str(sum(way["wake-ups"].values())))
    print()


def hold_rows(paths):
    """The median of several runs of window_hold."""
    runs = []
    for path in paths:
        with open(path) as file:
            runs.append(json.load(file))
    colours = {channels: [run.pop(f"colour of {channels}") for run in runs] for channels in (128, 1024)}
    print("| main thread held by | by the clock | its own work | aim |")
    print("|---|---|---|---|")
    for name in runs[0]:
        clock, thread = (statistics.median(run[name][kind] for run in runs) for kind in ("clock", "thread"))
        print(f"| {name} | {clock:.1f} ms | {thread:.1f} ms | 16 ms |")
    print()
    print("| main thread's work for | patch view closed | open | times | aim |")
    print("|---|---|---|---|---|")
    for channels, costs in colours.items():
        closed, open_, ratio = (statistics.median(values) for values in (
            [each["closed"] for each in costs], [each["open"] for each in costs],
            [each["open"] / each["closed"] for each in costs]))
        print(f"| a colour, of 200 a second on {channels:,} channels | {1e3 * closed:.0f} µs | {1e3 * open_:.0f} µs "
              f"| {ratio:.2f} | 2 |")
    print()


def main():
    context, codec = load(sys.argv[1])
    _, road = load(sys.argv[2])
    _, session = load(sys.argv[3])
    print(f"{context['date'][:10]}, {context['num_cpus']} processors of {context['mhz_per_cpu']} MHz, "
          f"{platform.system()} {platform.release()}, load {context['load_avg'][0]:.1f} at the start\n")
    codec_rows(codec)
    session_rows(session)
    road_rows(road)
    folder = os.path.dirname(sys.argv[1])
    hold_rows(glob.glob(os.path.join(folder, "hold-*.json")))
    program_rows(os.path.join(folder, "program.json"))


main()
