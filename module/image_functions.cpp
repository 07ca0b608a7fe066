// Module functions that write pictures and movies: arguments and results.
#include "camera/buffer.h"
#include "imaging/save_image.h"
#include "module/binding/arguments.h"
#include "module/binding/convert.h"
#include "module/zel_camera_api_py.h"

namespace
{

/// The buffer wrapper that an argument is, or null with a report.
const ZelCamPy::PyBuffer* bufferFrom(const Py::Object& argument)
{
    const auto* buffer = binding::wrapperIn<ZelCamPy::PyBuffer>(argument);
    if (buffer == nullptr) {
        binding::report("Invalid image buffer\n");
    }
    return buffer;
}

/// The image that a buffer wrapper holds, or null with a report.
const ZelImage* imageIn(const ZelCamPy::PyBuffer& wrapper)
{
    if (wrapper.buffer() == nullptr) {
        binding::report("Invalid zelImage buffer\n");
        return nullptr;
    }
    const ZelImage* image = wrapper.buffer()->GetImage();
    if (image == nullptr) {
        binding::report("Invalid zelImage buffer pointer\n");
    }
    return image;
}

} // namespace

Py::Object ZelCameraApiPy::PySaveImage(const Py::Tuple& args)
{
    if (binding::tooFew(args, {2, "Not enough args\n"})) {
        return Py::False();
    }
    const ZelCamPy::PyBuffer* buffer = bufferFrom(args[0]);
    if (buffer == nullptr) {
        return Py::False();
    }
    const std::string fileName = binding::toText(args[1]);
    components_.serializer(imaging::kPictures);
    const ZelImage* image = imageIn(*buffer);
    return binding::toPython(image != nullptr &&
                             imaging::saveImage(components_, *image, fileName.c_str(), lastError_));
}

Py::Object ZelCameraApiPy::PyStartMovieRecord(const Py::Tuple& args)
{
    if (binding::tooFew(args, {4, "Not enough args\n"}, lastError_)) {
        return Py::False();
    }
    const ZelCamPy::PyBuffer* buffer = bufferFrom(args[0]);
    if (buffer == nullptr) {
        return Py::False();
    }
    const std::string fileName = binding::toText(args[1]);
    const double framesPerSecond = binding::toDouble(args[2]);
    const std::string compressor = binding::toText(args[3]);
    const ZelImage* image = imageIn(*buffer);
    return binding::toPython(
        image != nullptr &&
        movie_.start(*image, fileName.c_str(), framesPerSecond, compressor, lastError_));
}

Py::Object ZelCameraApiPy::PySaveMovieFrame(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "Not enough args\n"}, lastError_)) {
        return Py::False();
    }
    const ZelCamPy::PyBuffer* buffer = bufferFrom(args[0]);
    const ZelImage* image = buffer != nullptr ? imageIn(*buffer) : nullptr;
    return binding::toPython(image != nullptr && movie_.append(*image, lastError_));
}

Py::Object ZelCameraApiPy::PyFinishRecord() { return binding::toPython(movie_.finish(lastError_)); }

Py::Object ZelCameraApiPy::PyGetVideoCompressors()
{
    const auto names = movie_.compressors(lastError_);
    if (!names) {
        return Py::None();
    }
    Py::List list;
    for (const std::string& name : *names) {
        list.append(binding::toPython(name.c_str()));
    }
    return list;
}
