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

# The fleet is built where its libraries are, unless it is switched on or off.
set(QV_HAS_FLEET OFF)
if(NOT QV_BUILD_FLEET STREQUAL "OFF")
    pkg_check_modules(LIBPQ IMPORTED_TARGET GLOBAL libpq)
    find_library(QV_NATS_LIBRARY nats)
    find_path(QV_NATS_INCLUDE nats/nats.h)
    if(LIBPQ_FOUND AND QV_NATS_LIBRARY AND QV_NATS_INCLUDE)
        set(QV_HAS_FLEET ON)
    elseif(QV_BUILD_FLEET STREQUAL "ON")
        message(FATAL_ERROR "QV_BUILD_FLEET needs libpq and libnats")
    endif()
endif()
