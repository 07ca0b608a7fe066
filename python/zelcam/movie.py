"""Movies made of frames."""
from __future__ import annotations

import atexit
import os
import weakref
from typing import Optional

from . import _components, _formats
from .frame import Frame, Path


class Movie:
    """A movie file under way; finish it, or use it in a `with` block. Several can be recorded at
    once. The file appears with the first frame, whose size and kind (grey or colour) the following
    ones share."""

    def __init__(self, path: Path, rate: float, compressor: str = "") -> None:
        self.path = os.fspath(path)
        self.rate = rate
        self.frames = 0
        self._compressor = compressor
        self._file: Optional[_components.MovieFile] = None
        self._format: Optional[_formats.Format] = None

    def add(self, frame: Frame) -> None:
        """Appends a frame; mosaics are recorded in colour."""
        if self._format is None:
            self._format = frame._picture_format()
        picture = frame._image(self._format)
        if self._file is None:
            self._file = _components.MovieFile(picture, self.path, self.rate, self._compressor)
            _open_movies.add(self)
        self._file.add(picture)
        self.frames += 1

    def finish(self) -> None:
        """Closes the file; raises what went wrong during the recording. A movie without frames
        leaves no file."""
        file, self._file = self._file, None
        _open_movies.discard(self)
        if file is not None:
            file.finish()

    def __enter__(self) -> "Movie":
        return self

    def __exit__(self, *exception: object) -> None:
        self.finish()


_open_movies: "weakref.WeakSet[Movie]" = weakref.WeakSet()


@atexit.register
def _finish_all() -> None:
    for movie in list(_open_movies):
        movie.finish()
