# zelkor_module(NAME SOURCES … USES …): a static library `zelkor_NAME` of one room.
function(zelkor_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(zelkor_${name} STATIC ${arg_SOURCES})
  target_link_libraries(zelkor_${name} PUBLIC zelkor_options ${arg_USES})
  target_precompile_headers(zelkor_${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled.h)
endfunction()

# zelkor_tests(NAME SOURCES … USES …): a test program `NAME`, each of its tests known to ctest. A test source of the
# folder that is not listed is an error, so that none is forgotten.
function(zelkor_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  file(GLOB_RECURSE present CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *_test.cpp)
  foreach(source IN LISTS present)
    if(NOT source IN_LIST arg_SOURCES)
      message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}/${source} is in no list of tests")
    endif()
  endforeach()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_USES} GTest::gmock GTest::gtest_main)
  target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_test.h)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
