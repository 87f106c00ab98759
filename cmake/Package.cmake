# What is installed, in three components: the service with the reference platform (library), what a
# bundle author needs (dev), and the agent with its bundles, programs and documents (agent).
# cmake/Packages.cmake makes packages of them.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qv_base_log)
set(bundles qv_control qv_line_feed qv_sample_traffic qv_schedule)
set(programs qv_agent qv_agentctl qvlog)

# One run path serves the build, where programs lie in bin and libraries in lib, and the installation:
# what is installed are the files that were built. The service looks in the directory above as well,
# because it is also reached through a link from the bundle directory.
set_target_properties(${programs} PROPERTIES
    INSTALL_RPATH "$ORIGIN/${QV_PROGRAMS_TO_LIBRARIES};$ORIGIN/../lib")
set_target_properties(qv_base_log qv_platform ${bundles} PROPERTIES
    INSTALL_RPATH "$ORIGIN;$ORIGIN/${QV_BUNDLES_TO_LIBRARIES}")
set_target_properties(qv_base_log qv_platform ${bundles} ${programs} PROPERTIES
    BUILD_WITH_INSTALL_RPATH ON)

# The service: a library with a name of its own for each version of its interface. The unversioned
# links serve linking only and belong to "dev"; the agent finds the service in the bundle directory.
install(TARGETS qv_base_log
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT dev)
install(TARGETS qv_platform EXPORT qv_base_log_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT dev)
set(service_link ${PROJECT_BINARY_DIR}/bundles/libqv_base_log.so)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/bundles)
file(CREATE_LINK ${QV_BUNDLES_TO_LIBRARIES}/libqv_base_log.so.${PROJECT_VERSION_MAJOR}
    ${service_link} SYMBOLIC)
install(FILES ${service_link} DESTINATION ${QV_INSTALL_BUNDLEDIR} COMPONENT library)

# For bundle authors.
install(DIRECTORY include/qv_base_log include/qv_host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(DIRECTORY platform/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qv_platform
    COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(TARGETS qv_platform_headers qv_base_log_headers EXPORT qv_base_log_targets)
install(EXPORT qv_base_log_targets NAMESPACE qv_base_log:: DESTINATION ${package_dir} COMPONENT dev)
configure_package_config_file(cmake/qv_base_log-config.cmake.in
    ${PROJECT_BINARY_DIR}/qv_base_log-config.cmake INSTALL_DESTINATION ${package_dir}
    PATH_VARS QV_INSTALL_BUNDLEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qv_base_log-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/qv_base_log-config.cmake
    ${PROJECT_BINARY_DIR}/qv_base_log-config-version.cmake
    DESTINATION ${package_dir} COMPONENT dev)
include(cmake/PkgConfigFile.cmake)

# The agent.
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT agent)
install(TARGETS ${bundles} LIBRARY DESTINATION ${QV_INSTALL_BUNDLEDIR} COMPONENT agent)
install(FILES host/agent/qv_agent.1 host/agentctl/qv_agentctl.1 reader/qvlog.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT agent)
install(FILES host/agent/corba_agent.cfg.5 reader/qvlog.5
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT agent)
install(FILES host/agentctl/completion/qv_agentctl reader/completion/qvlog
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT agent)
install(FILES reader/completion/_qvlog
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT agent)
install(FILES reader/completion/qvlog.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT agent)
install(FILES reader/lnav/qv_log.json
    DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/lnav/formats/qv_log COMPONENT agent)
