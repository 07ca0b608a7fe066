"""The pixel formats: what a camera's code says of the bytes of a frame."""
from __future__ import annotations

from typing import NamedTuple, Optional

from ._format_rows import ROWS


class Format(NamedTuple):
    """One pixel format."""
    code: int  # as cameras name it
    name: str
    pixel_type: int  # of the image components
    components: int  # of one pixel
    bits: int  # significant ones of one component
    unpacked_code: int  # of the same samples in whole words; 0 where there is none

    @property
    def stored_bits(self) -> int:
        """Bits of one pixel in memory."""
        return self.pixel_type >> 16 & 0xFF

    @property
    def bit_packed(self) -> bool:
        """Pixels share bytes."""
        return self.pixel_type >> 12 & 0xF != 0

    @property
    def is_mono(self) -> bool:
        return self.pixel_type >> 24 == 1

    @property
    def is_bayer(self) -> bool:
        return self.pixel_type >> 24 == 3

    @property
    def unpacked(self) -> Optional["Format"]:
        """The format of 16-bit words with the same samples; None where there is none."""
        return of_code(self.unpacked_code)


_BY_CODE = {row[0]: Format(*row) for row in ROWS}
MONO8, RGB8, BGR8 = (next(each for each in _BY_CODE.values() if each.name == name)
                     for name in ("Mono8", "RGB8", "BGR8"))


def of_code(code: int) -> Optional[Format]:
    """The format of a camera's code; None for those of which only the bytes are known."""
    return _BY_CODE.get(code)
