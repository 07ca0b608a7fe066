#include "module/zel_camera_api_py.h"

#include "camera/buffer.h"
#include "camera/data_stream.h"
#include "camera/device.h"
#include "camera/device_info.h"
#include "camera/device_interface.h"
#include "camera/image.h"
#include "camera/system.h"
#include "genparam/enumeration.h"
#include "genparam/param.h"
#include "genparam/params.h"
#include "genparam/scalars.h"
#include "module/binding/arguments.h"
#include "module/binding/convert.h"
#include "module/binding/guard.h"
#include "module/error_messages.h"

namespace
{

/// Access mode in which devices are opened: reading and writing.
constexpr std::int32_t kControl = 2;

} // namespace

ZelCameraApiPy::ZelCameraApiPy() : Py::ExtensionModule<ZelCameraApiPy>("ZelCameraApiPy")
{
    registerTypes();
    registerFunctions();
    initialize("documentation for the ZelCameraApiPy module");
}

void ZelCameraApiPy::registerTypes()
{
    ZelCamPy::PyZelSystem::init_type();
    ZelCamPy::PyDevice::init_type();
    ZelCamPy::PyDataStream::init_type();
    ZelGenParamPy::PyGenParamEnum::init_type();
    ZelGenParamPy::PyGenParamEnumEntry::init_type();
    ZelGenParamPy::PyGenParam::init_type();
    ZelGenParamPy::PyGenParamBoolean::init_type();
    ZelGenParamPy::PyGenParamInt::init_type();
    ZelGenParamPy::PyGenParamFloat::init_type();
    ZelGenParamPy::PyGenParamCommand::init_type();
    ZelGenParamPy::PyGenParamNodeMap::init_type();
    ZelGenParamPy::PyGenParamString::init_type();
    ZelGenParamPy::PyGenParamNode::init_type();
    ZelGenParamPy::PyGenParamCategory::init_type();
    ZelGenParamPy::PyGenParams::init_type();
    ZelCamPy::PyBuffer::init_type();
    ZelCamPy::PyDeviceInterface::init_type();
    ZelCamPy::PyDeviceInfo::init_type();
    ZelCamPy::PyImage::makeReady();
}

void ZelCameraApiPy::registerFunctions()
{
    add_noargs_method("PyZelSystem", &ZelCameraApiPy::factory_PyZelSystem,
                      "documentation for PyZelSystem()");
    add_varargs_method("PyZelCreateDevice", &ZelCameraApiPy::PyZelCreateDevice,
                       "documentation for PyZelCreateDevice()");
    add_varargs_method("PyCreateDisplay", &ZelCameraApiPy::PyCreateDisplay);
    add_noargs_method("PyResetDisplay", &ZelCameraApiPy::PyResetDisplay);
    add_varargs_method("PyShowImageOnDisplay", &ZelCameraApiPy::PyShowImageOnDisplay);
    add_varargs_method("PyCreateGenParamTreeViewForArray",
                       &ZelCameraApiPy::PyCreateGenParamTreeViewForArray);
    add_varargs_method("PyDestroyGenParamTreeView", &ZelCameraApiPy::PyDestroyGenParamTreeView);
    add_varargs_method("PyActionCamera", &ZelCameraApiPy::PyActionCamera);
    add_varargs_method("PySaveImage", &ZelCameraApiPy::PySaveImage);
    add_varargs_method("PyStartMovieRecord", &ZelCameraApiPy::PyStartMovieRecord);
    add_varargs_method("PySaveMovieFrame", &ZelCameraApiPy::PySaveMovieFrame);
    add_noargs_method("PyFinishRecord", &ZelCameraApiPy::PyFinishRecord);
    add_noargs_method("PyGetVideoCompressors", &ZelCameraApiPy::PyGetVideoCompressors);
    add_noargs_method("GetLastError", &ZelCameraApiPy::GetLastError);
    add_varargs_method("ErrorCodeToString", &ZelCameraApiPy::ErrorCodeToString);
}

Py::Object ZelCameraApiPy::invoke_method_noargs(void* method)
{
    return binding::guarded([&] { return ExtensionModule::invoke_method_noargs(method); });
}

Py::Object ZelCameraApiPy::invoke_method_varargs(void* method, const Py::Tuple& args)
{
    return binding::guarded([&] { return ExtensionModule::invoke_method_varargs(method, args); });
}

Py::Object ZelCameraApiPy::factory_PyZelSystem() { return binding::make<ZelCamPy::PyZelSystem>(); }

Py::Object ZelCameraApiPy::PyCreateDisplay(const Py::Tuple& /*args*/) { return Py::None(); }

Py::Object ZelCameraApiPy::PyResetDisplay() { return Py::None(); }

Py::Object ZelCameraApiPy::PyShowImageOnDisplay(const Py::Tuple& /*args*/) { return Py::None(); }

Py::Object ZelCameraApiPy::PyCreateGenParamTreeViewForArray(const Py::Tuple& /*args*/)
{
    return Py::None();
}

Py::Object ZelCameraApiPy::PyDestroyGenParamTreeView(const Py::Tuple& /*args*/)
{
    return Py::None();
}

Py::Object ZelCameraApiPy::PyActionCamera(const Py::Tuple& /*args*/) { return Py::None(); }

Py::Object ZelCameraApiPy::PyZelCreateDevice(const Py::Tuple& args)
{
    ZelCam::DeviceInfo* info = nullptr;
    if (args.length() > 0) {
        const auto* wrapper = binding::wrapperIn<ZelCamPy::PyDeviceInfo>(args[0]);
        if (wrapper == nullptr) {
            binding::report("Wrong DeviceInfo\n");
            return Py::None();
        }
        info = wrapper->cxx_getDevInfo();
    }
    return ZelCamPy::PyDevice::over(ZelCam_CreateDevice(info, kControl, &lastError_));
}

Py::Object ZelCameraApiPy::GetLastError() { return binding::toPython(lastError_); }

Py::Object ZelCameraApiPy::ErrorCodeToString(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, nullptr}, lastError_)) {
        return Py::None();
    }
    const Py::Object code = args[0];
    // The conversion would read numbers in texts and bytes too; it refuses all else itself.
    if (PyUnicode_Check(code.ptr()) != 0 ||
        (PyObject_CheckBuffer(code.ptr()) != 0 && PyNumber_Check(code.ptr()) == 0)) {
        throw Py::TypeError(std::string("a number is required, not ") +
                            Py_TYPE(code.ptr())->tp_name);
    }
    return binding::toPython(GetZelCamErrString(static_cast<ZelCamErr>(binding::toInt64(code))));
}
