/** @file
  The HII scenario: HiiSampleDxe registers the sample form set through our
  HII library, and OVMF's own HII database, string protocol and
  configuration router are asked about it.
**/
#ifndef HII_SCENARIO_H_
#define HII_SCENARIO_H_

#include "Scenarios.h"

SCENARIO_RESULT
HiiSampleScenario (
  IN UINT32  Boot
  );

#endif
