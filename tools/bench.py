#!/usr/bin/env python3
"""Runs the benchmarks under Wine and compares: one table and one plot per subject.

usage: bench.py BUILD-FOLDER [SUBJECT…]
       bench.py BUILD-FOLDER --document      puts the last tables into docs/performance.md, without measuring

A subject is the name of a source in bench/, or a part of it, in any case. The tables are printed; the same text, the
samples as JSON and a plot as SVG go to BUILD-FOLDER/bench-results/. The environment is the one that ./run prepares.
"""
import html
import json
import math
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent


def fail(text):
    sys.exit(f"bench: {text}")


def choose(wanted):
    """The subjects that the arguments name; without arguments all that measure the library."""
    subjects = sorted(source.stem for kind in (("cpp", "py") if wanted else ("cpp",))
                      for source in (ROOT / "bench").glob(f"*.{kind}"))
    for word in wanted:
        if not any(word.lower() in name.lower() for name in subjects):
            fail(f"there is no subject {word}; there are {', '.join(subjects)}")
    return [name for name in subjects if not wanted or any(word.lower() in name.lower() for word in wanted)]


def command(name, programs):
    """What measures a subject: its program under Wine, or a script, which gets the program whose files it takes."""
    script = ROOT / "bench" / f"{name}.py"
    program = programs / ("bench_Archives.exe" if script.exists() else f"bench_{name}.exe")
    if not program.exists():
        fail(f"{program.name} is not built")
    return [sys.executable, script, program] if script.exists() else ["wine", program]


def memory_folder():
    """Where files stand in memory, if there is room: what a disk has been doing lately would cost more than what is
    measured (files made after others were deleted, up to thirty times as much). None otherwise."""
    try:
        room = os.statvfs("/dev/shm")
    except OSError:
        return None
    return "/dev/shm" if room.f_bavail * room.f_frsize >= 1 << 30 and room.f_favail >= 300_000 else None


def measure(name, programs, samples):
    """Runs one subject; its samples go straight to their file, for Wine's background processes must not hold a pipe."""
    with (open(samples, "wb") as output, open(samples.with_suffix(".log"), "wb") as log,
          tempfile.TemporaryDirectory(prefix="tarnu-bench-", dir=memory_folder()) as place):
        environment = os.environ | {"TMPDIR": place, "TARNU_BENCH_FOLDER": "Z:" + place.replace("/", "\\")}
        status = subprocess.run(command(name, programs), env=environment, stdin=subprocess.DEVNULL,
                                stdout=output, stderr=log).returncode
    if status != 0:
        fail(f"{name} ended with status {status}: {samples.with_suffix('.log').read_text()[-500:]}")
    return json.loads(samples.read_text())


# --- figures ---------------------------------------------------------------------------------------------------------

def evaluate(case):
    """Adds median, minimum, spread and the ratios to the variants, and the verdict to the case."""
    limit = next(variant for variant in case["variants"] if variant["role"] == "limit")
    for variant in case["variants"]:
        seconds = variant["seconds"]
        quarters = statistics.quantiles(seconds, n=4) if len(seconds) > 1 else [seconds[0]] * 3
        variant["median"], variant["min"] = statistics.median(seconds), min(seconds)
        variant["spread"] = (quarters[2] - quarters[0]) / variant["median"]
        # Round by round: what disturbs the machine for longer than a turn disturbs both.
        variant["ratio"] = statistics.median(own / other for own, other in zip(seconds, limit["seconds"]))
        variant["ratio_of_minima"] = variant["min"] / min(limit["seconds"])
    for library in (variant for variant in case["variants"] if variant["role"] == "library"):
        ratio = min(library["ratio"], library["ratio_of_minima"])
        if case["goal"] == 0:
            library["verdict"] = ""
        elif ratio <= case["goal"]:
            library["verdict"] = "met"
        else:
            library["verdict"] = "within 10 %" if ratio <= case["goal"] * 1.1 else "missed"
        for peer in (variant for variant in case["variants"] if variant["role"] == "peer"):
            peer.setdefault("library", {})[library["name"]] = library["min"] / peer["min"]


def time_text(seconds):
    for unit, factor in (("s", 1), ("ms", 1e3), ("µs", 1e6), ("ns", 1e9)):
        if seconds * factor >= 1 or unit == "ns":
            value = seconds * factor
            return f"{value:.3g} {unit}" if value < 1000 else f"{value:.0f} {unit}"


def size_text(count):
    if count == 0:
        return "none seen"
    for unit in ("bytes", "KiB", "MiB", "GiB"):
        if count < 1024 or unit == "GiB":
            return f"{count:.3g} {unit}" if count < 1000 else f"{count:.0f} {unit}"
        count /= 1024


def table(rows, numeric):
    """Rows of texts as lines; the columns in numeric are aligned on the right."""
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    for row in rows:
        cells = [cell.rjust(width) if column in numeric else cell.ljust(width)
                 for column, (cell, width) in enumerate(zip(row, widths))]
        yield "  " + "  ".join(cells).rstrip()


def report(subject):
    lines = [subject["title"], "=" * len(subject["title"])]
    for case in subject["cases"]:
        goal = f"   goal {case['goal']:g}" if case["goal"] else ""
        lines += ["", f"{case['name']}   (times per {case['unit']}){goal}"]
        rows = [["", "median", "min", "spread", "x limit", "by minima", "library against it"]]
        for variant in case["variants"]:
            if variant["role"] == "library":
                last = variant["verdict"] and f"goal {variant['verdict']}"
            else:
                last = ", ".join(f"{ratio:.2f}" for ratio in variant.get("library", {}).values())
            rows.append([f"{variant['name']} ({variant['role']})", time_text(variant["median"] / case["count"]),
                         time_text(variant["min"] / case["count"]), f"{variant['spread'] * 100:.0f} %",
                         f"{variant['ratio']:.2f}", f"{variant['ratio_of_minima']:.2f}", last])
        lines += table(rows, {1, 2, 3, 4, 5})
    for growth in subject["growth"]:
        lines += ["", f"Growth of {growth['name']}"]
        first = growth["points"][0]
        rows = [[growth["unit"] + "s", "time", "x", "per " + growth["unit"], "memory", "x"]]
        for point in growth["points"]:
            more = f"{point['bytes'] / first['bytes']:.1f}" if first["bytes"] and point["bytes"] else ""
            rows.append([f"{point['size']:,}".replace(",", " "), time_text(point["seconds"]),
                         f"{point['seconds'] / first['seconds']:.1f}", time_text(point["seconds"] / point["size"]),
                         size_text(point["bytes"]), more])
        lines += table(rows, {0, 1, 2, 3, 4, 5})
    return "\n".join(lines) + "\n"


# --- plot ------------------------------------------------------------------------------------------------------------

COLOURS = {"limit": "#9aa0a6", "library": "#1a6fb5", "peer": "#d9822b"}


def plot(subject):
    """Bars of the ratios to the limit on a logarithmic scale, the goal as a mark across the library's bar."""
    left, width, bar = 330, 470, 16
    ratios = [variant["ratio"] for case in subject["cases"] for variant in case["variants"]]
    goals = [case["goal"] for case in subject["cases"] if case["goal"]]
    low = math.floor(math.log10(min([*ratios, *goals, 1]) * 0.999) * 2) / 2
    high = math.ceil(math.log10(max([*ratios, *goals, 2])) * 2) / 2

    def x(ratio):
        return left + width * (math.log10(ratio) - low) / (high - low)

    shapes, y = [], 44
    for case in subject["cases"]:
        shapes.append(f'<text x="12" y="{y + 12}" font-weight="bold">{html.escape(case["name"])}</text>')
        y += bar + 4
        for variant in case["variants"]:
            start, end = sorted((x(1), x(variant["ratio"])))
            shapes.append(f'<text x="{left - 8}" y="{y + 12}" text-anchor="end">{html.escape(variant["name"])}</text>')
            shapes.append(f'<rect x="{start:.1f}" y="{y + 2}" width="{max(end - start, 1.5):.1f}" height="{bar - 4}" '
                          f'fill="{COLOURS[variant["role"]]}"/>')
            shapes.append(f'<text x="{end + 5:.1f}" y="{y + 12}" fill="#555">{variant["ratio"]:.2f}</text>')
            if variant["role"] == "library" and case["goal"]:
                shapes.append(f'<path d="M{x(case["goal"]):.1f} {y - 1}v{bar + 2}" stroke="#c0392b" stroke-width="2"/>')
            y += bar
        y += 10
    decades = [10 ** power for power in range(math.floor(low), math.ceil(high) + 1)]
    grid = [value * step for value in decades for step in (1, 2, 5) if low <= math.log10(value * step) <= high]
    lines = [f'<path d="M{x(value):.1f} 36V{y}" stroke="#ddd"/>'
             f'<text x="{x(value):.1f}" y="{y + 14}" text-anchor="middle" fill="#777">{value:g}</text>' for value in grid]
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 70}" height="{y + 40}" '
        'font-family="sans-serif" font-size="12">',
        '<rect width="100%" height="100%" fill="#fff"/>',
        f'<text x="12" y="20" font-size="15" font-weight="bold">{html.escape(subject["title"])}</text>',
        f'<text x="{left}" y="{y + 32}" fill="#777">times the limit (grey); blue the library, red its goal, orange peers; '
        'shorter is faster</text>',
        *lines, *shapes, "</svg>"]) + "\n"


def standing(peer, name):
    """How far ahead of a peer a library variant is, by its best time."""
    ratio = peer["library"][name]
    if ratio > 1.1:
        return f"behind {peer['name']}"
    return f"as {peer['name']}" if ratio > 0.9 else f"{1 / ratio:.1f} × {peer['name']}"


def summary(subjects):
    """The rows of the document's first table: what each case has come to."""
    yield "| Case | Goal | Measured | Ahead of |"
    yield "|---|---|---|---|"
    for subject in subjects:
        for case in subject["cases"]:
            libraries = [variant for variant in case["variants"] if variant["role"] == "library"]
            for library in libraries:
                name = f"{subject['title'].split(':')[0]}: {case['name']}"
                name += f", {library['name']}" if len(libraries) > 1 else ""
                goal = f"{case['goal']:g}" if case["goal"] else "–"
                measured = f"{library['ratio']:.2f} ({library['ratio_of_minima']:.2f}) {library['verdict']}".rstrip()
                peers = [standing(peer, library["name"]) for peer in case["variants"] if peer["role"] == "peer"]
                yield f"| {name} | {goal} | {measured} | {', '.join(peers) or '–'} |"


def document(results):
    """Replaces the tables in the document, each in a block that names its subject, by those of the last measuring."""
    path = ROOT / "docs" / "performance.md"
    text = path.read_text(encoding="utf-8")
    names = re.findall(r"```text (\w+)\n", text)
    missing = [name for name in {*choose([]), *names} if name not in names or not (results / f"{name}.json").exists()]
    if missing:
        fail(f"no place in {path.name} for, or no measuring of {', '.join(missing)}: "
             f"./run bench {' '.join(missing)} measures them")
    text = re.sub(r"(```text (\w+)\n).*?```", lambda match: match[1] + (results / f"{match[2]}.txt").read_text() + "```",
                  text, flags=re.S)
    rows = summary(json.loads((results / f"{name}.json").read_text()) for name in names)
    text = re.sub(r"\| Case \|.*?\n\n", lambda match: "\n".join(rows) + "\n\n", text, count=1, flags=re.S)
    path.write_text(text, encoding="utf-8")


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    results = build / "bench-results"
    results.mkdir(parents=True, exist_ok=True)
    if sys.argv[2:] == ["--document"]:
        document(results)
        return
    for name in choose(sys.argv[2:]):
        subject = measure(name, build / "release" / "bin", results / f"{name}.json")
        for case in subject["cases"]:
            evaluate(case)
        (results / f"{name}.json").write_text(json.dumps(subject, indent=1) + "\n")
        (results / f"{name}.svg").write_text(plot(subject))
        text = report(subject)
        (results / f"{name}.txt").write_text(text)
        print("\n" + text, flush=True)
    print(f"Texts, samples (JSON) and plots (SVG) are in {results}.")


if __name__ == "__main__":
    main()
