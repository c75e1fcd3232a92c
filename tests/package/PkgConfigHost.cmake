# Builds the host with nothing but the compiler and pkg-config, and runs it.
cmake_minimum_required(VERSION 3.16)
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig:$ENV{PKG_CONFIG_PATH})
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs LibCorvane
  OUTPUT_VARIABLE options OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "pkg-config does not find LibCorvane")
endif()

separate_arguments(options UNIX_COMMAND "${options}")
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
set(program ${WORK_DIR}/pkg-config-host)
execute_process(
  COMMAND ${CXX} -std=c++17 ${flags} ${HOST} -o ${program} ${options}
    -Wl,-rpath,${PREFIX}/${LIBDIR}
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "the host does not build with: ${options}")
endif()
execute_process(COMMAND ${program} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "the host ended with ${failed}")
endif()
