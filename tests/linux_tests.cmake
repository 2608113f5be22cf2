# Linux only. The port's tests and the test helpers start real veltrano-virtual processes.
add_dependencies(unit_tests veltrano-virtual)
target_compile_definitions(veltrano_test_support PRIVATE
  VELTRANO_VIRTUAL_PROGRAM="$<TARGET_FILE:veltrano-virtual>")
target_link_libraries(veltrano_test_support PUBLIC veltrano_virtual_host)

# The USB path: the real libusb and libudev against interfaces that umockdev emulates,
# answered by the device model. They run under umockdev's preload, in a binary of their
# own (label usb).
find_package(PkgConfig REQUIRED)
pkg_check_modules(UMOCKDEV REQUIRED IMPORTED_TARGET umockdev-1.0)
find_program(UMOCKDEV_WRAPPER umockdev-wrapper REQUIRED)
add_library(emulated_usb STATIC ${CMAKE_CURRENT_SOURCE_DIR}/usb/emulated_usb.cpp)
target_include_directories(emulated_usb PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(emulated_usb PUBLIC PkgConfig::UMOCKDEV veltrano_model)

file(GLOB usb_test_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/usb/*_test.cpp)
add_executable(usb_tests ${usb_test_sources})
target_link_libraries(usb_tests PRIVATE veltrano_test_support emulated_usb)
add_test(NAME usb_tests COMMAND ${UMOCKDEV_WRAPPER} $<TARGET_FILE:usb_tests>)
set_tests_properties(usb_tests PROPERTIES LABELS usb)

# The end-to-end tests' interface on USB: runs the real panel as its child.
add_executable(usb-harness ${CMAKE_CURRENT_SOURCE_DIR}/usb/usb_harness.cpp)
target_link_libraries(usb-harness PRIVATE emulated_usb)
