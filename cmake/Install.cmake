# What `cmake --install` puts in place: the public headers, the shared
# library with its soname, the corvid command, a CMake package
# (find_package(Corvid5) -> Corvid5::corvid5) and a pkg-config file. Every
# path is relative to the prefix, so that an install may be moved or made
# under another prefix than the configured one.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CORVID5_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Corvid5)

install(TARGETS corvid5 EXPORT Corvid5Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/corvid5
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

# The command finds the library beside it wherever the prefix ends up.
file(RELATIVE_PATH CORVID5_BIN_TO_LIB
  /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(corvid PROPERTIES INSTALL_RPATH "$ORIGIN/${CORVID5_BIN_TO_LIB}")
install(TARGETS corvid RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT Corvid5Targets
  NAMESPACE Corvid5::
  DESTINATION ${CORVID5_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/Corvid5Config.cmake.in
  ${PROJECT_BINARY_DIR}/Corvid5Config.cmake
  INSTALL_DESTINATION ${CORVID5_CMAKE_DIR})
# As the soname: one major version, one interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/Corvid5ConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/Corvid5Config.cmake
  ${PROJECT_BINARY_DIR}/Corvid5ConfigVersion.cmake
  DESTINATION ${CORVID5_CMAKE_DIR})

file(RELATIVE_PATH CORVID5_PC_PREFIX
  /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" CORVID5_PC_PREFIX "${CORVID5_PC_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/corvid5.pc.in ${PROJECT_BINARY_DIR}/corvid5.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/corvid5.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
