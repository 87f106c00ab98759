// The fleet's commands of the program.
#pragma once

#include "command/addedcommands.h"

namespace NS_LOG_FLEET {

void AddShip(const NS_LOG_READER::CommandAdder& add);
void AddCollect(const NS_LOG_READER::CommandAdder& add);
void AddView(const NS_LOG_READER::CommandAdder& add);

}  // namespace NS_LOG_FLEET
