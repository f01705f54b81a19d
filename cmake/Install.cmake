# Installation: both libraries (versioned), the headers, a CMake package
# (find_package(qor) gives the imported target qor::core) and a pkg-config
# file.  Applications link the core only; the core finds the kernel library
# beside itself at run time, so the kernel library is installed but not
# exported.
include(CMakePackageConfigHelpers)

set_target_properties(qor_core PROPERTIES EXPORT_NAME core)
install(TARGETS qor_core EXPORT qorTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS qor_sse42
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/qor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(QOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qor)
install(EXPORT qorTargets NAMESPACE qor:: DESTINATION ${QOR_CMAKE_DIR})
configure_package_config_file(cmake/qorConfig.cmake.in ${PROJECT_BINARY_DIR}/qorConfig.cmake
  INSTALL_DESTINATION ${QOR_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorConfig.cmake ${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  DESTINATION ${QOR_CMAKE_DIR})

file(RELATIVE_PATH QOR_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
configure_file(cmake/qor.pc.in ${PROJECT_BINARY_DIR}/qor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
