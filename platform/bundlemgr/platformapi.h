// Marks what the platform library exports to bundles.
#pragma once

#define QV_PLATFORM_API __attribute__((visibility("default")))
