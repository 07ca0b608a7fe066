"""Sphinx: ./run docs builds these pages into build/docs/."""
project = "Zelcam"
author = ""
extensions = ["myst_parser"]
source_suffix = {".md": "markdown"}
myst_heading_anchors = 4
html_theme = "furo"
html_title = "Zelcam"
exclude_patterns = ["_*"]
# Signatures are shown as they are written.
highlight_language = "python"
