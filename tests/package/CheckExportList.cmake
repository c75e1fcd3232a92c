# The library exports what exports.txt lists, so that no change of its interface goes unseen. Whether
# a symbol ought to be exported at all is CheckExports.cmake's question.
#
# The list has what GCC and clang, with and without optimisation, agree on:
# - weak symbols are left out: each compiler decides for itself which inline functions and templates
#   it emits, and hosts bring their own;
# - but the vtables and the typeinfo of the library's classes are in, though one compiler makes them
#   weak and the other does not, as subclasses and casts in hosts need them. Their thunks and the
#   names of types follow from these and are left out;
# - the variants of a constructor or destructor share one name, and so one line.
#
# With -D RENEW=ON it writes the list instead of comparing with it.
cmake_minimum_required(VERSION 3.16)
include(${CMAKE_CURRENT_LIST_DIR}/Symbols.cmake)

read_symbols(symbols)
set(exported)
foreach(symbol IN LISTS symbols)
  string(REGEX REPLACE "^. " "" name "${symbol}")
  if(name MATCHES " for std::" OR name MATCHES "^(_init|_fini|__bss_start|_edata|_end)$")
    # The standard library's, the linker's.
  elseif(name MATCHES "^(vtable|typeinfo) for ")
    list(APPEND exported "${name}")
  elseif(symbol MATCHES "^[TDBR] " AND NOT name MATCHES
      "^(typeinfo name|VTT|construction vtable) for |^(non-virtual|virtual) thunk to ")
    list(APPEND exported "${name}")
  endif()
endforeach()
list(REMOVE_DUPLICATES exported)
list(SORT exported)
if(NOT exported)
  message(FATAL_ERROR "${LIBRARY} exports nothing")
endif()

if(RENEW)
  list(JOIN exported "\n" text)
  write_out_symbol(text)
  file(WRITE ${LIST} "${text}\n")
  return()
endif()

file(READ ${LIST} listed)
escape_symbols(listed)
set(added ${exported})
list(REMOVE_ITEM added ${listed})
set(removed ${listed})
list(REMOVE_ITEM removed ${exported})
if(added OR removed)
  set(report)
  foreach(symbol IN LISTS added)
    string(APPEND report "\n  + ${symbol}")
  endforeach()
  foreach(symbol IN LISTS removed)
    string(APPEND report "\n  - ${symbol}")
  endforeach()
  write_out_symbol(report)
  # As a notice, which leaves the lines as they are.
  message("The library exports something else than ${LIST} says:${report}\n"
    "If that is meant, renew the list: cmake --build ${BUILD_DIR} --target renew_exports")
  message(FATAL_ERROR "the list of exports differs")
endif()
