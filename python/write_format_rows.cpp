// Writes the pixel formats that cameras name as a Python file: write_format_rows > FILE.
#include "zel_image/pixel_format_table.h"

#include <cstdio>

int main()
{
    std::puts(
        "\"\"\"Pixel formats: code, name, pixel type of the image components, components and bits\n"
        "of a pixel, code of the format with the same samples in whole words or 0. "
        "Generated.\"\"\"\n"
        "from typing import Tuple\n\n"
        "ROWS: Tuple[Tuple[int, str, int, int, int, int], ...] = (");
    for (const ZelPixel::Format& format : ZelPixel::kFormats) {
        if (format.pfnc == ZelPixel::kNoPfnc) {
            continue;
        }
        const ZelPixel::Format* const words =
            ZelPixel::findFormat(ZelPixel::unpackedOf(format.code));
        std::printf("    (0x%08X, \"%s\", 0x%08X, %u, %u, 0x%08X),\n", format.pfnc, format.name,
                    format.code, format.components, format.bits,
                    words == nullptr ? ZelPixel::kNoPfnc : words->pfnc);
    }
    std::puts(")");
    return 0;
}
