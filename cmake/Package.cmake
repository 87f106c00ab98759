# What is installed: the service, the reference platform and agent, and what a bundle author needs
# for find_package(qv_base_log CONFIG).
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qv_base_log)

install(DIRECTORY include/qv_base_log DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h")
install(DIRECTORY platform/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qv_platform
    FILES_MATCHING PATTERN "*.h")
install(TARGETS qv_base_log qv_agent qv_agentctl qv_control qv_line_feed qv_sample_traffic qv_schedule
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS qv_platform qv_platform_headers qv_base_log_headers
    EXPORT qv_base_log_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT qv_base_log_targets NAMESPACE qv_base_log:: DESTINATION ${package_dir})

install(FILES host/agentctl/qv_agentctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES host/agentctl/completion/qv_agentctl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

configure_package_config_file(cmake/qv_base_log-config.cmake.in
    ${PROJECT_BINARY_DIR}/qv_base_log-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qv_base_log-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/qv_base_log-config.cmake
    ${PROJECT_BINARY_DIR}/qv_base_log-config-version.cmake
    DESTINATION ${package_dir})
