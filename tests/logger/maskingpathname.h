// The names of the ways of masking, for the tests that run on each of them.
#pragma once

#include <string>

#include "logger/asnmasking.h"

inline std::string PathName(NS_LOG_SERVICE1::MaskingPath path) {
    return path == NS_LOG_SERVICE1::MaskingPath::kAvx2 ? "Avx2" : "Portable";
}
