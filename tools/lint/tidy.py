#!/usr/bin/env python3
"""clang-tidy over many sources, several of them in one translation unit.

Most of clang-tidy's time goes into the headers that every source reads again. Sources that are
compiled alike are therefore written one after the other into one file and checked together. Those that
cannot stand in one file with the others are checked apart, and where something is found, each half is,
down to single sources, which have the last word: nothing is left out, and nothing is said that is not
true of a source alone.
"""
import argparse
import concurrent.futures
import json
import pathlib
import re
import shlex
import subprocess
import sys


def compile_flags(entry):
    """The command's arguments without the source and the object."""
    words = entry["command"].split("&&")[0]
    kept = []
    skip = False
    for word in shlex.split(words):
        if skip:
            skip = False
        elif word == "-o":
            skip = True
        elif word not in ("-c", entry["file"]) and not word.endswith("ccache"):
            kept.append(word)
    return tuple(kept)


def groups(entries, size):
    """Lists of at most `size` sources that share their flags, in even parts. Neighbours, which more often
    have names of their own in common and cannot stand in one file then, go into different parts."""
    alike = {}
    for entry in entries:
        alike.setdefault(compile_flags(entry), []).append(entry["file"])
    for flags, files in alike.items():
        parts = -(-len(files) // size)
        for part in range(parts):
            yield flags, sorted(files)[part::parts]


def run(database, file):
    """What clang-tidy says of `file`; "" where nothing."""
    done = subprocess.run(["clang-tidy", "--quiet", "-p", str(database), str(file)],
                          capture_output=True, text=True, check=False)
    if done.returncode == 0:
        return ""
    return done.stdout or done.stderr or f"clang-tidy ended with {done.returncode}\n"


def together(folder, flags, files):
    """Writes a file with the text of `files` and how it is compiled into the folder; returns it."""
    folder.mkdir(parents=True, exist_ok=True)
    name = folder / "group.cpp"
    name.write_text("\n".join(pathlib.Path(file).read_text() for file in files))
    places = sorted({str(pathlib.Path(file).parent) for file in files})
    # After all others: neighbours are found, and nobody else's file of the same name before one's own.
    # What hides what is the compiler's to say of a source alone.
    beside = [word for place in places for word in ("-idirafter", place)]
    command = shlex.join([*flags, *beside, "-Wno-shadow", "-c", str(name)])
    (folder / "compile_commands.json").write_text(json.dumps(
        [{"directory": str(folder), "command": command, "file": str(name)}]))
    return name


def misfit(folder, files):
    """The first source that cannot stand behind those before it; None where all can."""
    command = json.loads((folder / "compile_commands.json").read_text())[0]["command"]
    done = subprocess.run(["clang++", "-fsyntax-only", "-ferror-limit=1", *shlex.split(command)[1:]],
                          capture_output=True, text=True, check=False)
    if done.returncode == 0:
        return None
    place = re.search(r"^[^\n]*group\.cpp:(\d+):\d+: (?:fatal )?error:", done.stderr, re.M)
    line = int(place.group(1)) if place else sys.maxsize
    for file in files:
        line -= pathlib.Path(file).read_text().count("\n") + 1
        if line <= 0:
            return file
    return files[-1]


def check(build, folder, flags, files):
    """The findings in the sources."""
    if len(files) == 1:
        return run(build, files[0])
    # The compiler alone says in a tenth of the time which of them collide.
    fitting, apart = list(files), []
    group = together(folder, flags, fitting)
    while len(fitting) > 1 and (odd := misfit(folder, fitting)):
        fitting.remove(odd)
        apart.append(odd)
        group = together(folder, flags, fitting)
    findings = check(build, folder / "apart", flags, apart) if apart else ""
    if len(fitting) == 1:
        return findings + run(build, fitting[0])
    if not run(folder, group):
        return findings
    return findings + "".join(check(build, folder / str(half), flags, fitting[half::2])
                              for half in (0, 1))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, required=True,
                        help="a configured build directory: its compile_commands.json is used")
    parser.add_argument("--jobs", type=int, default=2, help="programs at a time")
    parser.add_argument("--size", type=int, default=16, help="most sources in a file")
    parser.add_argument("sources", nargs="+", help="sources to check")
    arguments = parser.parse_args()

    build = arguments.build.resolve()
    wanted = {str(pathlib.Path(source).resolve()) for source in arguments.sources}
    entries = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        if entry["file"] in wanted:
            entries.setdefault(entry["file"], entry)
    missing = sorted(wanted - set(entries))
    if missing:
        sys.exit("not compiled by this build: " + " ".join(missing))

    work = list(groups(entries.values(), arguments.size))
    found = False
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        running = [pool.submit(check, build, build / "tidy" / str(number), flags, files)
                   for number, (flags, files) in enumerate(work)]
        for done, future in enumerate(concurrent.futures.as_completed(running), 1):
            if future.result():
                found = True
                print(future.result(), end="", flush=True)
            print(f"[{done}/{len(work)}] files checked", file=sys.stderr, flush=True)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
