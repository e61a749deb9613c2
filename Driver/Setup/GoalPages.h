/** @file
  Goal pages: the Goals page's processor and pending-goal flags, the guard
  of the create-goal check boxes, creating and deleting goals, and the
  pending-goal page of one processor.
**/
#ifndef SETUP_GOAL_PAGES_H_
#define SETUP_GOAL_PAGES_H_

#include <Uefi.h>

// Create-goal check box of socket s: SETUP_QID_CREATE_GOAL_SOCKET + s;
// pending-goal link of socket s: SETUP_QID_PENDING_GOAL_LINK + s.
#define SETUP_QID_CREATE_GOAL_SOCKET  0x2000
#define SETUP_QID_DELETE_GOAL_SOCKET  0x2010
#define SETUP_QID_PENDING_GOAL_LINK   0x2040

// Scopes of "Press to Create Goal" and "Press to Delete Goal".
#define SETUP_GOAL_SCOPE_PLATFORM      0
#define SETUP_GOAL_SCOPE_PROCESSOR     1
#define SETUP_GOAL_SCOPE_UNCONFIGURED  2

// Marks present processors, processors with an unconfigured module and
// processors holding a namespace in the browser's SetupVar.
EFI_STATUS EFIAPI UpdateSocketListForGoal (VOID);

// Refreshes mPendingGoal and the pending-goal flags of the browser.
EFI_STATUS EFIAPI UpdatePendingGoalForGoal (VOID);

// After a create-goal check box changed: a processor holding a namespace is
// refused with a warning and its box cleared again. Other questions are
// ignored.
EFI_STATUS EFIAPI SetupCheckNamespace (IN UINT16 QuestionId);

EFI_STATUS EFIAPI SetupCreateGoal (VOID);
EFI_STATUS EFIAPI SetupDeleteGoal (VOID);

// Fills the pending-goal page of socket SocketIndex (the link's question
// less 0x2040).
EFI_STATUS EFIAPI UpdatePendingGoalDetailsForPoocessor (IN UINT16 SocketIndex);

#endif
