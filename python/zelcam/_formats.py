"""The pixel formats: PFNC codes and what they say of the bytes of a frame."""
from __future__ import annotations

from typing import Dict, NamedTuple, Optional, Tuple

_MONO, _RGB, _BAYER, _YUV = 1, 2, 3, 5


class Format(NamedTuple):
    """One pixel format."""
    name: str
    pfnc: int
    pixel_type: int  # of the image components

    @property
    def family(self) -> int:
        """1 mono, 2 RGB orders, 3 Bayer, 5 YUV."""
        return self.pixel_type >> 24

    @property
    def stored_bits(self) -> int:
        """Bits of one pixel in memory."""
        return self.pixel_type >> 16 & 0xFF

    @property
    def bits(self) -> int:
        """Significant bits of one component."""
        return 6 + 2 * (self.pixel_type >> 8 & 0xF)

    @property
    def bit_packed(self) -> bool:
        """Pixels share bytes."""
        return self.pixel_type >> 12 & 0xF != 0

    @property
    def components(self) -> int:
        """Components of one pixel: 1, 3 or 4; 2 stored ones of YUV 4:2:2."""
        if self.family in (_MONO, _BAYER):
            return 1
        return 4 if "a8" in self.name else 3

    @property
    def is_bayer(self) -> bool:
        return self.family == _BAYER

    @property
    def is_mono(self) -> bool:
        return self.family == _MONO

    @property
    def unpacked(self) -> Optional["Format"]:
        """The format of 16-bit words with the same samples; None where there is none."""
        name = self.name.replace("Packed", "")
        return _BY_NAME.get(name[:-1] if name.endswith("p") else name)


# PFNC code, code of the image components, name. Ascending.
_ROWS: Tuple[Tuple[int, int, str], ...] = (
    (0x01080001, 0x01080101, "Mono8"),
    (0x01080008, 0x0308010D, "BayerGR8"),
    (0x01080009, 0x0308010E, "BayerRG8"),
    (0x0108000A, 0x0308010F, "BayerGB8"),
    (0x0108000B, 0x03080110, "BayerBG8"),
    (0x010A0046, 0x010A2203, "Mono10p"),
    (0x010A0052, 0x030A221F, "BayerBG10p"),
    (0x010A0054, 0x030A221D, "BayerGB10p"),
    (0x010A0056, 0x030A2219, "BayerGR10p"),
    (0x010A0058, 0x030A221B, "BayerRG10p"),
    (0x010C0004, 0x010C1204, "Mono10Packed"),
    (0x010C0006, 0x010C1308, "Mono12Packed"),
    (0x010C0026, 0x030C121A, "BayerGR10Packed"),
    (0x010C0027, 0x030C121C, "BayerRG10Packed"),
    (0x010C0028, 0x030C121E, "BayerGB10Packed"),
    (0x010C0029, 0x030C1220, "BayerBG10Packed"),
    (0x010C002A, 0x030C1322, "BayerGR12Packed"),
    (0x010C002B, 0x030C1324, "BayerRG12Packed"),
    (0x010C002C, 0x030C1326, "BayerGB12Packed"),
    (0x010C002D, 0x030C1328, "BayerBG12Packed"),
    (0x010C0047, 0x010C2307, "Mono12p"),
    (0x010C0053, 0x030C2327, "BayerBG12p"),
    (0x010C0055, 0x030C2325, "BayerGB12p"),
    (0x010C0057, 0x030C2321, "BayerGR12p"),
    (0x010C0059, 0x030C2323, "BayerRG12p"),
    (0x01100003, 0x01100202, "Mono10"),
    (0x01100005, 0x01100306, "Mono12"),
    (0x01100007, 0x0110050B, "Mono16"),
    (0x0110000C, 0x03100211, "BayerGR10"),
    (0x0110000D, 0x03100212, "BayerRG10"),
    (0x0110000E, 0x03100213, "BayerGB10"),
    (0x0110000F, 0x03100214, "BayerBG10"),
    (0x01100010, 0x03100315, "BayerGR12"),
    (0x01100011, 0x03100316, "BayerRG12"),
    (0x01100012, 0x03100317, "BayerGB12"),
    (0x01100013, 0x03100318, "BayerBG12"),
    (0x01100025, 0x0110040A, "Mono14"),
    (0x0110002E, 0x0310052D, "BayerGR16"),
    (0x0110002F, 0x0310052E, "BayerRG16"),
    (0x01100030, 0x0310052F, "BayerGB16"),
    (0x01100031, 0x03100530, "BayerBG16"),
    (0x01100109, 0x03100429, "BayerGR14"),
    (0x0110010A, 0x0310042A, "BayerRG14"),
    (0x0110010B, 0x0310042B, "BayerGB14"),
    (0x0110010C, 0x0310042C, "BayerBG14"),
    (0x0210001F, 0x05100180, "YUV422_8_UYVY"),
    (0x02100032, 0x05100181, "YUV422_8"),
    (0x0210003B, 0x05100185, "YCbCr422_8"),
    (0x02180014, 0x02180171, "RGB8"),
    (0x02180015, 0x02180172, "BGR8"),
    (0x02200016, 0x02200173, "RGBa8"),
    (0x02200017, 0x02200174, "BGRa8"),
    (0x02300018, 0x02300275, "RGB10"),
    (0x02300019, 0x02300276, "BGR10"),
    (0x0230001A, 0x02300377, "RGB12"),
    (0x0230001B, 0x02300378, "BGR12"),
    (0x02300033, 0x0230057B, "RGB16"),
    (0x0230004A, 0x0230047A, "BGR14"),
    (0x0230004B, 0x0230057C, "BGR16"),
    (0x0230005E, 0x02300479, "RGB14"),
)

_BY_NAME: Dict[str, Format] = {name: Format(name, pfnc, kind) for pfnc, kind, name in _ROWS}
_BY_CODE: Dict[int, Format] = {layout.pfnc: layout for layout in _BY_NAME.values()}

MONO8, RGB8, BGR8 = _BY_NAME["Mono8"], _BY_NAME["RGB8"], _BY_NAME["BGR8"]


def of_code(pfnc: int) -> Optional[Format]:
    """The format of a PFNC code; None for those of which only the bytes are known."""
    return _BY_CODE.get(pfnc)
