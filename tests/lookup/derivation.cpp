// Compiled with ALLOWED, and with FORBIDDEN, which must fail.
#include "lookup/nullserviceinterface.h"

#ifdef ALLOWED
NS_BUNDLEMGR1::NULLServiceInterface object;
#endif

#ifdef FORBIDDEN
class Derived : public NS_BUNDLEMGR1::NULLServiceInterface {};
Derived object;
#endif
