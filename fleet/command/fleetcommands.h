// The fleet's commands of the program.
#pragma once

#include "command/addedcommands.h"

namespace NS_LOG_FLEET {

void AddShip(const NS_LOG_READER::CommandAdder& add);
void AddCollect(const NS_LOG_READER::CommandAdder& add);
void AddView(const NS_LOG_READER::CommandAdder& add);
void ExtendPrune(CLI::App& prune, NS_LOG_READER::Options& options);

}  // namespace NS_LOG_FLEET
