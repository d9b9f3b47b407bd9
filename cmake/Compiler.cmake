# Warnings, sanitizers and the compiler cache, the same for every target of the project.
find_program(MTPB_CCACHE ccache)
if(MTPB_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Precompiled headers are rewritten with every build folder: ccache must not look at their times and macros.
  set(CMAKE_C_COMPILER_LAUNCHER ${MTPB_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
                                  CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
                                  ${MTPB_CCACHE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
  endif()
endif()

add_compile_options(-Wall -Wextra -Werror)
# clang-format off
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  add_compile_options(-Wthread-safety)
endif()
# clang-format on
if(CMAKE_BUILD_TYPE STREQUAL "Release" OR CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  add_compile_definitions(_FORTIFY_SOURCE=2)
endif()
if(MTPB_SANITIZE)
  add_compile_options(-fsanitize=${MTPB_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${MTPB_SANITIZE})
  add_compile_definitions(MTPB_SANITIZED=1)
endif()
add_compile_definitions(_FILE_OFFSET_BITS=64)
