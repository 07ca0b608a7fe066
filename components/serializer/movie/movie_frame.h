// Frames for an encoder, filled from pictures.
#pragma once

#include "../picture.h"
#include "av_handles.h"

namespace movie
{

/// Makes frames of one size and pixel format from pictures of one size and kind. The memory of
/// frames that the encoder has done with is used again, so a long recording touches only a few
/// frames' worth. make() is called by one thread at a time; frames may be freed by any.
class FrameMaker
{
public:
    /// `width` and `height` are the frame's: the picture's, or one more where it must be even; the
    /// last column or row is then repeated. `format` is one of those in the compressor list.
    FrameMaker(AVPixelFormat format, int width, int height);

    /// A frame with the picture's content; null for want of memory.
    Frame make(const serializer::Picture& picture) const;

private:
    Frame allocate() const;
    void fill(const serializer::Picture& picture, AVFrame& frame) const;
    void fillPlanar(const serializer::Picture& picture, AVFrame& frame) const;

    AVPixelFormat format_;
    int width_;
    int height_;
    BufferPool pool_;
};

/// Sets the colour properties that belong to a pixel format.
void describeColours(AVPixelFormat format, AVCodecContext* context);

} // namespace movie
