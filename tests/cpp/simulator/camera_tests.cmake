# Tests of the camera side of the simulator.
find_package(PkgConfig REQUIRED)
pkg_check_modules(CAMERA_TEST_ARAVIS REQUIRED IMPORTED_TARGET aravis-0.8)
pkg_check_modules(CAMERA_TEST_XML REQUIRED IMPORTED_TARGET libxml-2.0)

add_library(zel_test_camera STATIC ${CMAKE_CURRENT_LIST_DIR}/test_camera.cpp)
target_link_libraries(zel_test_camera PUBLIC zel_backend_simulator PRIVATE zel_warnings)
foreach(topic pixels registers acquisition config signals functions)
    zel_add_test(camera_${topic}_test
        SOURCES ${CMAKE_CURRENT_LIST_DIR}/camera_${topic}_test.cpp LINK zel_test_camera)
endforeach()
zel_add_test(camera_description_test
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/camera_description_test.cpp
    LINK zel_test_camera PkgConfig::CAMERA_TEST_ARAVIS PkgConfig::CAMERA_TEST_XML)
