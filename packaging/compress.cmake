# Run by CPack before it packs: manual pages and lists of changes are packed compressed, always to the
# same bytes.
file(GLOB pages ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*.[1-9]
    ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog*
    ${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/man*/*.[1-9]
    ${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/*/changelog*)
foreach(page ${pages})
    if(NOT page MATCHES "[.]gz$")
        execute_process(COMMAND gzip -9n ${page} COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
