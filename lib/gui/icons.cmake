# Writes icon_sources.h: the SVG files of `folder`, each under its name without the ending.
function(zelkor_icon_sources folder header)
  file(GLOB files CONFIGURE_DEPENDS ${folder}/*.svg)
  set(entries "")
  foreach(file IN LISTS files)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    get_filename_component(key ${file} NAME_WE)
    file(READ ${file} svg)
    string(APPEND entries "    {\"${key}\", R\"svg(${svg})svg\"},\n")
  endforeach()
  list(LENGTH files count)
  file(CONFIGURE OUTPUT ${header} @ONLY CONTENT
"// Made from the SVG files of icons/.
#pragma once

#include <array>
#include <string_view>

namespace zelkor::lib {

struct IconSource {
  std::string_view key;
  const char* svg;
};

inline constexpr std::array<IconSource, @count@> kIconSources{{
@entries@}};

}  // namespace zelkor::lib
")
endfunction()
