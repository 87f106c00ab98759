# The pkg-config file. It names each directory by the way from its own, so that it stays right when the
# installation is moved and when a directory is given as an absolute path.
set(pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH QV_PKGCONFIG_TO_PREFIX ${pkgconfig} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" QV_PKGCONFIG_TO_PREFIX "${QV_PKGCONFIG_TO_PREFIX}")
foreach(directory LIBDIR INCLUDEDIR)
    file(RELATIVE_PATH QV_PREFIX_TO_${directory}
        ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_${directory}})
endforeach()
file(RELATIVE_PATH QV_PREFIX_TO_BUNDLEDIR ${CMAKE_INSTALL_PREFIX} ${QV_INSTALL_FULL_BUNDLEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/qv_base_log.pc.in ${PROJECT_BINARY_DIR}/qv_base_log.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qv_base_log.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
