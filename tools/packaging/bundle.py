"""Makes shared libraries portable: what they need beyond the C and C++ runtime comes along.

Needed libraries are copied under names that hold a hash of their content, so that they can stand
beside any other copy in one process, and are found by run paths relative to $ORIGIN.
"""
import hashlib
import os
import re
import shutil
import subprocess

# The C and C++ runtime, which every Linux of the wheel's platform tag has.
RUNTIME = re.compile(r"^(ld-linux.*|libc|libm|libdl|libpthread|librt|libutil|libresolv|libgcc_s|"
                     r"libstdc\+\+|libatomic|linux-vdso)\.so(\.|$)")

# FFmpeg's libraries stay the system's: only what records movies asks for them, when it is loaded.
SYSTEM = re.compile(r"^lib(av\w+|sw\w+)\.so")


def run(*command):
    """Standard output of a program; its failure ends the packing."""
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def needed(library):
    """Names of the libraries that a library asks for itself."""
    return run("patchelf", "--print-needed", library).split()


def resolved(library):
    """Where the loader finds what a library needs, directly or not: name -> path."""
    found = dict(re.findall(r"^\s*(\S+) => (\S+) \(0x", run("ldd", library), re.M))
    missing = re.findall(r"^\s*(\S+) => not found", run("ldd", library), re.M)
    if missing:
        raise SystemExit("%s needs %s, which is not there" % (library, ", ".join(missing)))
    return found


def glibc_needed(libraries):
    """The newest version of the C library that any of these asks symbols of, as (2, 36)."""
    versions = {(2, 17)}
    for library in libraries:
        told = run("readelf", "--wide", "--version-info", library)
        versions.update((int(a), int(b)) for a, b in re.findall(r"\bGLIBC_(\d+)\.(\d+)", told))
    return max(versions)


class Bundle:
    """Copies of foreign libraries in one folder, each once."""

    def __init__(self, folder):
        self.folder = folder
        self.names = {}  # as it is asked for -> as it is called in the folder

    def add(self, name, path, paths):
        """Takes in a library and what it needs; returns its new name."""
        if name in self.names:
            return self.names[name]
        with open(path, "rb") as content:
            mark = hashlib.sha256(content.read()).hexdigest()[:8]
        stem, dot, rest = name.partition(".so")
        self.names[name] = new = "%s-%s%s%s" % (stem, mark, dot, rest)
        os.makedirs(self.folder, exist_ok=True)
        copy = os.path.join(self.folder, new)
        shutil.copyfile(path, copy)
        os.chmod(copy, 0o755)
        run("strip", "--strip-unneeded", copy)
        run("patchelf", "--set-soname", new, copy)
        self.rename_needs(copy, paths)
        run("patchelf", "--set-rpath", "$ORIGIN", copy)
        return new

    def rename_needs(self, library, paths):
        """Lets a library ask for the copies in place of the system's."""
        for name in needed(library):
            if name in paths and not RUNTIME.match(name) and not SYSTEM.match(name):
                run("patchelf", "--replace-needed", name, self.add(name, paths[name], paths),
                    library)


def make_portable(libraries, folder):
    """Bundles into `folder` what `libraries` (files that are changed; the first one's folder is
    where they stand) need beyond the runtime and each other. Returns all files that now belong
    together."""
    own = {os.path.basename(path) for path in libraries}
    bundle = Bundle(folder)
    for library in libraries:
        paths = {name: path for name, path in resolved(library).items() if name not in own}
        run("strip", "--strip-unneeded", library)
        bundle.rename_needs(library, paths)
        beside = os.path.relpath(os.path.dirname(libraries[0]), os.path.dirname(library))
        places = ["$ORIGIN"] if beside == "." else ["$ORIGIN/" + beside]
        places.append("$ORIGIN/" + os.path.relpath(folder, os.path.dirname(library)))
        run("patchelf", "--set-rpath", ":".join(places), library)
    return list(libraries) + [os.path.join(folder, name) for name in sorted(bundle.names.values())]
