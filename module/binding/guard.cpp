#include "module/binding/guard.h"

#include <cxxabi.h>

#include <exception>
#include <new>

namespace binding
{

void rethrowAsPython()
{
    try {
        throw;
    } catch (const Py::BaseException&) {
        throw;
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    } catch (...) {
        PyErr_SetString(PyExc_RuntimeError, "unknown C++ exception");
    }
    throw Py::Exception();
}

} // namespace binding
