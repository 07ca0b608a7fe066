# Helpers that give every target of the project the same warnings, sanitizers and run path.

add_library(zel_warnings INTERFACE)
target_compile_options(zel_warnings INTERFACE
    -Wall -Wextra -Wshadow -Wconversion $<$<BOOL:${ZEL_WERROR}>:-Werror>)
# -Wconversion of gcc 12 warns inside CPython's macros; those headers are SYSTEM.

add_library(zel_options INTERFACE)
if(ZEL_SANITIZE)
    target_compile_options(zel_options INTERFACE
        -fsanitize=${ZEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(zel_options INTERFACE -fsanitize=${ZEL_SANITIZE})
endif()

# zel_add_library(<name> SOURCES ... [LINK ...]): a static building block of one directory.
function(zel_add_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC zel_sdk zel_options ${ARG_LINK} PRIVATE zel_warnings)
endfunction()

# zel_add_shared_library(<soname stem> SOURCES ... [LINK ...]): one of the libraries beside the
# module; soname = file name, found through $ORIGIN.
function(zel_add_shared_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} SHARED ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC zel_sdk PRIVATE zel_options zel_warnings ${ARG_LINK})
    zel_run_beside_module(${name})
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/zelcam)
endfunction()

# RUNPATH $ORIGIN, so that LD_LIBRARY_PATH can put another implementation in front.
function(zel_run_beside_module name)
    set_target_properties(${name} PROPERTIES
        BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
    target_link_options(${name} PRIVATE -Wl,--enable-new-dtags -Wl,--no-undefined-version)
    if(NOT ZEL_SANITIZE)
        target_link_options(${name} PRIVATE -Wl,-z,defs)
    endif()
endfunction()

# zel_add_test(<name> SOURCES ... [LINK ...]): a GoogleTest program registered with CTest.
function(zel_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} zel_sdk zel_options zel_warnings
        GTest::gtest GTest::gtest_main Threads::Threads)
    set_target_properties(${name} PROPERTIES BUILD_RPATH "${ZEL_PYTHON_DIR}")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300
        ENVIRONMENT "ZEL_PYTHON_DIR=${ZEL_PYTHON_DIR};G_DEBUG=")
endfunction()
