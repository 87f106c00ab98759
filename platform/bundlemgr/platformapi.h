// Marks what the platform library exports to bundles.
#pragma once

// In front of a class or a function that the platform library exports.
#define QV_PLATFORM_API __attribute__((visibility("default")))
