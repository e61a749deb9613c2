// The readable account of a run of boots.
#pragma once

#include <ostream>

#include "Platform/Machine.hpp"

namespace carvex::sim::cli {

void PrintBootSummary(std::ostream& out, Machine& machine, const BootSummary& summary);

}  // namespace carvex::sim::cli
