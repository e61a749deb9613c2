/** @file
  Memory allocation goals: create, delete, and read the pending ones into
  the module-wide pending goal record.
**/
#ifndef NVM_DIMM_CONFIG_GOALS_H_
#define NVM_DIMM_CONFIG_GOALS_H_

#include <Uefi.h>
#include <Protocol/NvmDimmConfig.h>

// Pending goal entries, parallel arrays indexed by the protocol's order.
typedef struct {
  UINT64    VolatileSize[GOAL_TABLE_ENTRIES];    // bytes of memory mode
  UINT64    AppDirect1Size[GOAL_TABLE_ENTRIES];  // bytes, first interleave set
  UINT64    AppDirect2Size[GOAL_TABLE_ENTRIES];  // bytes, second interleave set
  UINT32    DimmHandle[GOAL_TABLE_ENTRIES];      // the module's 32-bit handle
  UINT32    SocketId[GOAL_TABLE_ENTRIES];
  UINT32    Count;                               // valid entries
} PENDING_GOAL_DETAILS;

static_assert (OFFSET_OF (PENDING_GOAL_DETAILS, Count) + sizeof (UINT32) == 3076, "pending goal fields span 3076 bytes");
static_assert (sizeof (PENDING_GOAL_DETAILS) == 3080, "the pending goal record is cleared as 3080 bytes");

// The pending goals as last read; the goal pages clear and refresh it.
extern PENDING_GOAL_DETAILS  mPendingGoal;

// No module and no socket list: every module; sockets only: their modules;
// modules only: exactly those. *pStatusCode gets the NVM status whenever the
// protocol was called.
EFI_STATUS EFIAPI CreateGoal (
  IN  UINT16  *pDimmIds OPTIONAL,
  IN  UINT32  DimmIdsCount,
  IN  UINT16  *pSocketIds OPTIONAL,
  IN  UINT32  SocketIdsCount,
  IN  UINT8   PersistentMemType,
  IN  UINT32  VolatilePercent,
  OUT UINT16  *pStatusCode
  );
EFI_STATUS EFIAPI DeleteGoal (IN UINT16 *pDimmIds OPTIONAL, IN UINT32 DimmIdsCount, IN UINT16 *pSocketIds OPTIONAL, IN UINT32 SocketIdsCount);
// Fills pGoal, which the caller has cleared; on failure Count stays as it was.
EFI_STATUS EFIAPI GetPendingGoalDetails (IN OUT PENDING_GOAL_DETAILS *pGoal);

#endif
