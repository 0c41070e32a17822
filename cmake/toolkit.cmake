# The widget toolkit, whose headers' warnings are not ours.
find_package(wxWidgets 3.2 REQUIRED COMPONENTS core base)
add_library(zelkor_wx INTERFACE)
target_include_directories(zelkor_wx SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
target_compile_definitions(zelkor_wx INTERFACE ${wxWidgets_DEFINITIONS})
target_compile_options(zelkor_wx INTERFACE ${wxWidgets_CXX_FLAGS})
target_link_libraries(zelkor_wx INTERFACE ${wxWidgets_LIBRARIES})
