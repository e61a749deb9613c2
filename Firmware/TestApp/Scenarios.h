/** @file
  The OVMF scenarios. Each runs once per boot; a scenario that needs the
  platform to reset (to see what the next boot makes of the variables) asks
  for another boot.
**/
#ifndef SCENARIOS_H_
#define SCENARIOS_H_

#include "../Common/FwCommon.h"

typedef enum {
  ScenarioDone,
  ScenarioNextBoot
} SCENARIO_RESULT;

typedef SCENARIO_RESULT (*SCENARIO_BOOT)(IN UINT32 Boot);

typedef struct {
  CONST CHAR8      *Name;
  UINT32           Boots;
  SCENARIO_BOOT    Run;
} SCENARIO;

// The module vendor's driver ahead of the driver (ModuleScenarios.cpp).
SCENARIO_RESULT
VendorModules (
  IN UINT32  Boot
  );

// The setup form set in OVMF's HII services (SetupFormScenario.cpp).
SCENARIO_RESULT
SetupFormSet (
  IN UINT32  Boot
  );

// A setup save through OVMF's variable services (ThresholdScenario.cpp).
SCENARIO_RESULT
SetupThresholds (
  IN UINT32  Boot
  );

// The module and goal pages driven through the callback, a goal applied
// by the next boot (SetupPagesScenario.cpp).
SCENARIO_RESULT
SetupPages (
  IN UINT32  Boot
  );

// Automatic unlock over models kept across a reset (SecurityScenario.cpp).
SCENARIO_RESULT
SecurityAutoUnlock (
  IN UINT32  Boot
  );

// Inventory records read back from the component data storage
// (InventoryScenario.cpp).
SCENARIO_RESULT
InventoryRecords (
  IN UINT32  Boot
  );

// The scenario of that name, or NULL.
CONST SCENARIO *
FindScenario (
  IN CONST CHAR8  *Name
  );

#endif
