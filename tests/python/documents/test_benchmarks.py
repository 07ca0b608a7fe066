"""Files of benchmark runs: what changed between two, and the tables that come from them."""

import json
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.append(str(ROOT / "benchmarks"))


def run_of(*rounds):
    """A record with rounds of {what: (ratio, target)}."""
    return {"format": 1, "program": "bench", "machine": "a machine", "commit": "1234567",
            "when": "2026-01-02T03:04:05+00:00",
            "rounds": [[{"section": "frames", "what": what, "ours": "%s us" % ratio, "rival": "r",
                         "ratio": ratio, "target": target,
                         "verdict": "met" if target else ""}
                        for what, (ratio, target) in rows.items()] for rows in rounds]}


def compared(tmp_path, first, second):
    names = []
    for number, content in enumerate((first, second)):
        names.append(str(tmp_path / ("%d.json" % number)))
        pathlib.Path(names[-1]).write_text(json.dumps(content))
    done = subprocess.run([sys.executable, str(ROOT / "benchmarks" / "compare.py"), *names],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.returncode, done.stdout.decode()


def test_only_what_goes_beyond_the_noise_is_told(tmp_path):
    steady = [{"a": ("2.00", ""), "b": (r, ""), "c": ("0.40x", "at most 0.6x")}
              for r in ("1.0", "1.4", "1.2")]
    moved = [{"a": ("1.80", ""), "b": ("1.0", ""), "c": ("0.30x", "at most 0.6x")}] * 2
    code, text = compared(tmp_path, run_of(*steady), run_of(*moved))
    assert code == 1 and "SLOWER   frames / a" in text and "ratio -10 %" in text
    assert "frames / b" not in text, "it swings by more"
    assert "faster   frames / c" in text, "a cost is better when it is lower"
    code, text = compared(tmp_path, run_of(*moved), run_of({"a": ("1.7", ""), "n": ("1", "")}))
    assert code == 0 and "gone     frames / b" in text and "new      frames / n" in text
    assert "frames / a" not in text, "one round alone swings by a sixth"


def test_what_is_no_record_is_refused(tmp_path):
    for content in ([], {"format": 2}, {"format": 1, "rounds": [[{}]]}):
        code, text = compared(tmp_path, content, run_of({}))
        assert code == 1 and "0.json: " in text and "Traceback" not in text


def test_tables_come_from_records():
    document = pytest.importorskip("document")
    page = ("a\n<!-- figures: frames -->\nold\n<!-- end of figures -->\nb\n"
            "<!-- figures: frames view -->\nkept\n<!-- end of figures -->\n")
    rounds = [{"x": (ratio, "")} for ratio in ("3.0", "1.0", "2.0")]
    text, written = document.write(page, [run_of(*rounds)])
    assert written == ["frames"] and "old" not in text and "kept" in text
    assert "| x    | 2.0 us | r     | 2.0" in text and "commit 1234567" in text
