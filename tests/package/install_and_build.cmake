# Installs into a fresh prefix, builds a client bundle against it, and runs it in an installed agent.
# Expects: BUILD_DIR, SOURCE_DIR, WORK_DIR, COMPILER, SANITIZER_FLAGS.

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed with ${result}:\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/client -B ${WORK_DIR}/client -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_STANDARD=11
    "-DCMAKE_CXX_FLAGS=${SANITIZER_FLAGS}"
    -DGREETING_SOURCE=${SOURCE_DIR}/examples/greeting.cpp)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/client)

set(share ${WORK_DIR}/share)
file(WRITE ${share}/conf/corba_agent.cfg
    "logswitch = 1,1,1,1\nbundles = qv_base_log, greeting=${WORK_DIR}/client/libgreeting.so\n")
# The agent ends with its input, which is empty.
run(${prefix}/bin/qv_agent --share ${share} --traffic input INPUT_FILE /dev/null TIMEOUT 60)

file(GLOB logs ${share}/log/unbi_corbaoper_*.log)
list(LENGTH logs count)
if(NOT count EQUAL 1)
    message(FATAL_ERROR "one log file of the category corbaoper is expected, found: ${logs}")
endif()
file(READ ${logs} text)
string(FIND "${text}" "File: greeting.cpp Func:init Line:25\n Detail: the greeting bundle is here\n"
    position)
if(position EQUAL -1)
    message(FATAL_ERROR "the client's record is missing in:\n${text}")
endif()
