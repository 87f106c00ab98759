# The packages: what belongs to them beside the programs and libraries (service units, copyright,
# changes, reference of the headers), and how CPack makes them. package.sh configures with
# QV_BUILD_PACKAGES; an installation for oneself does without all this.
set(state /var/lib/qv-agent)
set(logs /var/log/qv-agent)
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(made ${PROJECT_BINARY_DIR}/packaging)
set(library_package libqv-base-log${PROJECT_VERSION_MAJOR})

set(CPACK_PACKAGE_NAME qv-base-log)
set(CPACK_PACKAGE_VENDOR "the qv_base_log authors")
set(CPACK_PACKAGE_CONTACT "${QV_PACKAGE_CONTACT}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_COMPONENTS_ALL library dev agent)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PROJECT_CONFIG_FILE ${made}/project.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${packaging}/compress.cmake)

# What the packages are: a line, and more about it.
set(library_summary "logging service of a northbound agent")
set(library_description "The service bundle qv_base_log, through which all bundles of a northbound
agent write their log records, and the reference platform that it runs on.
Records of levels that are switched off are kept back, and written with the
next grave one.")
set(dev_summary "headers for bundles that log through qv_base_log")
set(dev_description "Headers, CMake package, pkg-config file, examples and the reference of the
interface, for whoever writes bundles of a northbound agent that log.")
set(agent_summary "northbound agent with its logging service")
set(agent_description "The program that loads bundles and serves, as a service under a user of its
own; qv_agentctl, which looks after its logging while it runs; and qvlog,
which reads, checks and removes its log files.")

# Directories and files of the system. They are no part of the prefix.
file(WRITE ${made}/project.cmake "if(CPACK_GENERATOR STREQUAL RPM)\n    set(CPACK_STRIP_FILES ON)\nendif()\n")
set(STATE ${state})
set(LOGS ${logs})
set(CONF ${CMAKE_INSTALL_FULL_SYSCONFDIR}/qv-agent)
set(DEFAULTS ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default/qv-agent)
set(BINDIR ${CMAKE_INSTALL_FULL_BINDIR})
foreach(file qv-agent.service qvlog-prune.service qvlog-ship.service qvlog-collect.service
        ship.env collect.env sysusers.conf tmpfiles.conf defaults)
    configure_file(${packaging}/service/${file}.in ${made}/${file} @ONLY)
endforeach()
file(READ host/agent/corba_agent.cfg configuration)
string(REPLACE "#logpath = /var/log/agent" "logpath = ${logs}" configuration "${configuration}")
file(CONFIGURE OUTPUT ${made}/corba_agent.cfg CONTENT "${configuration}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS host/agent/corba_agent.cfg)

install(FILES ${made}/qv-agent.service ${made}/qvlog-prune.service
        ${packaging}/service/qvlog-prune.timer ${made}/qvlog-ship.service
        ${made}/qvlog-collect.service
    DESTINATION lib/systemd/system COMPONENT agent)
install(FILES ${made}/sysusers.conf DESTINATION lib/sysusers.d RENAME qv-agent.conf COMPONENT agent)
install(FILES ${made}/tmpfiles.conf DESTINATION lib/tmpfiles.d RENAME qv-agent.conf COMPONENT agent)
install(FILES ${made}/corba_agent.cfg DESTINATION ${CONF} COMPONENT agent)
# With passwords, so for root alone: systemd reads them.
install(FILES ${made}/ship.env ${made}/collect.env DESTINATION ${CONF} COMPONENT agent
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ)
install(FILES ${made}/defaults DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default
    RENAME qv-agent COMPONENT agent)

# What every package has to say.
string(TIMESTAMP QV_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${packaging}/debian/changelog.in ${made}/changelog.Debian @ONLY)
foreach(component library dev agent)
    set(package qv-agent)
    if(component STREQUAL library)
        set(package ${library_package})
    elseif(component STREQUAL dev)
        set(package libqv-base-log-dev)
    endif()
    string(TOUPPER ${component} name)
    set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${package})
    set(CPACK_RPM_${name}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${name}_DESCRIPTION "${${component}_summary}\n${${component}_description}")
    set(CPACK_RPM_${name}_PACKAGE_SUMMARY "${${component}_summary}")
    set(CPACK_RPM_${name}_PACKAGE_DESCRIPTION "${${component}_description}")
    set(documents_of_${component} ${CMAKE_INSTALL_DATADIR}/doc/${package})
    install(FILES ${packaging}/debian/copyright ${made}/changelog.Debian
        DESTINATION ${documents_of_${component}} COMPONENT ${component})
    install(FILES CHANGELOG.md DESTINATION ${documents_of_${component}} RENAME changelog
        COMPONENT ${component})
endforeach()

# The reference of the public headers, without a warning.
find_package(Doxygen REQUIRED)
configure_file(${packaging}/reference/Doxyfile.in ${made}/Doxyfile @ONLY)
file(GLOB_RECURSE headers CONFIGURE_DEPENDS include/*.h platform/*.h)
add_custom_command(OUTPUT ${made}/reference.done
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${made}/html
    COMMAND Doxygen::doxygen ${made}/Doxyfile
    COMMAND ${packaging}/reference/namedirectories.sh ${made}/html
    COMMAND ${CMAKE_COMMAND} -E touch ${made}/reference.done
    DEPENDS ${headers} ${made}/Doxyfile ${packaging}/reference/filter.awk
        ${packaging}/reference/mainpage.dox ${packaging}/reference/namedirectories.sh
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    COMMENT "Writing the reference of the headers" VERBATIM)
add_custom_target(qv_reference ALL DEPENDS ${made}/reference.done)
install(DIRECTORY ${made}/html DESTINATION ${documents_of_dev} COMPONENT dev)
install(FILES examples/greeting.cpp examples/operations.cpp examples/operations.h
    DESTINATION ${documents_of_dev}/examples COMPONENT dev)
install(DIRECTORY examples/northbound DESTINATION ${documents_of_dev}/examples COMPONENT dev
    FILES_MATCHING PATTERN "*.cpp" PATTERN "*.h" PATTERN "*.idl" PATTERN "*.cfg")

# The guides, with all that they point to. In the packages the examples lie below them.
file(READ docs/bundles.md guide)
string(REPLACE "](../examples/" "](examples/" guide "${guide}")
file(WRITE ${made}/bundles.md "${guide}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS docs/bundles.md)
set(guides docs/agent.md docs/compatibility.md docs/fleet.md docs/messages.md docs/operating.md
    docs/packages.md docs/reading.md)
install(FILES ${guides} docs/northbound.md ${made}/bundles.md
    DESTINATION ${documents_of_dev} COMPONENT dev)
install(FILES ${guides} DESTINATION ${documents_of_agent} COMPONENT agent)

# Debian packages.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE qv-base-log)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_BUILD_IDS_PLACEHOLDER "")
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${made}/shlibs;${packaging}/debian/triggers")
configure_file(${packaging}/debian/shlibs.in ${made}/shlibs @ONLY)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEV_DEBUGINFO_PACKAGE OFF)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${library_package} ${same_version}, libace-dev, libjsoncpp-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "cmake, pkgconf")
set(CPACK_DEBIAN_AGENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_AGENT_PACKAGE_DEPENDS "${library_package} ${same_version}, systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_AGENT_PACKAGE_SUGGESTS "lnav")
set(CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_EXTRA "${packaging}/debian/conffiles;${packaging}/debian/postinst;${packaging}/debian/prerm;${packaging}/debian/postrm")

# RPM packages.
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_PACKAGE_RELEASE 1)
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none")
set(CPACK_RPM_DEV_PACKAGE_REQUIRES "${library_package} = ${PROJECT_VERSION}, ace-devel, jsoncpp-devel")
set(CPACK_RPM_AGENT_PACKAGE_REQUIRES "${library_package} = ${PROJECT_VERSION}, systemd")
set(CPACK_RPM_LIBRARY_POST_INSTALL_SCRIPT_FILE ${packaging}/rpm/library-post)
set(CPACK_RPM_LIBRARY_POST_UNINSTALL_SCRIPT_FILE ${packaging}/rpm/library-post)
set(CPACK_RPM_AGENT_PACKAGE_REQUIRES_POST systemd)
set(CPACK_RPM_AGENT_PACKAGE_REQUIRES_PREUN systemd)
set(CPACK_RPM_AGENT_PACKAGE_REQUIRES_POSTUN systemd)
set(CPACK_RPM_AGENT_POST_INSTALL_SCRIPT_FILE ${packaging}/rpm/agent-post)
set(CPACK_RPM_AGENT_PRE_UNINSTALL_SCRIPT_FILE ${packaging}/rpm/agent-preun)
set(CPACK_RPM_AGENT_POST_UNINSTALL_SCRIPT_FILE ${packaging}/rpm/agent-postun)
set(CPACK_RPM_AGENT_USER_FILELIST
    "%config(noreplace) /etc/qv-agent/corba_agent.cfg"
    "%config(noreplace) /etc/qv-agent/ship.env"
    "%config(noreplace) /etc/qv-agent/collect.env"
    "%config(noreplace) /etc/default/qv-agent"
    "%config(noreplace) /etc/lnav/formats/qv_log/qv_log.json")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /etc /etc/default /etc/lnav /etc/lnav/formats /usr/lib/systemd /usr/lib/systemd/system /usr/lib/sysusers.d
    /usr/lib/tmpfiles.d ${CMAKE_INSTALL_FULL_MANDIR} ${CMAKE_INSTALL_FULL_MANDIR}/man1
    ${CMAKE_INSTALL_FULL_MANDIR}/man5 /usr/share/bash-completion
    /usr/share/bash-completion/completions /usr/share/fish /usr/share/fish/vendor_completions.d
    /usr/share/zsh /usr/share/zsh/site-functions ${CMAKE_INSTALL_FULL_LIBDIR}
    ${CMAKE_INSTALL_FULL_LIBDIR}/cmake ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
include(CPack)
