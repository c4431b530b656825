# The CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(kel_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KelImageOperation")

configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/KelImageOperationConfig.cmake.in"
  "${CMAKE_CURRENT_BINARY_DIR}/KelImageOperationConfig.cmake"
  INSTALL_DESTINATION "${kel_package_dir}")
write_basic_package_version_file(
  "${CMAKE_CURRENT_BINARY_DIR}/KelImageOperationConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/KelImageOperationConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/KelImageOperationConfigVersion.cmake"
  DESTINATION "${kel_package_dir}")
install(EXPORT KelImageOperationTargets NAMESPACE KELRA:: DESTINATION "${kel_package_dir}")

# The file finds its prefix from where it lies, so that the installation can be moved.
file(RELATIVE_PATH kel_prefix_from_pkgconfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/KelImageOperation.pc.in"
  "${CMAKE_CURRENT_BINARY_DIR}/KelImageOperation.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/KelImageOperation.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
