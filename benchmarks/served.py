"""Served cameras for the benchmarks of GigE Vision."""
import contextlib
import json
import os
import subprocess
import tempfile

PROGRAM = "zel_bench_serve"


@contextlib.contextmanager
def served(build, address, description, before=()):
    """The process that serves one camera of this description at the address, until the block ends;
    `before` are words that its command begins with."""
    config = {"interfaces": [{"type": "GEV", "cameras": [description]}]}
    with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
        json.dump(config, file)
        file.flush()
        process = subprocess.Popen(
            [*before, os.path.join(build, "bin", PROGRAM), "--config", file.name, address],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        try:
            while process.stdout.readline() not in (b"ready\n", b""):
                pass
            yield process
        finally:
            process.stdin.close()
            process.wait()
            process.stdout.close()
