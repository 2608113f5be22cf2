# The in-process hot-plug harness: the real container and Win32 driver against virtual
# interfaces of the virtual bus driver. Run by scripts/test.d/75-windows-hotplug, not by ctest:
# it needs a wine prefix with the bus driver installed.
add_executable(windows_hotplug_test ${CMAKE_CURRENT_LIST_DIR}/windows-hotplug-test.cpp)
target_link_libraries(windows_hotplug_test PRIVATE veltrano_test_support)
add_dependencies(windows_hotplug_test veltrano_virtual veltrano_bus)
