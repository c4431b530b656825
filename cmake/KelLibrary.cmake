# kel_add_library(<name> SOURCES <file>... [INCLUDE <dir>...] [PUBLIC <target>...] [PRIVATE <target>...])
#
# One of the family's shared libraries: KELRA::<name>, SONAME 1, installed with its headers.
function(kel_add_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;INCLUDE;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} SHARED ${arg_SOURCES})
  add_library(KELRA::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    DEFINE_SYMBOL ${name}_EXPORTS)
  if(UNIX AND NOT APPLE)
    set(exports "${PROJECT_SOURCE_DIR}/cmake/kel_exports.map")
    target_link_options(${name} PRIVATE "-Wl,--version-script=${exports}")
    set_target_properties(${name} PROPERTIES LINK_DEPENDS "${exports}")
  endif()
  if(NOT arg_INCLUDE)
    set(arg_INCLUDE "${CMAKE_CURRENT_SOURCE_DIR}/include")
  endif()
  foreach(dir IN LISTS arg_INCLUDE)
    target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${dir}>")
    install(DIRECTORY "${dir}/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h")
  endforeach()
  target_include_directories(${name} PUBLIC "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_compile_features(${name} INTERFACE cxx_std_17)
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
  install(TARGETS ${name} EXPORT KelImageOperationTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endfunction()
