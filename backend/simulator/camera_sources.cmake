# The camera side of the simulator: features, registers, pictures, timing.
find_package(PNG REQUIRED)
find_package(ZLIB REQUIRED)
foreach(source
        acquisition_section action_section analog_section auto_section camera_config camera_config_json
        camera_memory camera_model latched_frames
        bootstrap_registers description_archive network_channels network_control network_faults
        network_section register_features
        chunk_section color_writer counter_section device_memory device_section event_section
        fault_section file_section image_section line_section lut_section picture_renderer
        pixel_format pixel_packer ptp_section scene scene_files sequencer_section signal_source transport_section
        trigger_section user_set_section wake_thread)
    target_sources(zel_backend_simulator PRIVATE ${CMAKE_CURRENT_LIST_DIR}/${source}.cpp)
endforeach()
target_link_libraries(zel_backend_simulator PRIVATE zel_gige_wire PNG::PNG ZLIB::ZLIB)
# Pictures are calculated pixel by pixel.
set_source_files_properties(
    ${CMAKE_CURRENT_LIST_DIR}/picture_renderer.cpp ${CMAKE_CURRENT_LIST_DIR}/pixel_packer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/color_writer.cpp PROPERTIES COMPILE_OPTIONS "-O3")
