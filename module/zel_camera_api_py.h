// The module object.
#pragma once

#include "imaging/component_loader.h"
#include "imaging/movie_recorder.h"
#include "module/binding/pycxx.h"
#include "zel_camera_api.h"

/// The module `libZelCameraApiPy`: registers all types and functions and owns the image components.
/// One per process, made by the entry point.
class ZelCameraApiPy : public Py::ExtensionModule<ZelCameraApiPy>
{
public:
    /// Throws Py::BaseException or std::bad_alloc when something cannot be registered.
    ZelCameraApiPy();

    /// A new wrapper of the system.
    virtual Py::Object factory_PyZelSystem();

    /// Placeholders for a derived module; they accept anything and return None.
    virtual Py::Object PyCreateDisplay(const Py::Tuple& args);
    virtual Py::Object PyResetDisplay();
    virtual Py::Object PyShowImageOnDisplay(const Py::Tuple& args);
    virtual Py::Object PyCreateGenParamTreeViewForArray(const Py::Tuple& args);
    virtual Py::Object PyDestroyGenParamTreeView(const Py::Tuple& args);
    virtual Py::Object PyActionCamera(const Py::Tuple& args);

private:
    // The one catch point of the module functions.
    Py::Object invoke_method_noargs(void* method) override;
    Py::Object invoke_method_varargs(void* method, const Py::Tuple& args) override;

    void registerTypes();
    void registerFunctions();

    Py::Object PyZelCreateDevice(const Py::Tuple& args);
    Py::Object PySaveImage(const Py::Tuple& args);
    Py::Object PyStartMovieRecord(const Py::Tuple& args);
    Py::Object PySaveMovieFrame(const Py::Tuple& args);
    Py::Object PyFinishRecord();
    Py::Object PyGetVideoCompressors();
    Py::Object GetLastError();
    Py::Object ErrorCodeToString(const Py::Tuple& args);

    imaging::ComponentLoader components_;
    imaging::MovieRecorder movie_{components_};
    ZelCamErr lastError_ = ZelErr::kOk;
};
