"""The documents: every Python block runs, names that they link to exist, pages build."""

import pathlib
import re
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
PAGES = [ROOT / "README.md", ROOT / "ARCHITECTURE.md", ROOT / "CONTRIBUTING.md",
         *sorted((ROOT / "docs").rglob("*.md"))]


def blocks(page):
    return re.findall(r"^```python\n(.*?)^```$", page.read_text(encoding="utf-8"), re.M | re.S)


BLOCKS = [(page, number, code) for page in PAGES for number, code in enumerate(blocks(page))]


@pytest.mark.parametrize("page, number, code", BLOCKS, ids=[
    "%s-%d" % (page.stem, number) for page, number, _ in BLOCKS])
def test_block_runs(page, number, code, run_program):
    result = run_program(code, ZELCAM_VISION="off")
    assert b"Traceback" not in result.stderr


@pytest.mark.parametrize("page", PAGES, ids=[page.name for page in PAGES])
def test_links_lead_somewhere(page):
    text = page.read_text(encoding="utf-8")
    for target, anchor in re.findall(r"\]\((?!https?:)([^)#\s]*)(#[^)]*)?\)", text):
        place = (page.parent / target) if target else page
        generated = place.parent.name == "reference" and page.parent.parts[-1] in ("docs", "guide")
        assert generated or place.exists(), target
        if anchor and place.suffix == ".md":
            titles = re.findall(r"^#+ (.*)$", place.read_text(encoding="utf-8"), re.M)
            slugs = {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}
            assert anchor[1:] in slugs, target + anchor


def test_reference_has_a_sentence_for_everything(tmp_path):
    subprocess.run([sys.executable if sys.version_info >= (3, 9) else "python3",
                    str(ROOT / "tools" / "docs" / "reference.py"), str(tmp_path)],
                   check=True, timeout=60)
    module = (tmp_path / "module.md").read_text()
    for name in ("GetBuffer(", "RegisterEvent(", "PySaveImage(", "SetEnumValueStr("):
        assert "`%s" % name in module
    assert "`virtual ZelCamErr QueueBuffer(Buffer* buffer) = 0;`" in (tmp_path / "cpp.md").read_text()
    assert "`frames(" in (tmp_path / "layer.md").read_text()


def test_codes_are_those_of_the_module():
    import libZelCameraApiPy as zel
    known = set()
    for code in [0, *range(-1030, -1000), *range(-40210, -40000)]:
        try:
            if zel.ErrorCodeToString(code) not in ("Unknown code", "OK"):
                known.add(code)
        except UnicodeDecodeError:
            known.add(code)
    page = (ROOT / "docs" / "codes.md").read_text(encoding="utf-8")
    assert {int(code) for code in re.findall(r"^\| (-\d+) \|", page, re.M)} == known
