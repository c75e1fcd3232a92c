# What is installed: all that a host needs, nothing private, no path of this build.
cmake_minimum_required(VERSION 3.16)
file(GLOB_RECURSE files RELATIVE ${PREFIX} ${PREFIX}/*)

foreach(needed
    include/LibCorvane/AVAVFoundationFactory.h
    include/LibCorvane/ConfigurationManager.h
    include/LibCorvane/Export.h
    include/LibCorvane/FeedbackManager.h
    include/LibCorvane/NetRCManager.h
    include/LibCorvane/audioCapturers/IAudioCapture.h
    include/LibCorvane/audioCapturers/AudioCapManagerMac.h
    include/LibCorvane/audioCapturers/FFMpegAudioCapture.h
    include/LibCorvane/common/HardwareInfo.h
    include/LibCorvane/deskCapturers/AVFoundationCaptureImpl.h
    include/LibCorvane/deskCapturers/DeskDuplManagerMac.h
    include/LibCorvane/deskCapturers/FFMpegCapture.h
    include/LibCorvane/deskCapturers/IDeskCapture.h
    include/LibCorvane/deskCapturers/IDeskDuplManager.h
    ${LIBDIR}/cmake/LibCorvane/FindLibCorvaneOpenCV.cmake
    ${LIBDIR}/cmake/LibCorvane/LibCorvaneConfig.cmake
    ${LIBDIR}/cmake/LibCorvane/LibCorvaneConfigVersion.cmake
    ${LIBDIR}/cmake/LibCorvane/LibCorvaneTargets.cmake
    ${LIBDIR}/pkgconfig/LibCorvane.pc)
  if(NOT needed IN_LIST files)
    message(SEND_ERROR "not installed: ${needed}")
  endif()
endforeach()

# Hosts on other systems have none of Apple's headers that these include.
foreach(header CoreAudioCapture.h CoreFoundationString.h)
  set(mac_header include/LibCorvane/audioCapturers/${header})
  if(CMAKE_HOST_APPLE AND NOT mac_header IN_LIST files)
    message(SEND_ERROR "not installed: ${mac_header}")
  elseif(NOT CMAKE_HOST_APPLE AND mac_header IN_LIST files)
    message(SEND_ERROR "installed, but for macOS only: ${mac_header}")
  endif()
endforeach()

foreach(file IN LISTS files)
  if(file MATCHES "_p\\.h$")
    message(SEND_ERROR "a private header is installed: ${file}")
  endif()
  if(file MATCHES "\\.(cmake|pc|h)$")
    file(READ ${PREFIX}/${file} text)
    foreach(path ${SOURCE_DIR} ${BUILD_DIR} ${FIRST_PREFIX} ${PREFIX})
      string(FIND "${text}" "${path}" at)
      if(NOT at EQUAL -1)
        message(SEND_ERROR "${file} holds a path of the build: ${path}")
      endif()
    endforeach()
  endif()
endforeach()
