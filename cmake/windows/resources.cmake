# What programs for Windows carry beside their code (packaging/windows/program.rc.in).
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_program(ICOTOOL icotool REQUIRED)

# zelkor_ico(VARIABLE SOURCE SMALL): an icon file in all sizes, from an SVG file and the one drawn for small places; its
# path goes into VARIABLE.
function(zelkor_ico variable source small)
  set(folder ${PROJECT_BINARY_DIR}/icons/${source})
  set(ico ${PROJECT_BINARY_DIR}/icons/${source}.ico)
  set(pictures "")
  foreach(size 16 20 24 32 40 48 64 128 256)
    set(drawing ${PROJECT_SOURCE_DIR}/icons/${source}.svg)
    if(size LESS_EQUAL 24)
      set(drawing ${PROJECT_SOURCE_DIR}/icons/${small}.svg)
    endif()
    set(picture ${folder}/${size}.png)
    add_custom_command(OUTPUT ${picture}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND ${RSVG_CONVERT} --width ${size} --height ${size} --output ${picture} ${drawing}
      DEPENDS ${drawing} VERBATIM)
    list(APPEND pictures ${picture})
  endforeach()
  # The largest as it is: uncompressed it alone would take 256 kB.
  list(GET pictures -1 largest)
  list(SUBLIST pictures 0 8 smaller)
  add_custom_command(OUTPUT ${ico}
    COMMAND ${ICOTOOL} --create --output=${ico} ${smaller} --raw=${largest}
    DEPENDS ${pictures} VERBATIM)
  set(${variable} ${ico} PARENT_SCOPE)
endfunction()

zelkor_ico(zelkor_program_ico Zelkor ZelkorSmall)
zelkor_ico(zelkor_sync_file_ico SyncFile SyncFileSmall)
add_custom_target(zelkor_ico_files DEPENDS ${zelkor_program_ico} ${zelkor_sync_file_ico})

# zelkor_resources(TARGET NAME VERSION DESCRIPTION [ICON…]): gives a program its name NAME.exe, its version and its icons;
# the first stands for the program. The toolkit's resources come with it when the target is one with windows.
function(zelkor_resources target name version description)
  string(REGEX MATCH "^([0-9]+)[.]0*([0-9]+)" version "${version}")
  set(major ${CMAKE_MATCH_1})
  set(minor ${CMAKE_MATCH_2})
  set(icons "")
  set(number 1)
  foreach(icon IN LISTS ARGN)
    string(APPEND icons "PROGRAM${number} ICON \"${icon}\"\n")
    math(EXPR number "${number} + 1")
  endforeach()
  set(folder ${CMAKE_CURRENT_BINARY_DIR})
  set(manifest ${folder}/${name}.manifest)
  set(toolkit "")
  get_target_property(windowed ${target} WIN32_EXECUTABLE)
  if(windowed)
    # Its cursors and pictures; the manifest is ours.
    set(toolkit "#define wxUSE_NO_MANIFEST 1\n#include <wx/msw/wx.rc>")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.manifest.in ${manifest} @ONLY)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.rc.in ${folder}/${name}.rc @ONLY)
  target_sources(${target} PRIVATE ${folder}/${name}.rc)
  set_source_files_properties(${folder}/${name}.rc PROPERTIES OBJECT_DEPENDS "${manifest};${ARGN}")
  add_dependencies(${target} zelkor_ico_files)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name})
endfunction()
