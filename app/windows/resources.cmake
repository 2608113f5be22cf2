# Windows only: the program is KeltoVeltrano.exe and carries a version resource
# and an icon rendered at build time from icon.svg.
# Included from app/CMakeLists.txt so that the generated files belong to the
# program's own directory.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_program(IMAGEMAGICK_CONVERT convert REQUIRED)

set(VELTRANO_EXE_NAME KeltoVeltrano)
set_target_properties(kelto-veltrano PROPERTIES OUTPUT_NAME ${VELTRANO_EXE_NAME})

# "1.0.0f48" is file version 1.0.0.48: the build number follows the letter.
if(NOT VELTRANO_VERSION MATCHES "^([0-9]+)\\.([0-9]+)\\.([0-9]+)[a-z]([0-9]+)$")
  message(FATAL_ERROR "Cannot make a Windows file version of ${VELTRANO_VERSION}")
endif()
set(VELTRANO_VERSION_COMMAS "${CMAKE_MATCH_1},${CMAKE_MATCH_2},${CMAKE_MATCH_3},${CMAKE_MATCH_4}")

set(icon_svg ${CMAKE_CURRENT_SOURCE_DIR}/windows/icon.svg)
set(VELTRANO_ICON ${CMAKE_CURRENT_BINARY_DIR}/windows/${VELTRANO_EXE_NAME}.ico)
set(icon_pngs)
set(icon_commands)
foreach(size 16 24 32 48 64 256)
  set(png ${CMAKE_CURRENT_BINARY_DIR}/windows/icon-${size}.png)
  list(APPEND icon_pngs ${png})
  list(APPEND icon_commands COMMAND ${RSVG_CONVERT} --width=${size} --height=${size}
                                    --format=png --output=${png} ${icon_svg})
endforeach()
add_custom_command(OUTPUT ${VELTRANO_ICON}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/windows
  ${icon_commands}
  COMMAND ${IMAGEMAGICK_CONVERT} ${icon_pngs} ${VELTRANO_ICON}
  DEPENDS ${icon_svg}
  COMMENT "Rendering the program icon"
  VERBATIM)

set(version_rc ${CMAKE_CURRENT_BINARY_DIR}/windows/version.rc)
configure_file(${CMAKE_CURRENT_SOURCE_DIR}/windows/version.rc.in ${version_rc} @ONLY)
# windres does not report the icon as a dependency.
set_source_files_properties(${version_rc} PROPERTIES OBJECT_DEPENDS ${VELTRANO_ICON})
target_sources(kelto-veltrano PRIVATE ${version_rc} ${VELTRANO_ICON})
