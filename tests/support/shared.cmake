# What tests share on every system: the means of theirs that know it, sync files by hand, a bad line between two programs,
# FTP servers.
function(zelkor_test_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  list(TRANSFORM arg_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/tests/)
  add_library(${name} STATIC ${arg_SOURCES})
  target_link_libraries(${name} PUBLIC zelkor_options ${arg_USES})
  target_precompile_headers(${name} REUSE_FROM zelkor_precompiled)
endfunction()

zelkor_test_library(zelkor_test_system
  SOURCES
    support/${ZELKOR_SYSTEM}/full_disk.cpp
    support/${ZELKOR_SYSTEM}/system.cpp
    support/system_waiting.cpp)

zelkor_test_library(zelkor_test_expression SOURCES support/expression.cpp)
# Under the sanitizers gcc 12 suspects the standard library's expressions of reading what nobody wrote.
target_compile_options(zelkor_test_expression PRIVATE -Wno-maybe-uninitialized)

zelkor_test_library(zelkor_test_sync_bytes SOURCES support/sync_bytes.cpp)

zelkor_test_library(zelkor_test_sockets SOURCES support/${ZELKOR_SYSTEM}/sockets.cpp USES zelkor_lib)
zelkor_test_library(zelkor_test_relay SOURCES support/relay.cpp USES zelkor_test_sockets)

# One that misbehaves as told, and real ones, which are there for Linux.
zelkor_test_library(zelkor_test_ftp SOURCES ftp/scripted_server.cpp USES zelkor_test_sockets)
if(WIN32)
  # A program that tests put in the place of others.
  add_executable(zelkor_telling_program ${PROJECT_SOURCE_DIR}/tests/support/windows/telling_program.cpp)
  target_link_libraries(zelkor_telling_program PRIVATE zelkor_options)
  set_target_properties(zelkor_telling_program PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  add_dependencies(zelkor_test_system zelkor_telling_program)
else()
  target_sources(zelkor_test_ftp PRIVATE ${PROJECT_SOURCE_DIR}/tests/ftp/real_server.cpp)
  target_link_libraries(zelkor_test_ftp PUBLIC zelkor_test_process)
  target_compile_definitions(zelkor_test_ftp PRIVATE ZELKOR_FTP_SERVERS="${PROJECT_SOURCE_DIR}/build/ftp-servers")
endif()
