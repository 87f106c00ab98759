// What a client learns of an operation that failed.
#include "bundle/callfailure.h"

#include "network/errors.h"
#include "northbound.hh"

namespace NS_NORTHBOUND {

void ThrowToClient(OperationLog& log) {
    const char* const operation = log.Identifier().c_str();
    try {
        throw;
    } catch (const AccessError& error) {
        log.Fail(error.what());
        throw Northbound::AccessDenied(operation, error.what());
    } catch (const UnknownObjectError& error) {
        log.Fail(error.what());
        throw Northbound::UnknownObject(operation, error.what());
    } catch (const CORBA::Exception& error) {
        // A call-back failed, or the ORB stops. The name says which failure it is.
        log.Fail(error._name());
        throw Northbound::OperationFailed(operation, error._name());
    } catch (const std::exception& error) {
        log.Fail(error.what());
        throw Northbound::OperationFailed(operation, error.what());
    }
}

}  // namespace NS_NORTHBOUND
