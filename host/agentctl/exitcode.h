// What the control program ends with. Scripts rely on the numbers.
#pragma once

namespace NS_REFERENCE_HOST {

enum class ControlExit {
    Done = 0,
    Refused = 1,         // the agent could not do, or would not do, what it was asked for, or
                         // the output could not be written
    BadCommandLine = 2,  // nothing was sent
    NoAgent = 3,         // no agent answers there
    NoAnswer = 4         // an agent is there, but no whole answer came in time; or its health was
                         // asked for, and nothing tells it
};

}  // namespace NS_REFERENCE_HOST
