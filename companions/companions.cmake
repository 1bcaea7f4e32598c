# The companion libraries, loaded at run time by their plain names. They lie beside the library.

add_library(vexaimage SHARED companions/colour/colour.cpp)
target_link_libraries(vexaimage PRIVATE vexa_flags)
target_include_directories(vexaimage PUBLIC companions/colour)
set_target_properties(vexaimage PROPERTIES OUTPUT_NAME VexaImage)
if(WIN32)
  target_sources(vexaimage PRIVATE companions/colour/VexaImage.def companions/colour/VexaImage.rc)
  set_target_properties(vexaimage PROPERTIES PREFIX ""
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/linker)
  target_link_options(vexaimage PRIVATE
    -Wl,--enable-stdcall-fixup -Wl,--nxcompat -Wl,--dynamicbase -Wl,--no-seh)
else()
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/vexaimage.map
    CONTENT "{ global: RGBtoHSI; HSItoRGB; local: *; };\n" @ONLY)
  target_link_options(vexaimage PRIVATE
    -Wl,--version-script=${CMAKE_BINARY_DIR}/vexaimage.map -Wl,--no-undefined)
endif()

# The parameter dialogs, which only Windows can show. They ask the library for their previews.
if(WIN32)
  add_library(vexadlgs SHARED
    companions/dialogs/bindings.cpp
    companions/dialogs/dialog.cpp
    companions/dialogs/entries.cpp
    companions/dialogs/fields.cpp
    companions/dialogs/grid.cpp
    companions/dialogs/preview.cpp
    companions/dialogs/VexaDlgs.def
    companions/dialogs/VexaDlgs.rc)
  set_source_files_properties(companions/dialogs/VexaDlgs.rc PROPERTIES
    OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/companions/dialogs/VexaDlgs.manifest)
  target_link_libraries(vexadlgs PRIVATE vexa_flags vexa_catalogue vexafilter_import comctl32 gdi32)
  set_target_properties(vexadlgs PROPERTIES PREFIX "" OUTPUT_NAME VexaDlgs
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/linker)
  target_link_options(vexadlgs PRIVATE
    -Wl,--enable-stdcall-fixup -Wl,--nxcompat -Wl,--dynamicbase -Wl,--no-seh)
endif()

# Whoever builds the library gets what it loads.
add_dependencies(vexafilter_library vexaimage)
