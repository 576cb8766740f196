# Header, library, tool, licence, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS moxw7 EXPORT mox-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(MOX_TOOL)
  # The tool finds the library from where it is itself, so that an installed tree may be moved.
  file(RELATIVE_PATH MOX_TOOL_TO_LIBRARY /p/${CMAKE_INSTALL_BINDIR} /p/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(mox PROPERTIES INSTALL_RPATH $ORIGIN/${MOX_TOOL_TO_LIBRARY})
  install(TARGETS mox RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(EXPORT mox-targets NAMESPACE mox:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mox)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/mox-config.cmake.in ${CMAKE_BINARY_DIR}/mox-config.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mox)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/mox-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/mox-config.cmake ${CMAKE_BINARY_DIR}/mox-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mox)
# The pkg-config file says ${pcfiledir}, so that an installed tree may be moved.
file(RELATIVE_PATH MOX_PC_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(${CMAKE_SOURCE_DIR}/cmake/moxw7.pc.in ${CMAKE_BINARY_DIR}/moxw7.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/moxw7.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
