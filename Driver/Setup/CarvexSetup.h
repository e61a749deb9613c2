/** @file
  Setup form set "Intel Optane DCPMMs": installation, configuration access
  (extract, route, callback), message boxes and the helpers every page
  builder shares.
**/
#ifndef SETUP_CARVEX_SETUP_H_
#define SETUP_CARVEX_SETUP_H_

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>
#include <Protocol/HiiConfigAccess.h>

// Handle carrying the vendor device path and the configuration access
// protocol; NULL until the form set is installed.
extern EFI_HANDLE  mDriverHandle;
// HII handle of the setup package list; NULL when adding it failed.
extern EFI_HII_HANDLE  mHiiHandle;

// {470DB1CE-ABA5-4AF6-8E74-0E1DA1D19297}: the driver's HII package list.
CARVEX_GUID_DEFINE (gCarvexSetupPackageListGuid, 0x470DB1CE, 0xABA5, 0x4AF6, 0x8E, 0x74, 0x0E, 0x1D, 0xA1, 0xD1, 0x92, 0x97);

// Message types (box titles) and box types of DisplayMessageBox.
#define SETUP_MESSAGE_TYPE_ERROR    1
#define SETUP_MESSAGE_TYPE_WARNING  2
#define SETUP_MESSAGE_TYPE_INFO     3
#define SETUP_MESSAGE_BOX_REPORT    1
#define SETUP_MESSAGE_BOX_ASK       3
#define SETUP_MESSAGE_SELECTION_YES  0
#define SETUP_MESSAGE_SELECTION_NO   1

// Installs the form set; called at before-post-complete when the NVM DIMM
// config protocol is present.
EFI_STATUS EFIAPI CarvexSetupBeforePostComplete (VOID);

EFI_STATUS EFIAPI SetupExtractConfig (
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN CONST CHAR16                          *Request,
  OUT CONST CHAR16                         **Progress,
  OUT CHAR16                               **Results
  );
EFI_STATUS EFIAPI SetupRouteConfig (
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN CONST CHAR16                          *Configuration,
  OUT CONST CHAR16                         **Progress
  );
EFI_STATUS EFIAPI SetupCallback (
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN EFI_BROWSER_ACTION                    Action,
  IN EFI_QUESTION_ID                       QuestionId,
  IN UINT8                                 Type,
  IN OUT EFI_IFR_TYPE_VALUE                *Value,
  OUT EFI_BROWSER_ACTION_REQUEST           *ActionRequest
  );

// A new opcode handle holding one label opcode; NULL when out of resources.
// Page builders open their start label and the end label 0xFFFF with it.
VOID *EFIAPI CreateLabelOpcodeHandle (IN UINT16 LabelNumber);

// Shows StringId under the title of MessageType. BoxType 3 asks, repeating
// until the answer is 0 (yes) or 1 (no), and stores it in *Selection; when
// it ends without an answer (no message box service, no text, a failing
// box) it stores 1. Without the platform's message box nothing is shown.
VOID EFIAPI DisplayMessageBox (
  IN EFI_HII_HANDLE  Handle,
  IN UINT32          MessageType,
  IN UINT16          StringId,
  IN UINT8           BoxType,
  OUT UINT8          *Selection OPTIONAL
  );

// After the namespace capacity was typed: tells the user when it is invalid
// or 0 (all free capacity). Returns the conversion's status.
EFI_STATUS EFIAPI SetupCheckIfInvalid (VOID);

#endif
