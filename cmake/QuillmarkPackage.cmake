# The installed library as a package: `find_package(Quillmark)` gives the imported
# target Quillmark::quillmark (headers and library, nothing else to link), and
# quillmark.pc serves pkg-config. Both are relocatable: they find the prefix from
# where they were installed.
include(CMakePackageConfigHelpers)

set(QUILLMARK_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Quillmark")

install(EXPORT QuillmarkTargets NAMESPACE Quillmark:: DESTINATION "${QUILLMARK_CMAKE_DIR}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/QuillmarkConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/QuillmarkConfig.cmake"
                              INSTALL_DESTINATION "${QUILLMARK_CMAKE_DIR}" PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QuillmarkConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QuillmarkConfig.cmake" "${PROJECT_BINARY_DIR}/QuillmarkConfigVersion.cmake"
        DESTINATION "${QUILLMARK_CMAKE_DIR}")

# The .pc file lies in LIBDIR/pkgconfig; the prefix is that many levels up.
file(RELATIVE_PATH QUILLMARK_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" QUILLMARK_PC_TO_PREFIX "${QUILLMARK_PC_TO_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/quillmark.pc.in" "${PROJECT_BINARY_DIR}/quillmark.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/quillmark.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
