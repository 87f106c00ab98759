// The result codes of the logging service in words.
#include "control/resulttext.h"

#include "qv_base_log/resultcode.h"

namespace NS_REFERENCE_HOST {

std::string ResultText(unsigned int code) {
    switch (code) {
        case NS_LOG_SERVICE1::LOG_RESULT_OK:
            return "done, or nothing to do";
        case NS_LOG_SERVICE1::LOG_RESULT_INVALID_OUTPUT_MODE:
            return "the output mode is neither 0 nor 1";
        case NS_LOG_SERVICE1::LOG_RESULT_INTERFACE_NOT_EXIST:
            return "the schedule service could not be reached";
        case NS_LOG_SERVICE1::LOG_RESULT_DELETE_TASK_FAILED:
            return "the schedule service refused to delete the periodic output task";
        default:
            return "the logging service gave a code that is not known here";
    }
}

}  // namespace NS_REFERENCE_HOST
