# The interpreter named by ZEL_PYTHON and the object layer over its C API, compiled once.
#   zel_python_headers  its headers, as system headers
#   zel_pycxx           the object layer

execute_process(
    COMMAND ${ZEL_PYTHON} -c "import sysconfig as s
print(s.get_path('include'), s.get_path('platinclude'), s.get_config_var('py_version_short'),
      s.get_config_var('Py_GIL_DISABLED') or 0, sep='\\n')"
    OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "The Python interpreter ${ZEL_PYTHON} cannot be run (ZEL_PYTHON)")
endif()
string(REPLACE "\n" ";" answer "${answer}")
list(GET answer 0 python_include)
list(GET answer 1 python_platform_include)
list(GET answer 2 python_version)
list(GET answer 3 python_without_lock)
if(NOT EXISTS ${python_include}/Python.h)
    message(FATAL_ERROR "Python ${python_version} has no ${python_include}/Python.h; "
        "install its development package (python3-dev)")
endif()
if(python_without_lock)
    message(FATAL_ERROR "Python ${python_version} without the interpreter lock is not supported")
endif()
message(STATUS "Python module for Python ${python_version} (${python_include})")

file(GLOB pycxx_packaged /usr/share/python3*/CXX)
find_path(ZEL_PYCXX_SOURCES IndirectPythonInterface.cxx
    PATHS /usr/src/CXX ${pycxx_packaged} NO_DEFAULT_PATH)
find_path(ZEL_PYCXX_INCLUDE CXX/Objects.hxx)
if(NOT ZEL_PYCXX_SOURCES OR NOT ZEL_PYCXX_INCLUDE)
    message(FATAL_ERROR "PyCXX not found; install the package python3-cxx-dev")
endif()

add_library(zel_python_headers INTERFACE)
target_include_directories(zel_python_headers SYSTEM INTERFACE
    ${python_include} ${python_platform_include} ${ZEL_PYCXX_INCLUDE})

add_library(zel_pycxx STATIC
    ${ZEL_PYCXX_SOURCES}/IndirectPythonInterface.cxx
    ${ZEL_PYCXX_SOURCES}/Python3/cxx_exceptions.cxx
    ${ZEL_PYCXX_SOURCES}/Python3/cxx_extensions.cxx
    ${ZEL_PYCXX_SOURCES}/Python3/cxxsupport.cxx
    ${ZEL_PYCXX_SOURCES}/Python3/cxxextensions.c)
target_link_libraries(zel_pycxx PUBLIC zel_python_headers PRIVATE zel_options)
target_compile_options(zel_pycxx PRIVATE -w -ffunction-sections
    -include ${CMAKE_CURRENT_LIST_DIR}/../module/binding/weak_symbols.h)
# An object whose constructor throws is destroyed with one reference; that is all the check finds.
target_compile_definitions(zel_pycxx PRIVATE NDEBUG)
if(python_version VERSION_GREATER_EQUAL 3.12)
    # Gone from the headers; the name of the package is not needed here.
    target_compile_definitions(zel_pycxx PRIVATE _Py_PackageContext=nullptr)
endif()
