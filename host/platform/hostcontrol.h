// What the owner of a process decides about its reference platform: the agent program at its
// start, a test in its fixture. Bundles do not include this header.
#pragma once

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/logproxy.h"

namespace NS_REFERENCE_HOST {

// Who gives out log proxies from now on; null: nobody, so that services use their fallback. The
// process starts with StderrLogProxyProvider(). The caller keeps the provider alive.
QV_PLATFORM_API void SetLogProxyProvider(NS_BUNDLEMGR1::LogProxyProvider* provider);

// Gives out proxies that write diagnostics to standard error, one line each: time, level, bundle,
// service, source position and text.
QV_PLATFORM_API NS_BUNDLEMGR1::LogProxyProvider* StderrLogProxyProvider();

// Puts another configuration store in the place of the one over corba_agent.cfg; null puts that
// one back. The caller keeps the store alive.
QV_PLATFORM_API void SetConfigItems(NS_BUNDLEMGR1::CorbaConfigItems* items);

// Takes `interface` out of the registry, under whatever names it stands there.
QV_PLATFORM_API void RemoveFromIFBuf(const NS_BUNDLEMGR1::ServiceInterface* interface);

}  // namespace NS_REFERENCE_HOST
