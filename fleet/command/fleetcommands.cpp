#include "command/fleetcommands.h"

namespace NS_LOG_FLEET {
namespace {

void AddFleetCommands(const NS_LOG_READER::CommandAdder& add) {
    AddShip(add);
    AddCollect(add);
    AddView(add);
}

const bool kIsAdded = NS_LOG_READER::AddLibrary(&AddFleetCommands, &ExtendPrune);

}  // namespace
}  // namespace NS_LOG_FLEET
