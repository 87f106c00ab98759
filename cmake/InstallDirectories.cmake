# Where what is installed goes, and how one thing finds another there: by paths that are relative, so
# that the installation works wherever it is put.
include(GNUInstallDirs)

# The bundles lie in a directory of their own: nobody links them, and their names are their own.
set(QV_INSTALL_BUNDLEDIR ${CMAKE_INSTALL_LIBDIR}/qv_base_log)
set(QV_INSTALL_FULL_BUNDLEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/qv_base_log)

file(RELATIVE_PATH QV_PROGRAMS_TO_LIBRARIES ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH QV_PROGRAMS_TO_BUNDLES
    ${CMAKE_INSTALL_FULL_BINDIR} ${QV_INSTALL_FULL_BUNDLEDIR})
file(RELATIVE_PATH QV_BUNDLES_TO_LIBRARIES
    ${QV_INSTALL_FULL_BUNDLEDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
# A trailing slash is of no use to anybody.
string(REGEX REPLACE "/$" "" QV_BUNDLES_TO_LIBRARIES "${QV_BUNDLES_TO_LIBRARIES}")
