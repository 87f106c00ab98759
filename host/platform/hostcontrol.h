// Settings of the reference platform for the owner of the process: the agent program, or a test.
// Bundles do not include this header.
#pragma once

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/logproxy.h"

namespace NS_REFERENCE_HOST {

// Sets the provider of log proxies. With null there is none, and services use their fallback. The
// process starts with StderrLogProxyProvider(). The caller keeps the provider alive.
QV_PLATFORM_API void SetLogProxyProvider(NS_BUNDLEMGR1::LogProxyProvider* provider);

// Returns the provider of proxies that write each diagnostic as one line to standard error: time,
// level, bundle, service, source position and text.
QV_PLATFORM_API NS_BUNDLEMGR1::LogProxyProvider* StderrLogProxyProvider();

// Replaces the configuration store over corba_agent.cfg; null restores it. The caller keeps the
// store alive.
QV_PLATFORM_API void SetConfigItems(NS_BUNDLEMGR1::CorbaConfigItems* items);

// Removes `interface` from the registry, under all names.
QV_PLATFORM_API void RemoveFromIFBuf(const NS_BUNDLEMGR1::ServiceInterface* interface);

}  // namespace NS_REFERENCE_HOST
