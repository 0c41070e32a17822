# Options that every target of Zelkor is compiled with.
add_library(zelkor_options INTERFACE)
target_include_directories(zelkor_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zelkor_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion
  # gcc's warnings are errors; what clang sees otherwise does not keep anybody from fuzzing.
  $<$<CXX_COMPILER_ID:GNU>:-Werror>
  # gcc 12 sees overflows in `"text" + std::string(...)` that are not there (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>
  $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds>
  # gcc 12 needs this to make a precompiled header that ccache can use.
  $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
if(ZELKOR_SANITIZE)
  target_compile_options(zelkor_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -g1
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:ZELKOR_TEST>>>:-O1>)
  target_link_options(zelkor_options INTERFACE -fsanitize=address,undefined)
endif()
if(ZELKOR_FUZZ)
  target_compile_options(zelkor_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
  target_link_options(zelkor_options INTERFACE -fsanitize=address,undefined)
endif()
