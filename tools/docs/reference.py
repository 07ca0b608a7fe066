"""Writes the reference pages from what stands in the code: python reference.py OUTPUT_FOLDER.

The module from its stub, the layer from its doc strings, the C++ SDK from the comments of its
headers. A method without a sentence fails the build of the documents.
"""
import ast
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def described(node):
    """The doc string of a node; its absence is a mistake."""
    text = ast.get_docstring(node)
    if text is None:
        sys.exit("%s has no doc string" % node.name)
    return text


def signature(function):
    """Name, arguments and result as they stand in the code, without `self`."""
    text = ast.unparse(function).split("\n")
    line = next(line for line in text if line.lstrip().startswith(("def ", "async def ")))
    line = line.strip()[len("def "):].rstrip(":")
    line = re.sub(r"\((self|cls)(, )?", "(", line, count=1)
    return re.sub(r"\s*\.\.\.$", "", line).rstrip(":")


def is_shown(node):
    """Functions that users call: no private ones, no operators."""
    return isinstance(node, ast.FunctionDef) and not node.name.startswith("_")


def is_setter(node):
    return any(isinstance(mark, ast.Attribute) and mark.attr == "setter"
               for mark in node.decorator_list)


def is_property(node):
    return any(isinstance(mark, ast.Name) and mark.id == "property" for mark in node.decorator_list)


def python_function(node, depth):
    shown = node.name if is_property(node) else signature(node)
    return "%s `%s`\n\n%s\n" % ("#" * depth, shown, described(node))


def python_page(paths, title, intro):
    """Markdown of the classes and functions of some Python files."""
    page = ["# %s\n\n%s\n" % (title, intro)]
    for path in paths:
        tree = ast.parse(path.read_text(encoding="utf-8"))
        for node in tree.body:
            if isinstance(node, ast.ClassDef) and (not node.name.startswith("_")
                                                   or path.suffix == ".pyi"):
                page.append("## %s\n\n%s\n" % (node.name.lstrip("_"), described(node)))
                page += [python_function(each, 3) for each in node.body
                         if is_shown(each) and not is_setter(each)]
            elif is_shown(node):
                page.append(python_function(node, 2))
    return "\n".join(page)


def cpp_page():
    """Markdown of the SDK's headers: each declaration below the comment that stands above it."""
    page = ["# C++ reference\n\nDeclarations of `sdk/`, which `cmake --install` puts below "
            "`include/zelcam/`. The tables are binary contracts: operation N stands in slot N.\n"]
    for path in sorted((ROOT / "sdk").rglob("*.h")):
        lines = path.read_text(encoding="utf-8").split("\n")
        shown = []
        comment, code = [], []
        for line in lines + [""]:
            text = line.strip()
            if text.startswith("///"):
                comment.append(text[3:].strip())
            elif comment or code:
                code.append(text)
                if not text or text.endswith((";", "{", "}")):
                    declaration = " ".join(code).rstrip("{").strip()
                    declaration = re.sub(r"\s+", " ", re.sub(r"///<.*", "", declaration))
                    if comment and declaration:
                        shown.append("### `%s`\n\n%s\n" % (declaration, " ".join(comment)))
                    comment, code = [], []
        if shown:
            purpose = lines[0].lstrip("/ ")
            page.append("## %s\n\n%s\n" % (path.relative_to(ROOT / "sdk"), purpose))
            page += shown
    return "\n".join(page)


def main():
    """Writes the three pages."""
    output = pathlib.Path(sys.argv[1])
    output.mkdir(parents=True, exist_ok=True)
    layer = [ROOT / "python" / "zelcam" / (name + ".py")
             for name in ("camera", "features", "frame", "movie", "events", "errors")]
    (output / "module.md").write_text(python_page(
        [ROOT / "python" / "libZelCameraApiPy.pyi"], "The module libZelCameraApiPy",
        "Methods take positional arguments only. Too few of them never raise: a line goes to "
        "standard error and the result is that of a failure."), encoding="utf-8")
    (output / "layer.md").write_text(python_page(
        layer, "The layer zelcam", "`import zelcam`: `with` blocks, exceptions, arrays."),
        encoding="utf-8")
    (output / "cpp.md").write_text(cpp_page(), encoding="utf-8")


if __name__ == "__main__":
    main()
