// The object layer over the Python C API; first include of every file that touches Python.
#pragma once

#include <CXX/Extensions.hxx>
#include <CXX/Objects.hxx>

#include "module/binding/weak_symbols.h"
