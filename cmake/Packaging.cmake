include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS dpl EXPORT dplTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(DPL_PROGRAMS dplsync)
if(TARGET dpl_deploy_instance)
  list(APPEND DPL_PROGRAMS dpl_deploy_instance)
endif()
install(TARGETS ${DPL_PROGRAMS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(NOT WIN32)
  # The installed programs find the installed library beside them.
  set_target_properties(${DPL_PROGRAMS} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()
install(FILES include/dpl/dpl.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/dpl)
install(EXPORT dplTargets NAMESPACE dpl:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/dpl FILE dplTargets.cmake)
configure_package_config_file(cmake/dplConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/dplConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/dpl)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/dplConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dplConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/dplConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/dpl)

set(CPACK_PACKAGE_NAME dpl)
set(CPACK_PACKAGE_VENDOR "Orvandex")
set(CPACK_GENERATOR ZIP)
include(CPack)
