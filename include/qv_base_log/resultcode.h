// The result codes of the logging service's operations.
#pragma once

namespace NS_LOG_SERVICE1 {

// Done, or nothing to do.
static const unsigned int LOG_RESULT_OK = 0;

// The requested output mode is neither 0 nor 1.
static const unsigned int LOG_RESULT_INVALID_OUTPUT_MODE = 0x41180003;

// A service that the operation needs could not be reached.
static const unsigned int LOG_RESULT_INTERFACE_NOT_EXIST = 0x41180004;

// The schedule service refused to delete the periodic output task.
static const unsigned int LOG_RESULT_DELETE_TASK_FAILED = 0x4118002B;

}  // namespace NS_LOG_SERVICE1
