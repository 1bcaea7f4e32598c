# The product: VexaFilter.dll and its import libraries for MinGW and MSVC.

target_sources(vexafilter_library PRIVATE
  platform/win32/clock.cpp platform/win32/workmemory.cpp library/VexaFilter.rc library/VexaFilter.def)
set_target_properties(vexafilter_library PROPERTIES PREFIX "" OUTPUT_NAME VexaFilter)
set_source_files_properties(library/VexaFilter.rc PROPERTIES
  OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/library/VexaFilter.rc)
target_link_libraries(vexafilter_library PRIVATE comctl32)
# The objects carry decorated names, the export list plain ones. No structured exception handlers
# are registered, and the header says so.
target_link_options(vexafilter_library PRIVATE
  -Wl,--enable-stdcall-fixup -Wl,--nxcompat -Wl,--dynamicbase -Wl,--no-seh)

# The linker's own import library lacks the @N that callers' objects refer to.
set(VEXA_PART_OBJECTS ${VEXA_PARTS})
list(TRANSFORM VEXA_PART_OBJECTS REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")
find_program(VEXA_DLLTOOL i686-w64-mingw32-dlltool REQUIRED)
find_program(VEXA_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/libVexaFilter.a ${CMAKE_BINARY_DIR}/VexaFilter.lib
  COMMAND ${CMAKE_SOURCE_DIR}/scripts/import-libraries ${CMAKE_SOURCE_DIR}/library/VexaFilter.def
    ${CMAKE_BINARY_DIR} ${CMAKE_NM} ${VEXA_DLLTOOL} ${VEXA_LLVM_DLLTOOL}
    ${VEXA_PART_OBJECTS}
  DEPENDS library/VexaFilter.def scripts/import-libraries ${VEXA_PARTS} ${VEXA_PART_OBJECTS}
  COMMAND_EXPAND_LISTS VERBATIM)
add_custom_target(import_libraries ALL
  DEPENDS ${CMAKE_BINARY_DIR}/libVexaFilter.a ${CMAKE_BINARY_DIR}/VexaFilter.lib)

# Out of the way: beside ours it would be preferred, and it lacks the @N.
set_target_properties(vexafilter_library PROPERTIES
  ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/linker)

# What a host links.
add_library(vexafilter_import INTERFACE)
target_link_libraries(vexafilter_import INTERFACE ${CMAKE_BINARY_DIR}/libVexaFilter.a)
add_dependencies(vexafilter_import import_libraries vexafilter_library)
add_library(vexafilter_tested ALIAS vexafilter_import)
