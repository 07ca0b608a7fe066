// Names that some versions of the interpreter lack.
//
// A module for another version than the running one is to say so itself. It can only if it loads,
// and it loads only if what is missing is weak. Included first in every file that touches Python.
#pragma once

#pragma weak _Py_PackageContext
#pragma weak PyCMethod_New
#pragma weak PyInterpreterState_Main
#pragma weak PyObject_CheckBuffer
