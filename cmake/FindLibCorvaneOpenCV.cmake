# Finds OpenCV's core and imgproc by their files: Debian's small packages of the two bring neither
# OpenCV's own CMake package nor a pkg-config file. Installed beside LibCorvane's package.
#
# Targets: LibCorvane::OpenCVCore (what the public headers need), LibCorvane::OpenCVImgproc
find_path(LIBCORVANE_OPENCV_INCLUDE_DIR opencv2/core/mat.hpp PATH_SUFFIXES opencv4)
find_library(LIBCORVANE_OPENCV_CORE_LIBRARY opencv_core)
find_library(LIBCORVANE_OPENCV_IMGPROC_LIBRARY opencv_imgproc)
mark_as_advanced(LIBCORVANE_OPENCV_INCLUDE_DIR LIBCORVANE_OPENCV_CORE_LIBRARY
  LIBCORVANE_OPENCV_IMGPROC_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibCorvaneOpenCV DEFAULT_MSG
  LIBCORVANE_OPENCV_CORE_LIBRARY LIBCORVANE_OPENCV_INCLUDE_DIR)

if(LibCorvaneOpenCV_FOUND AND NOT TARGET LibCorvane::OpenCVCore)
  add_library(LibCorvane::OpenCVCore UNKNOWN IMPORTED)
  set_target_properties(LibCorvane::OpenCVCore PROPERTIES
    IMPORTED_LOCATION ${LIBCORVANE_OPENCV_CORE_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${LIBCORVANE_OPENCV_INCLUDE_DIR})
endif()
if(LIBCORVANE_OPENCV_IMGPROC_LIBRARY AND NOT TARGET LibCorvane::OpenCVImgproc)
  add_library(LibCorvane::OpenCVImgproc UNKNOWN IMPORTED)
  set_target_properties(LibCorvane::OpenCVImgproc PROPERTIES
    IMPORTED_LOCATION ${LIBCORVANE_OPENCV_IMGPROC_LIBRARY}
    INTERFACE_LINK_LIBRARIES LibCorvane::OpenCVCore)
endif()
