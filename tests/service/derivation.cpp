// Compiled with ALLOWED, and with FORBIDDEN, which must fail.
#include "lookup/nullserviceinterface.h"

class Derived : public NS_BUNDLEMGR1::NULLServiceInterface {};

#ifdef ALLOWED
NS_BUNDLEMGR1::NULLServiceInterface object;
#endif
#ifdef FORBIDDEN
Derived object;
#endif
