# Writes the source file that holds version, commit and build kind. Runs with each build, and leaves
# the file alone when it says the same already, so that nothing is compiled or linked again.
# Expects: SOURCE_DIR, OUTPUT, VERSION, KIND.

# The commit of an exported tree stands in a file; "$Format" stands there where nothing was exported.
file(STRINGS ${SOURCE_DIR}/version/commit.txt COMMIT LIMIT_COUNT 1)
string(SUBSTRING "${COMMIT}" 0 12 COMMIT)
if(NOT COMMIT MATCHES "^[0-9a-f]+$")
    set(COMMIT unknown)
endif()

# Only a git of this very tree is asked: the tree may lie in a folder of another one.
if(EXISTS ${SOURCE_DIR}/.git)
    execute_process(
        COMMAND git -c safe.directory=* describe --always --dirty --abbrev=12 --exclude=*
        WORKING_DIRECTORY ${SOURCE_DIR}
        RESULT_VARIABLE result OUTPUT_VARIABLE described ERROR_QUIET
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(result EQUAL 0 AND described)
        set(COMMIT ${described})
    endif()
endif()

configure_file(${SOURCE_DIR}/version/buildversion.cpp.in ${OUTPUT} @ONLY)
