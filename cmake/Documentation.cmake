# The target docs: an HTML site of the public headers and the pages, docs/html/index.html of the
# build. Whatever is not documented and every link that leads nowhere is an error.

# The order of the pages in the site; those that are not named here come last.
set(docs_order
  README.md
  docs/getting-started.md
  docs/embedding.md
  docs/architecture.md
  docs/threading.md
  docs/configuration.md
  docs/service.md
  docs/diagnostics.md
  docs/oddities.md
  docs/macos.md
  docs/tested-systems.md
  docs/performance.md
  CHANGELOG.md
  CONTRIBUTING.md
)

find_program(LIBCORVANE_DOXYGEN doxygen)
find_program(LIBCORVANE_DOT dot)
mark_as_advanced(LIBCORVANE_DOXYGEN LIBCORVANE_DOT)
find_package(Python3 COMPONENTS Interpreter QUIET)
set(docs_missing)
if(NOT LIBCORVANE_DOXYGEN)
  list(APPEND docs_missing doxygen)
endif()
if(NOT LIBCORVANE_DOT)
  list(APPEND docs_missing "dot (graphviz)")
endif()
if(NOT Python3_Interpreter_FOUND)
  list(APPEND docs_missing python3)
endif()
if(docs_missing)
  list(JOIN docs_missing ", " docs_missing)
  message(STATUS "The documentation and its tests are left out; they need: ${docs_missing}")
  add_custom_target(docs COMMAND ${CMAKE_COMMAND} -E echo "The target docs needs: ${docs_missing}"
    COMMAND ${CMAKE_COMMAND} -E false VERBATIM)
  return()
endif()

set(docs_dir ${PROJECT_BINARY_DIR}/docs)

file(GLOB docs_pages RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md)
set(docs_ordered_pages)
foreach(page IN LISTS docs_order docs_pages)
  if(page IN_LIST docs_pages AND NOT page IN_LIST docs_ordered_pages)
    list(APPEND docs_ordered_pages ${page})
  endif()
endforeach()

set(docs_navigation)
foreach(page IN LISTS docs_ordered_pages)
  # Its first heading names a page, its file's name leads to it.
  file(STRINGS ${PROJECT_SOURCE_DIR}/${page} title REGEX "^# " LIMIT_COUNT 1 ENCODING UTF-8)
  string(REGEX REPLACE "^# " "" title "${title}")
  string(REPLACE "&" "&amp;" title "${title}")
  get_filename_component(label ${page} NAME_WE)
  string(TOLOWER ${label} label)
  if(NOT label STREQUAL readme)
    list(APPEND docs_navigation
      "<tab type=\"user\" url=\"@ref ${label}\" title=\"${title}\"/>")
  endif()
endforeach()
list(JOIN docs_navigation "\n    " docs_navigation)
configure_file(docs/site/layout.xml.in ${docs_dir}/layout.xml @ONLY)

get_directory_property(docs_headers DIRECTORY src/LibCorvane DEFINITION documented_headers)
list(TRANSFORM docs_headers PREPEND ${PROJECT_SOURCE_DIR}/src/LibCorvane/)
list(TRANSFORM docs_ordered_pages PREPEND ${PROJECT_SOURCE_DIR}/)
set(docs_input ${docs_ordered_pages} ${docs_headers})
list(TRANSFORM docs_input REPLACE "(.+)" "\"\\1\"")
list(JOIN docs_input " \\\n    " docs_input)
configure_file(docs/Doxyfile.in ${docs_dir}/Doxyfile @ONLY)

add_custom_target(docs
  # Pages that are no more must not stay.
  COMMAND ${CMAKE_COMMAND} -E remove_directory ${docs_dir}/html
  COMMAND ${CMAKE_COMMAND} -E remove_directory ${docs_dir}/xml
  COMMAND ${LIBCORVANE_DOXYGEN} ${docs_dir}/Doxyfile
  COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/docs/site/check_coverage.py ${docs_dir}/xml
  COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/docs/site/check_links.py ${docs_dir}/html
  COMMENT "Building the documentation in ${docs_dir}/html" VERBATIM)
