# cmake --install: headers, library, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)
install(TARGETS vexalib EXPORT VexaLibTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vexalib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VexaLib)
install(EXPORT VexaLibTargets NAMESPACE VexaLib:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VexaLibConfig.cmake.in
    ${CMAKE_BINARY_DIR}/VexaLibConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VexaLibConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VexaLibConfig.cmake ${CMAKE_BINARY_DIR}/VexaLibConfigVersion.cmake
    DESTINATION ${package_dir})
# The file finds its prefix from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH VEXA_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/vexalib.pc.in ${CMAKE_BINARY_DIR}/vexalib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vexalib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
