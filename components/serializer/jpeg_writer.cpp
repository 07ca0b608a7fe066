#include "jpeg_writer.h"

#include "output_file.h"

#include <jpeglib.h>

#include <array>
#include <csetjmp>
#include <cstdio>
#include <vector>

namespace serializer
{

namespace
{

constexpr std::size_t kBuffer = std::size_t{64} * 1024;
constexpr std::uint32_t kRowsAtOnce = 64;

// Everything the encoder's long jumps must not skip: owned outside the function they leave.
struct JpegState {
    jpeg_compress_struct encoder = {};
    jpeg_error_mgr errors = {};
    jpeg_destination_mgr destination = {};
    std::jmp_buf escape = {};
    OutputFile* file = nullptr;
    bool created = false;
    std::vector<unsigned char> buffer;

    ~JpegState()
    {
        if (created) {
            jpeg_destroy_compress(&encoder);
        }
    }
};

JpegState& stateOf(void* clientData) { return *static_cast<JpegState*>(clientData); }

[[noreturn]] void onError(j_common_ptr common)
{
    std::longjmp(stateOf(common->client_data).escape, 1);
}

void onMessage(j_common_ptr /*common*/) {}
void onWarning(j_common_ptr /*common*/, int /*level*/) {}

void resetBuffer(JpegState& state)
{
    state.destination.next_output_byte = state.buffer.data();
    state.destination.free_in_buffer = state.buffer.size();
}

void startOutput(j_compress_ptr encoder) { resetBuffer(stateOf(encoder->client_data)); }

// Called when the buffer is full; the free count is not up to date then.
boolean emptyBuffer(j_compress_ptr encoder)
{
    JpegState& state = stateOf(encoder->client_data);
    if (state.file->write(state.buffer.data(), state.buffer.size()) != ZelErr::kOk) {
        std::longjmp(state.escape, 1);
    }
    resetBuffer(state);
    return TRUE;
}

void endOutput(j_compress_ptr encoder)
{
    JpegState& state = stateOf(encoder->client_data);
    const std::size_t used = state.buffer.size() - state.destination.free_in_buffer;
    if (state.file->write(state.buffer.data(), used) != ZelErr::kOk) {
        std::longjmp(state.escape, 1);
    }
}

void prepare(JpegState& state, OutputFile& file)
{
    state.file = &file;
    state.buffer.resize(kBuffer);
    state.encoder.err = jpeg_std_error(&state.errors);
    state.errors.error_exit = onError;
    state.errors.output_message = onMessage;
    state.errors.emit_message = onWarning;
    state.encoder.client_data = &state;
    state.destination.init_destination = startOutput;
    state.destination.empty_output_buffer = emptyBuffer;
    state.destination.term_destination = endOutput;
}

void describe(const Picture& picture, int quality, jpeg_compress_struct& encoder)
{
    encoder.image_width = picture.width;
    encoder.image_height = picture.height;
    encoder.input_components = picture.isColour() ? 3 : 1;
    encoder.in_color_space = picture.kind == PixelKind::kBgr   ? JCS_EXT_BGR
                             : picture.kind == PixelKind::kRgb ? JCS_EXT_RGB
                                                               : JCS_GRAYSCALE;
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, quality, TRUE);
}

// The only function that the encoder's errors jump out of; it owns nothing.
bool encode(const Picture& picture, int quality, JpegState& state)
{
    std::array<JSAMPROW, kRowsAtOnce> rows;
    if (setjmp(state.escape) != 0) {
        return false;
    }
    jpeg_create_compress(&state.encoder);
    state.created = true;
    state.encoder.dest = &state.destination;
    describe(picture, quality, state.encoder);
    jpeg_start_compress(&state.encoder, TRUE);
    while (state.encoder.next_scanline < picture.height) {
        JDIMENSION count = 0;
        for (; count < kRowsAtOnce && state.encoder.next_scanline + count < picture.height;
             ++count) {
            rows[count] = const_cast<JSAMPROW>(picture.row(state.encoder.next_scanline + count));
        }
        jpeg_write_scanlines(&state.encoder, rows.data(), count);
    }
    jpeg_finish_compress(&state.encoder);
    return true;
}

} // namespace

ZelCamErr writeJpeg(const Picture& picture, const WriteOptions& options, OutputFile& file)
{
    if (picture.kind == PixelKind::kGray16) {
        return ZelErr::kInvalidArgument;
    }
    JpegState state;
    prepare(state, file);
    if (!encode(picture, options.jpegQuality, state)) {
        return file.error() != ZelErr::kOk ? file.error() : ZelErr::kInvalidArgument;
    }
    return file.error();
}

} // namespace serializer
