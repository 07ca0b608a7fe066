// Entry points of the extension module.
#include "module/binding/guard.h"
#include "module/binding/interpreter_lock.h"
#include "module/zel_camera_api_py.h"

#include <cstdio>

namespace
{

/// The module object, made by the first import and never destroyed.
ZelCameraApiPy* module = nullptr;

/// False, with ImportError set, when this interpreter cannot run the module. Uses nothing whose
/// shape differs between versions of Python.
bool isRightInterpreter()
{
    int major = 0;
    int minor = 0;
    if (std::sscanf(Py_GetVersion(), "%d.%d", &major, &minor) != 2 || major != PY_MAJOR_VERSION ||
        minor != PY_MINOR_VERSION) {
        PyErr_Format(PyExc_ImportError,
                     "libZelCameraApiPy was built for Python %d.%d and cannot run in Python %d.%d",
                     PY_MAJOR_VERSION, PY_MINOR_VERSION, major, minor);
        return false;
    }
    return true;
}

/// False, with ImportError set, where the one module object cannot serve.
bool isMainInterpreter()
{
    if (PyThreadState_Get()->interp != PyInterpreterState_Main() || binding::interpreterGone()) {
        PyErr_SetString(PyExc_ImportError,
                        "libZelCameraApiPy can be imported by the main interpreter only");
        return false;
    }
    return true;
}

} // namespace

extern "C" ZEL_API PyObject* PyInit_libZelCameraApiPy()
{
    if (!isRightInterpreter() || !isMainInterpreter()) {
        return nullptr;
    }
    try {
        return Py::new_reference_to(binding::guarded([] {
            if (module == nullptr) {
                module = new ZelCameraApiPy;
                binding::watchInterpreterExit();
            }
            return Py::Object(module->module().ptr());
        }));
    } catch (const Py::BaseException&) {
        return nullptr;
    }
}

extern "C" ZEL_API PyObject* PyInit_libZelCameraApiPy_d() { return PyInit_libZelCameraApiPy(); }
