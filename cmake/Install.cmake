# Installs the libraries, the command, the headers, the bind files, a CMake package
# (find_package(orvxml)) and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS orv orvapie orvXMLInit orvxml orvxmlfn orvxml_command
        EXPORT orvxmlTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/orvxml server/include/orv DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${CMAKE_BINARY_DIR}/share/orvxml/bnd DESTINATION ${CMAKE_INSTALL_DATADIR}/orvxml)
install(EXPORT orvxmlTargets NAMESPACE orvxml:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/orvxml)
configure_package_config_file(cmake/orvxmlConfig.cmake.in ${CMAKE_BINARY_DIR}/orvxmlConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/orvxml)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orvxmlConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/orvxmlConfig.cmake ${CMAKE_BINARY_DIR}/orvxmlConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/orvxml)
# The prefix is told from where the file lies, so that an installed tree may be moved.
file(RELATIVE_PATH pkgconfig_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/orvxml.pc.in ${CMAKE_BINARY_DIR}/orvxml.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/orvxml.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
