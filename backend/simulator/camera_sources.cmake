# The camera side of the simulator: features, registers, pictures, timing.
target_sources(zel_backend_simulator PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/feature.cpp
    ${CMAKE_CURRENT_LIST_DIR}/feature_table.cpp
    ${CMAKE_CURRENT_LIST_DIR}/feature_xml.cpp)
