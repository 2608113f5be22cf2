# veltrano_embed(TARGET name NAMESPACE ns FILES file...)
# Compiles each file into a byte array of a generated source, named after the
# file (dots and dashes become underscores), plus a table of all of them.
set(VELTRANO_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/embed_files.cmake)

function(veltrano_embed)
  cmake_parse_arguments(E "" "TARGET;NAMESPACE" "FILES" ${ARGN})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${E_TARGET}.cpp)
  string(REPLACE ";" "|" files "${E_FILES}")
  add_custom_command(OUTPUT ${out}
    COMMAND ${CMAKE_COMMAND} -DOUT=${out} -DNAMESPACE=${E_NAMESPACE} "-DFILES=${files}"
            -P ${VELTRANO_EMBED_SCRIPT}
    DEPENDS ${E_FILES} ${VELTRANO_EMBED_SCRIPT}
    COMMENT "Embedding ${E_TARGET}"
    VERBATIM)
  add_library(${E_TARGET} OBJECT ${out})
  target_include_directories(${E_TARGET} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()
