// Picture files and movies (libZelImageSerializer.so).
#pragma once

#include "../zel_err.h"
#include "component_params.h"
#include "image.h"

struct ZelImageSerializer;

extern "C" {

/// A new serializer; null for want of memory. `mode` is 0 (pictures) or 1 (movies); this serializer
/// does both in either mode. One thread at a time.
ZEL_API ZelImageSerializer* ZelImageSerializer_CreateComponent(std::int32_t mode);

/// Its parameters. Integers: "add.palette" (0 or 1), "ticks.per.sec" (1 to 2147483647),
/// "min.quantizer" and "max.quantizer" (1 to 31), "jpeg.quality" (1 to 100, default 95). Strings:
/// "movie.compressor" (one name of the list; empty: the container's first). Readable:
/// "movie.compressors", names each followed by "|".
ZEL_API ZelComponentParams* ZelImageSerializer_GetComponent(ZelImageSerializer* serializer);

/// With a file name: writes a picture, the format chosen by the extension without regard to case
/// (png, tif, tiff, jpg, jpeg, bmp, pgm, ppm, pnm), whole or not at all. Mono8 and RGB8 and BGR8
/// everywhere, Mono10 to Mono16 as 16-bit TIFF (values unscaled), PNG (scaled to 16 bits) and PGM
/// (unscaled with maxval). Without one (null): appends the image to the movie being recorded.
///
/// -40002 no such directory, -40003 not permitted or the disk refused (full disk included), -40007
/// null or unknown extension or pixel type or, for a movie, an image of another size or type than
/// it was started with, -40051 no movie is being recorded.
ZEL_API ZelCamErr ZelImageSerializer_Save(ZelImageSerializer* serializer, const ZelImage* image,
                                          const char* fileName);

/// Starts a movie for images like `image` (Mono8, RGB8 or BGR8), container chosen by the extension
/// (avi, mkv, mp4, mov, webm), `framesPerSecond` from 0.001 to 1000 (mp4, mov: 65535). An
/// unfinished movie is finished first. The file gets its name with its first frame; until then, and
/// after a failed start, an earlier file stays. A process that ends finishes its movie; of one that
/// is killed the file can be played but for the last second at most. In a forked child the parent's
/// movie is none.
/// Codes as for Save; -40007 also for a compressor that is unknown or does not fit the container.
ZEL_API ZelCamErr ZelImageSerializer_StartMovieRecord(ZelImageSerializer* serializer,
                                                      const ZelImage* image, const char* fileName,
                                                      double framesPerSecond);

/// Closes the movie; without a frame no file is left. -40051 when there is none, else the first
/// error of the recording.
ZEL_API ZelCamErr ZelImageSerializer_FinishRecord(ZelImageSerializer* serializer);

/// Finishes a movie under way and frees the serializer; null is accepted.
ZEL_API void ZelImageSerializer_DeleteComponent(ZelImageSerializer* serializer);
}
