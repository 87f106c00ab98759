# Everything that is taken from the system; docs/dependencies.md gives the reasons.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(jsoncpp CONFIG REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(ACE REQUIRED IMPORTED_TARGET ACE)
pkg_check_modules(SAFEC REQUIRED IMPORTED_TARGET libsafec)
if(QV_BUILD_TESTS)
    find_package(GTest CONFIG REQUIRED)
endif()
include(cmake/FleetDependencies.cmake)
