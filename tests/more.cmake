# Linux: the port's tests and the test helpers start real veltrano-virtual processes.
if(NOT WIN32)
  add_dependencies(unit_tests veltrano-virtual)
  target_compile_definitions(veltrano_test_support PRIVATE
    VELTRANO_VIRTUAL_PROGRAM="$<TARGET_FILE:veltrano-virtual>")
endif()
if(NOT WIN32)
  target_link_libraries(veltrano_test_support PUBLIC veltrano_virtual_host)
endif()
