#!/usr/bin/env python3
"""clang-tidy over many sources, several of them in one translation unit.

Most of clang-tidy's time goes into the headers that every source reads again. Sources that are
compiled alike are therefore written one after the other into one file and checked together; what
is found is told by its place in the source. Where some of them cannot stand in one file, each is
checked alone: nothing is left out.
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
    """Lists of at most `size` sources of one directory that share their flags, in even parts."""
    alike = {}
    for entry in entries:
        place = pathlib.Path(entry["file"]).parent
        alike.setdefault((compile_flags(entry), place), []).append(entry["file"])
    for (flags, _), files in alike.items():
        parts = -(-len(files) // size)
        for part in range(parts):
            yield flags, sorted(files)[part::parts]


class Group:
    """Sources in one file."""

    def __init__(self, name, files):
        self.name = name
        self.files = files
        self.starts = []
        lines = []
        for file in files:
            self.starts.append((len(lines), file))
            lines += pathlib.Path(file).read_text().splitlines()
        name.write_text("\n".join(lines) + "\n")

    def told(self, said):
        """`said` with the sources' own names and lines."""
        def place(match):
            line = int(match[1])
            start, file = [item for item in self.starts if item[0] < line][-1]
            return f"{file}:{line - start}:"
        return re.sub(re.escape(str(self.name)) + r":(\d+):", place, said)


class Tidy:
    """Runs clang-tidy over groups of sources."""

    def __init__(self, folder):
        self.folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        self.commands = []

    def together(self, number, flags, files):
        """Writes the file that holds the text of `files`; returns it."""
        group = Group(self.folder / f"group_{number}.cpp", files)
        places = sorted({str(pathlib.Path(file).parent) for file in files})
        quoted = [word for place in places for word in ("-iquote", place)]
        command = shlex.join([*flags, *quoted, "-c", str(group.name)])
        self.commands.append(
            {"directory": str(self.folder), "command": command, "file": str(group.name)})
        return group

    def write_commands(self):
        (self.folder / "compile_commands.json").write_text(json.dumps(self.commands))

    @staticmethod
    def run(database, file):
        """What clang-tidy says of `file` ("" where nothing) and whether it could be compiled."""
        done = subprocess.run(["clang-tidy", "--quiet", "-p", str(database), str(file)],
                              capture_output=True, text=True, check=False)
        said = done.stdout if done.returncode else ""
        if done.returncode and not said:
            said = done.stderr or f"clang-tidy ended with {done.returncode}\n"
        return said, "clang-diagnostic-error" not in said

    def check(self, build, group):
        """The findings in the group, together or, where they cannot be compiled so, one by one."""
        said, compiled = self.run(self.folder, group.name)
        if compiled:
            return group.told(said)
        return "".join(self.run(build, source)[0] for source in group.files)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, required=True,
                        help="a configured build directory: its compile_commands.json is used")
    parser.add_argument("--jobs", type=int, default=2, help="programs at a time")
    parser.add_argument("--size", type=int, default=12, help="most sources in a file")
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

    tidy = Tidy(build / "tidy")
    work = []
    for number, (flags, files) in enumerate(groups(entries.values(), arguments.size)):
        work.append(tidy.together(number, flags, files))
    tidy.write_commands()

    found = False
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        running = [pool.submit(tidy.check, build, group) for group in work]
        for done, future in enumerate(concurrent.futures.as_completed(running), 1):
            if future.result():
                found = True
                print(future.result(), end="", flush=True)
            print(f"[{done}/{len(work)}] files checked", file=sys.stderr, flush=True)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
