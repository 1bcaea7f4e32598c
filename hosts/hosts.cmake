# The hosts: what they share as an object library, and the command line.

# What all hosts know of the filters; the dialogs are made from it, too.
add_library(vexa_catalogue OBJECT
  hosts/catalogue/catalogue.cpp
  hosts/catalogue/chart.cpp
  hosts/catalogue/conversion.cpp
  hosts/catalogue/convolution.cpp
  hosts/catalogue/depth.cpp
  hosts/catalogue/effects.cpp
  hosts/catalogue/frequency.cpp
  hosts/catalogue/histogram.cpp
  hosts/catalogue/mask.cpp
  hosts/catalogue/mean.cpp
  hosts/catalogue/point.cpp
  hosts/catalogue/morphology.cpp
  hosts/catalogue/rank.cpp
  hosts/catalogue/redeye.cpp
  hosts/catalogue/tonal.cpp
  hosts/imagefile/convert.cpp
  hosts/imagefile/dib.cpp
  hosts/catalogue/$<IF:$<BOOL:${WIN32}>,win32,posix>/seed.cpp)
target_link_libraries(vexa_catalogue PRIVATE vexa_flags)

set(VEXA_HOST_SOURCES
  hosts/cli/batch.cpp
  hosts/cli/counts.cpp
  hosts/cli/help.cpp
  hosts/cli/options.cpp
  hosts/cli/progress.cpp
  hosts/cli/run.cpp
  hosts/cli/text.cpp
  hosts/imagefile/bmp_read.cpp
  hosts/imagefile/bmp_runs.cpp
  hosts/imagefile/bmp_write.cpp
  hosts/imagefile/extras.cpp
  hosts/imagefile/imagefile.cpp
  hosts/imagefile/jpeg_coding.cpp
  hosts/imagefile/metadata.cpp)
if(WIN32)
  list(APPEND VEXA_HOST_SOURCES
    hosts/cli/win32/system.cpp
    hosts/imagefile/win32/codec_wic.cpp
    hosts/imagefile/win32/filesystem.cpp)
  set(VEXA_HOST_MAIN hosts/cli/win32/main.cpp)
  set(VEXA_HOST_LIBRARIES ole32 oleaut32 uuid windowscodecs gdi32 user32 shell32)
else()
  find_package(PNG REQUIRED)
  find_package(ZLIB REQUIRED)
  find_package(JPEG REQUIRED)
  list(APPEND VEXA_HOST_SOURCES
    hosts/cli/posix/system.cpp
    hosts/imagefile/posix/codec_jpeg.cpp
    hosts/imagefile/posix/codec_png.cpp
    hosts/imagefile/posix/filesystem.cpp)
  set(VEXA_HOST_MAIN hosts/cli/posix/main.cpp)
  set(VEXA_HOST_LIBRARIES PNG::PNG ZLIB::ZLIB JPEG::JPEG)
endif()

add_library(vexa_hosts OBJECT ${VEXA_HOST_SOURCES})
target_link_libraries(vexa_hosts
  PRIVATE vexa_flags
  PUBLIC ${VEXA_HOST_LIBRARIES})

add_executable(vexafilter ${VEXA_HOST_MAIN})
target_link_libraries(vexafilter PRIVATE vexa_flags vexa_hosts vexa_catalogue vexafilter_import)

# Makes the pictures of the documentation anew.
add_executable(docs_pictures EXCLUDE_FROM_ALL docs/pictures/make_pictures.cpp)
target_link_libraries(docs_pictures PRIVATE vexa_flags vexa_hosts vexa_catalogue vexafilter_import)

# The example of a Windows host.
if(WIN32)
  add_executable(vexaview WIN32
    hosts/viewer/canvas.cpp
    hosts/viewer/document.cpp
    hosts/viewer/filter.cpp
    hosts/viewer/histogram.cpp
    hosts/viewer/main.cpp
    hosts/viewer/menus.cpp
    hosts/viewer/VexaView.rc)
  set_source_files_properties(hosts/viewer/VexaView.rc PROPERTIES
    OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/hosts/viewer/VexaView.manifest)
  target_link_libraries(vexaview PRIVATE
    vexa_flags vexa_hosts vexa_catalogue vexafilter_import comctl32 comdlg32)
  set_target_properties(vexaview PROPERTIES OUTPUT_NAME VexaView)
  add_dependencies(vexaview vexadlgs)
endif()
