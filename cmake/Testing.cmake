include(GoogleTest)

mtpb_precompiled(
  pch_qttests
  HEADERS <QtWidgets> <QtTest> <gmock/gmock.h> <gtest/gtest.h>
  LINKS Qt6::Widgets Qt6::Test GTest::gmock GTest::gtest)
# Qt's test library defines two macros that differ from folder to folder; no test asks for them.
set(mtpb_same_for_all_tests -UQT_TESTCASE_BUILDDIR -UQT_TESTCASE_SOURCEDIR)
target_compile_options(pch_qttests PRIVATE ${mtpb_same_for_all_tests})
mtpb_precompiled(
  pch_tests
  HEADERS <gmock/gmock.h> <gtest/gtest.h> <functional> <string> <vector>
  LINKS GTest::gmock GTest::gtest)

# mtpb_test(NAME [QT] SOURCES ... LIBS ... [TIMEOUT s] [LABEL l])
# One test program a folder, its cases discovered by CTest. QT gives it a main() with an offscreen QApplication.
function(mtpb_test name)
  cmake_parse_arguments(ARG "QT" "TIMEOUT;WRAPPER;LABEL" "SOURCES;LIBS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  set(main GTest::gtest_main)
  if(ARG_QT)
    set(main GTest::gtest)
    list(APPEND ARG_SOURCES ${PROJECT_SOURCE_DIR}/tests/support/QtMain.cpp)
    list(APPEND ARG_LIBS Qt6::Widgets Qt6::Test)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock ${main})
  if(ARG_QT)
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_compile_options(${name} PRIVATE ${mtpb_same_for_all_tests})
    target_precompile_headers(${name} REUSE_FROM pch_qttests)
  else()
    target_compile_options(${name} PRIVATE -fPIC) # as the precompiled header's target has it
    target_precompile_headers(${name} REUSE_FROM pch_tests)
  endif()
  if(ARG_WRAPPER)
    if(MTPB_SANITIZE MATCHES "address") # the wrapper preloads a library, which then comes before the sanitizer's
      list(PREPEND ARG_WRAPPER env ASAN_OPTIONS=verify_asan_link_order=0)
    endif()
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${ARG_WRAPPER}")
  endif()
  if(NOT ARG_LABEL)
    set(ARG_LABEL quick) # never empty: CMake loses an empty property, and with it the order of the others
  endif()
  set(properties TIMEOUT ${ARG_TIMEOUT} LABELS ${ARG_LABEL} ENVIRONMENT QT_QPA_PLATFORM=offscreen)
  if(MTPB_SANITIZE MATCHES "thread") # a property of its own: CMake would take but the first of two variables
    list(APPEND properties ENVIRONMENT_MODIFICATION
         TSAN_OPTIONS=set:suppressions=${PROJECT_SOURCE_DIR}/tests/support/tsan.supp)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
