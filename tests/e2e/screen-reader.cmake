# Linux: a screen reader's side of the accessibility bus (libatspi), run against the real panel
# by scripts/test.d/27-linux-screen-reader.
find_package(PkgConfig REQUIRED)
pkg_check_modules(ATSPI_CLIENT REQUIRED IMPORTED_TARGET atspi-2 gobject-2.0)
add_executable(screen_reader_client ${CMAKE_CURRENT_LIST_DIR}/screen_reader_client.cpp)
target_link_libraries(screen_reader_client PRIVATE PkgConfig::ATSPI_CLIENT)

# The unit tests of the bridge's parts (tests/posix/atspi_test.cpp).
target_link_libraries(unit_tests PRIVATE veltrano_atspi veltrano_atspi_loader)
