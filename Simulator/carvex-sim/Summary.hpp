// The readable account of a run of boots: images, platform events, pool use
// per image, the form sets in the HII database, the driver's variables, the
// devices' origin and, last, the driver's failures.
#pragma once

#include <ostream>

#include "SimPlatform.hpp"

namespace carvex::sim::cli {

void PrintBootSummary(std::ostream& out, SimPlatform& platform, const BootSummary& summary);

}  // namespace carvex::sim::cli
