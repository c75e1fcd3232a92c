# What a build on macOS is for, where its user has not decided. Before project(): the first compiler
# check needs it.
if(CMAKE_HOST_APPLE)
  set(CMAKE_OSX_ARCHITECTURES x86_64 CACHE STRING "Processors that the build is for")
  if(NOT DEFINED ENV{MACOSX_DEPLOYMENT_TARGET})
    set(CMAKE_OSX_DEPLOYMENT_TARGET 10.15 CACHE STRING "The oldest macOS that the build runs on")
  endif()
endif()
