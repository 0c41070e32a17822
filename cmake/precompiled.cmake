# Headers that nearly every source uses, compiled once for all targets that are compiled alike: a target each, whose
# compiled header others take (target_precompile_headers(… REUSE_FROM …)). The compiler only takes one that was compiled
# with the same options, so these targets link what brings them.

# zelkor_precompiled(KIND LIBRARY…): the target `zelkor_KIND` for the header KIND.h of this folder.
function(zelkor_precompiled kind)
  add_library(zelkor_${kind} OBJECT ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
  target_link_libraries(zelkor_${kind} PRIVATE zelkor_options ${ARGN})
  target_precompile_headers(zelkor_${kind} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/${kind}.h)
endfunction()

# zelkor_compile_as_test(TARGET): the time goes into what is tested; more optimising of the tests themselves only takes
# longer to compile, and with what the sanitizers put in, any.
function(zelkor_compile_as_test target)
  set_target_properties(${target} PROPERTIES ZELKOR_TEST ON)
  if(NOT ZELKOR_SANITIZE)
    target_compile_options(${target} PRIVATE -O1)
  endif()
endfunction()

zelkor_precompiled(precompiled)
zelkor_precompiled(precompiled_forms zelkor_wx)
if(BUILD_TESTING)
  zelkor_precompiled(precompiled_test GTest::gmock)
  zelkor_compile_as_test(zelkor_precompiled_test)
  zelkor_precompiled(precompiled_gui_test zelkor_wx GTest::gmock)
  zelkor_compile_as_test(zelkor_precompiled_gui_test)
endif()
