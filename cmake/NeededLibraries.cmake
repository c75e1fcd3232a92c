# Programs that load just what the library needs, used or not, to tell its own part from theirs.

# In script mode: writes the linker options.
if(CMAKE_SCRIPT_MODE_FILE)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C
    ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE entries RESULT_VARIABLE failed)
  # "… (NEEDED) … Shared library: [libc.so.6]"; brackets would join a list's elements.
  string(REGEX REPLACE "[][]" " " entries "${entries}")
  string(REGEX MATCHALL "Shared library: +[^ ]+" needed "${entries}")
  list(TRANSFORM needed REPLACE "^Shared library: +" "-l:")
  list(FILTER needed INCLUDE REGEX "^-l:${PATTERN}")
  if(failed OR NOT needed)
    message(FATAL_ERROR "${READELF} names no library that ${LIBRARY} needs")
  endif()
  list(JOIN needed "\n" options)
  file(WRITE ${OPTIONS_FILE} "-Wl,--push-state,--no-as-needed\n${options}\n-Wl,--pop-state\n")
  return()
endif()

set(CORVANE_NEEDED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

# corvane_link_needed(TARGET [PATTERN]): the target needs what the library needs, or what of that
# has a name of this pattern. ELF only.
function(corvane_link_needed target)
  set(options ${CMAKE_CURRENT_BINARY_DIR}/${target}.rsp)
  add_custom_command(OUTPUT ${options} VERBATIM
    COMMAND ${CMAKE_COMMAND} -D READELF=${CMAKE_READELF} -D LIBRARY=$<TARGET_FILE:LibCorvane>
      "-DPATTERN=${ARGN}" -D OPTIONS_FILE=${options} -P ${CORVANE_NEEDED_SCRIPT}
    DEPENDS LibCorvane ${CORVANE_NEEDED_SCRIPT})
  add_custom_target(${target}_needed DEPENDS ${options})
  add_dependencies(${target} ${target}_needed)
  target_link_options(${target} PRIVATE @${options})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${options})
endfunction()
