# Precompiled headers, one for each set of libraries and not one a target: each is 130 to 410 MB large and takes
# 10 to 25 seconds, so that eighteen of them filled the disk of a build machine.

# mtpb_precompiled(NAME HEADERS ... LINKS ...)
# A target that only holds the compiled header; others take it with target_precompile_headers(... REUSE_FROM NAME).
function(mtpb_precompiled name)
  cmake_parse_arguments(ARG "" "" "HEADERS;LINKS" ${ARGN})
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} Threads::Threads)
  if(ARG_LINKS MATCHES "Qt6::")
    target_compile_definitions(${name} PRIVATE QT_NO_KEYWORDS)
  endif()
  target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
endfunction()

mtpb_precompiled(
  pch_core
  HEADERS <QtCore> <functional> <memory> <vector>
  LINKS Qt6::Core)
mtpb_precompiled(
  pch_widgets
  HEADERS <QtWidgets> <functional> <memory> <vector>
  LINKS Qt6::Widgets)
