# JUCE is compiled once per build tree into one static library that the program,
# the tests and the tools all link.
find_package(JUCE CONFIG REQUIRED)

add_library(veltrano_juce STATIC)
target_link_libraries(veltrano_juce
  PRIVATE
    juce::juce_core juce::juce_events juce::juce_data_structures
    juce::juce_graphics juce::juce_gui_basics
  PUBLIC
    juce::juce_recommended_config_flags)
# Under mingw JUCE's graphics module announces with #warning that it draws text without
# DirectWrite; known and accepted, it would be the one warning of a clean Windows build.
if(MINGW)
  set_source_files_properties(${JUCE_MODULES_DIR}/juce_graphics/juce_graphics.cpp
    PROPERTIES COMPILE_OPTIONS -Wno-cpp)
endif()
# Debian's JUCE decodes images with the system libpng and libjpeg but does not link them.
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
target_link_libraries(veltrano_juce PUBLIC PNG::PNG JPEG::JPEG)
target_compile_definitions(veltrano_juce PUBLIC
  JUCE_GLOBAL_MODULE_SETTINGS_INCLUDED=1
  JUCE_STANDALONE_APPLICATION=1
  JUCE_MODAL_LOOPS_PERMITTED=1
  JUCE_CATCH_UNHANDLED_EXCEPTIONS=1
  JUCE_WEB_BROWSER=0
  JUCE_USE_CURL=0
  JUCE_DISPLAY_SPLASH_SCREEN=0
  JUCE_REPORT_APP_USAGE=0
  "JUCE_APPLICATION_NAME_STRING=\"${VELTRANO_NAME}\""
  "JUCE_APPLICATION_VERSION_STRING=\"${VELTRANO_VERSION}\"")
# Consumers see the module headers and the same settings, but not the module sources.
target_include_directories(veltrano_juce SYSTEM INTERFACE
  $<TARGET_PROPERTY:veltrano_juce,INCLUDE_DIRECTORIES>)
target_compile_definitions(veltrano_juce INTERFACE
  $<TARGET_PROPERTY:veltrano_juce,COMPILE_DEFINITIONS>)
