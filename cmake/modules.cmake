# zelkor_module(NAME SOURCES … USES …): a static library `zelkor_NAME` of one room.
function(zelkor_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(zelkor_${name} STATIC ${arg_SOURCES})
  target_link_libraries(zelkor_${name} PUBLIC zelkor_options ${arg_USES})
  target_precompile_headers(zelkor_${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled.h)
endfunction()

# An error when a source of this folder that matches the pattern, and not the exception (a regular expression, may be
# empty), is not in the list, so that no test is forgotten.
function(zelkor_all_listed pattern exception sources)
  file(GLOB_RECURSE present CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${pattern})
  foreach(source IN LISTS present)
    if(exception AND source MATCHES "${exception}")
      continue()
    endif()
    if(NOT source IN_LIST sources)
      message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}/${source} is in no list of tests")
    endif()
  endforeach()
endfunction()

# zelkor_register_tests(NAME SECONDS): makes the tests of a test program known to ctest, each with that time-out. Under
# Wine a program takes long to start, so there it runs them all at once.
function(zelkor_register_tests name seconds)
  if(WIN32)
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/cmake/windows/wine.sh)
    string(REPLACE ";" ":" chosen "${ZELKOR_WINDOWS_${name}}")
    add_test(NAME ${name} COMMAND ${name} "--gtest_filter=${chosen}")
    set_tests_properties(${name} PROPERTIES TIMEOUT 1200)
    add_dependencies(windows_tests ${name})
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${seconds})
  endif()
endfunction()

# zelkor_tests(NAME SOURCES … USES …): a test program `NAME`, each of its tests known to ctest.
function(zelkor_tests name)
  if(NOT BUILD_TESTING)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  set(not_here "_gui_test[.]cpp$|^windows/")
  if(WIN32)
    set(not_here "_gui_test[.]cpp$|^posix/")
    list(FILTER arg_SOURCES EXCLUDE REGEX "^posix/")
  endif()
  zelkor_all_listed("*_test.cpp" "${not_here}" "${arg_SOURCES}")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_USES} zelkor_test_system GTest::gmock GTest::gtest_main)
  # The time goes into what is tested; more than this only takes longer to compile.
  target_compile_options(${name} PRIVATE -O1)
  target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_test.h)
  zelkor_register_tests(${name} 300)
endfunction()

# The widget toolkit, whose headers' warnings are not ours.
find_package(wxWidgets 3.2 REQUIRED COMPONENTS core base)
add_library(zelkor_wx INTERFACE)
target_include_directories(zelkor_wx SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
target_compile_definitions(zelkor_wx INTERFACE ${wxWidgets_DEFINITIONS})
target_compile_options(zelkor_wx INTERFACE ${wxWidgets_CXX_FLAGS})
target_link_libraries(zelkor_wx INTERFACE ${wxWidgets_LIBRARIES})

# zelkor_forms(NAME SOURCES … USES …): a static library `zelkor_NAME` of windows.
function(zelkor_forms name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(zelkor_${name} STATIC ${arg_SOURCES})
  target_link_libraries(zelkor_${name} PUBLIC zelkor_options ${arg_USES} zelkor_wx)
  target_precompile_headers(zelkor_${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_forms.h)
endfunction()

# zelkor_gui_tests(NAME SOURCES … USES …): a test program of windows; each of its tests runs in a display of its own.
# Its sources are called *_gui_test.cpp, and each of the folder must be listed.
function(zelkor_gui_tests name)
  if(NOT BUILD_TESTING)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  zelkor_all_listed("*_gui_test.cpp" "" "${arg_SOURCES}")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_USES} zelkor_gui_test_support zelkor_test_system GTest::gmock)
  target_compile_options(${name} PRIVATE -O1)
  target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_gui_test.h)
  if(NOT WIN32)
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/tests/gui/in_display.sh)
  endif()
  zelkor_register_tests(${name} 120)
endfunction()
