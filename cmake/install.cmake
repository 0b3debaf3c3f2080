# The installed tree: the tool, both libraries, the public headers and what finds them. No path in
# it is absolute, so that it can be moved.
set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/pgm_zorva)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/pgm_zorva)

foreach(name file host message pgm_common pgmdev settings text types)
  list(APPEND services_headers services/${name}.h)
endforeach()
foreach(name enum export)
  list(APPEND services_headers pgm/h/pgm_common_xml_${name}.h)
endforeach()
# Callers include the first row; the second is what that brings.
foreach(name helper mgr qspi_mgr qspi_flash qspi_operation qspi_action sdmmc_mgr sdmmc_flash
             flash operation action template change load_report text)
  list(APPEND zorva_headers pgm/zorva/zorva_${name}.h)
endforeach()

target_compile_features(pgm_host_services PUBLIC cxx_std_20)
target_sources(pgm_host_services PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}
               FILES ${services_headers})
target_sources(pgm_zorva PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}
               FILES ${zorva_headers})

install(TARGETS pgm_host_services pgm_zorva EXPORT pgm_zorva
        FILE_SET HEADERS DESTINATION ${header_dir})
install(TARGETS zorva)
install(EXPORT pgm_zorva NAMESPACE pgm_zorva:: FILE pgm_zorva-config.cmake
        DESTINATION ${package_dir})

include(CMakePackageConfigHelpers)
write_basic_package_version_file(pgm_zorva-config-version.cmake COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/pgm_zorva.pc.in pgm_zorva.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pgm_zorva-config-version.cmake DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/pgm_zorva.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
