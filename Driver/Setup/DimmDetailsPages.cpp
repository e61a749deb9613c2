/** @file
  Module details pages. "Intel Optane DCPMMs Details" gets one link per
  present processor; following a link fills the shared processor page with
  that processor's modules, ordered by the slot number in their locators.

  The processor page has six blocks. A module whose slot number sorts to the
  seventh place or later has no block: it is left off the page and named in
  the error log, and ModuleCount counts only the blocks filled.
**/
#include "DimmDetailsPages.h"
#include "CarvexSetup.h"
#include "CarvexSetupStrDefs.h"
#include "CarvexSetupVar.h"
#include "../Library/MultiLanguageLib/MultiLanguageLib.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Guid/CarvexVariables.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>

#define SETUP_FORMAT_BUFFER_SIZE  200

// Slot numbers of one processor's modules; at most this many are sorted.
#define SETUP_LOCATOR_TABLE_SIZE  48

// Characters of a device locator before its slot number.
#define LOCATOR_PREFIX_CHARS  5

// Link question of socket s is SETUP_QID_SOCKET_LINK_BASE + s.
#define SETUP_QID_SOCKET_LINK_BASE  0x1000

// The socket list as last queried for the links.
STATIC UINT16  mSocketIds[SETUP_MAX_SOCKETS];
STATIC UINT32  mSocketCount;

// Slot numbers of the processor page being built, sorted ascending; and
// which positions a module has already taken.
STATIC UINT64   mLocatorTable[SETUP_LOCATOR_TABLE_SIZE];
STATIC BOOLEAN  mLocatorTaken[SETUP_LOCATOR_TABLE_SIZE];

// The processor page's buffer, built whole before it goes to the browser.
STATIC SETUP_DIMM_DETAILS_VAR  mDimmDetailsImage;

UINT64
EFIAPI
LocatorSlotNumber (
  IN CONST CHAR16  *pLocator,
  IN UINTN         LocatorLength
  )
{
  UINTN   Index;
  UINT64  Number;

  Index = LOCATOR_PREFIX_CHARS;
  if ((pLocator == NULL) || (StrnLenS (pLocator, LocatorLength) <= Index)) {
    return 0;
  }

  while ((Index < LocatorLength) && ((pLocator[Index] == u' ') || (pLocator[Index] == u'\t'))) {
    Index++;
  }

  while ((Index < LocatorLength) && (pLocator[Index] == u'0')) {
    Index++;
  }

  Number = 0;
  while ((Index < LocatorLength) && (pLocator[Index] >= u'0') && (pLocator[Index] <= u'9')) {
    if (Number > (MAX_UINT64 - 9) / 10) {
      return MAX_UINT64;
    }

    Number = Number * 10 + (UINT64)(pLocator[Index] - u'0');
    Index++;
  }

  return Number;
}

EFI_STATUS
EFIAPI
UpdateDimmDetailsForm (
  VOID
  )
{
  EFI_STATUS  Status;
  VOID        *pStartOpCodeHandle;
  VOID        *pEndOpCodeHandle;
  CHAR16      *pFormatStr;
  UINT16      Processor;
  UINT32      Index;
  UINT16      PromptId;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  mSocketCount = SETUP_MAX_SOCKETS;
  ZeroMem (mSocketIds, sizeof (mSocketIds));
  Status = GetSockets (mSocketIds, &mSocketCount);
  if ((Status != EFI_SUCCESS) || (mSocketCount == 0)) {
    DEBUG ((DEBUG_ERROR, "%a:GetSockets:%r:%d\n", __func__, Status, mSocketCount));
    mSocketCount = 0;
    if (!EFI_ERROR (Status)) {
      Status = EFI_NOT_FOUND;
    }

    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  pStartOpCodeHandle = CreateLabelOpcodeHandle (SETUP_LABEL_DIMM_DETAILS);
  pEndOpCodeHandle   = (pStartOpCodeHandle == NULL) ? NULL : CreateLabelOpcodeHandle (SETUP_LABEL_END);
  pFormatStr         = (pEndOpCodeHandle == NULL) ? NULL : (CHAR16 *)AllocateZeroPool (SETUP_FORMAT_BUFFER_SIZE);
  if (pFormatStr == NULL) {
    if (pStartOpCodeHandle == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Allocate StartOpCodeHandle failure\n", __func__));
    } else if (pEndOpCodeHandle == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Allocate EndOpCodeHandle failure\n", __func__));
    } else {
      DEBUG ((DEBUG_ERROR, "%a:Fail to allocate FormatStr\n", __func__));
    }

    Status = EFI_OUT_OF_RESOURCES;
  } else {
    // Ascending processor order, whatever order the sockets were reported in.
    for (Processor = 0; Processor < SETUP_MAX_SOCKETS; Processor++) {
      for (Index = 0; Index < mSocketCount; Index++) {
        if (mSocketIds[Index] == Processor) {
          break;
        }
      }

      if (Index == mSocketCount) {
        continue;
      }

      PromptId = SetMultiLanguage (
                   mHiiHandle,
                   0,
                   pFormatStr,
                   SETUP_FORMAT_BUFFER_SIZE,
                   NULL,
                   STR_SETUP_DIMM_DETAILS_PROCESSOR,
                   (UINT32)Processor + 1
                   );
      HiiCreateGotoOpCode (
        pStartOpCodeHandle,
        SETUP_FORM_SOCKET_DIMMS,
        PromptId,
        STR_SETUP_DIMM_DETAILS_PROCESSOR_HELP,
        EFI_IFR_FLAG_CALLBACK,
        (EFI_QUESTION_ID)(SETUP_QID_SOCKET_LINK_BASE + Processor)
        );
    }

    Status = HiiUpdateForm (mHiiHandle, &gCarvexSetupFormSetGuid, SETUP_FORM_DIMM_DETAILS, pStartOpCodeHandle, pEndOpCodeHandle);
  }

  if (pStartOpCodeHandle != NULL) {
    HiiFreeOpCodeHandle (pStartOpCodeHandle);
  }

  if (pEndOpCodeHandle != NULL) {
    HiiFreeOpCodeHandle (pEndOpCodeHandle);
  }

  if (pFormatStr != NULL) {
    FreePool (pFormatStr);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Writes a capacity text into a text field of a store image.
STATIC
VOID
PutCapacity (
  OUT UINT8   *pImage,
  IN  UINTN   FieldOffset,
  IN  UINT64  Bytes,
  OUT CHAR16  *pText
  )
{
  ZeroMem (pText, SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
  ConvertCapacityToStr (Bytes, pText, SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
  CopyMem (pImage + FieldOffset, pText, SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
}

// Fills block Block of the page image from one module's record.
STATIC
VOID
FillModuleBlock (
  IN CONST DIMM_DETAILS  *pDimm,
  IN UINTN               Block
  )
{
  UINT8   *pBlock;
  CHAR16  Name[DIMM_DEVICE_LOCATOR_LENGTH + 1];
  CHAR16  Text[SETUP_CAPACITY_STR_LEN];

  pBlock = (UINT8 *)&mDimmDetailsImage + OFFSET_OF (SETUP_DIMM_DETAILS_VAR, ModuleBlock) + Block * sizeof (SETUP_MODULE_BLOCK);
  CopyMem (pBlock + OFFSET_OF (SETUP_MODULE_BLOCK, ModuleName), pDimm->DeviceLocator, sizeof (SETUP_MODULE_BLOCK::ModuleName));
  CopyMem (pBlock + OFFSET_OF (SETUP_MODULE_BLOCK, FwVersionStr), pDimm->FwVer, sizeof (SETUP_MODULE_BLOCK::FwVersionStr));

  PutCapacity (pBlock, OFFSET_OF (SETUP_MODULE_BLOCK, RawCapacityStr), pDimm->Capacity, Text);
  DEBUG ((DEBUG_WARN, "%a:Capacity:%lx:%s\n", __func__, pDimm->Capacity, Text));
  PutCapacity (pBlock, OFFSET_OF (SETUP_MODULE_BLOCK, MemoryCapacityStr), pDimm->VolatileCapacity, Text);
  DEBUG ((DEBUG_WARN, "%a:VolatileCapacity:%lx:%s\n", __func__, pDimm->VolatileCapacity, Text));
  PutCapacity (pBlock, OFFSET_OF (SETUP_MODULE_BLOCK, AppDirectCapacityStr), pDimm->AppDirectCapacity, Text);
  DEBUG ((DEBUG_WARN, "%a:AppDirectCapacity:%lx:%s\n", __func__, pDimm->AppDirectCapacity, Text));
  PutCapacity (pBlock, OFFSET_OF (SETUP_MODULE_BLOCK, UnconfiguredCapacityStr), pDimm->UnconfiguredCapacity, Text);
  DEBUG ((DEBUG_WARN, "%a:UnconfiguredCapacity:%lx:%s\n", __func__, pDimm->UnconfiguredCapacity, Text));
  PutCapacity (pBlock, OFFSET_OF (SETUP_MODULE_BLOCK, InaccessibleCapacityStr), pDimm->InaccessibleCapacity, Text);
  DEBUG ((DEBUG_WARN, "%a:InaccessibleCapacity:%lx:%s\n", __func__, pDimm->InaccessibleCapacity, Text));
  PutCapacity (pBlock, OFFSET_OF (SETUP_MODULE_BLOCK, ReservedCapacityStr), pDimm->ReservedCapacity, Text);
  DEBUG ((DEBUG_WARN, "%a:ReservedCapacity:%lx:%s\n", __func__, pDimm->ReservedCapacity, Text));

  pBlock[OFFSET_OF (SETUP_MODULE_BLOCK, PercentageRemaining)] = pDimm->PercentageRemaining;
  pBlock[OFFSET_OF (SETUP_MODULE_BLOCK, SecurityState)]       = pDimm->SecurityState;
  pBlock[OFFSET_OF (SETUP_MODULE_BLOCK, Configured)]          = pDimm->Configured;

  // The subtitle needs a terminated copy: a locator may fill its field.
  ZeroMem (Name, sizeof (Name));
  CopyMem (Name, pDimm->DeviceLocator, sizeof (pDimm->DeviceLocator));
  HiiSetString (mHiiHandle, (EFI_STRING_ID)(STR_SETUP_DIMM_NAME_0 + Block), Name, NULL);

  DEBUG ((DEBUG_WARN, "%a:DeviceLocator:%s\n", __func__, Name));
  CopyMem (Text, pDimm->FwVer, sizeof (Text));
  Text[SETUP_CAPACITY_STR_LEN - 1] = 0;
  DEBUG ((DEBUG_WARN, "%a:FwVer:%s\n", __func__, Text));
  DEBUG ((DEBUG_WARN, "%a:Configured:%d:%d\n", __func__, pDimm->Configured, pBlock[OFFSET_OF (SETUP_MODULE_BLOCK, Configured)]));
  DEBUG ((DEBUG_WARN, "%a:PercentageRemaining:%d:%d\n", __func__, pDimm->PercentageRemaining, pBlock[OFFSET_OF (SETUP_MODULE_BLOCK, PercentageRemaining)]));
  DEBUG ((DEBUG_WARN, "%a:SecurityState:%d:%d\n", __func__, pDimm->SecurityState, pBlock[OFFSET_OF (SETUP_MODULE_BLOCK, SecurityState)]));
}

EFI_STATUS
EFIAPI
UpdateSocketDimmDetailsForm (
  IN UINT32  SocketIndex
  )
{
  EFI_STATUS    Status;
  CHAR16        *pFormatStr;
  DIMM_DETAILS  *pDimmDetails;
  UINT32        DimmCount;
  UINT32        Index;
  UINT32        Index2;
  UINT32        Used;
  UINT32        Block;
  UINT64        Number;
  UINT32        ModuleCount;
  BOOLEAN       Written;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  ZeroMem (mLocatorTable, sizeof (mLocatorTable));
  ZeroMem (mLocatorTaken, sizeof (mLocatorTaken));
  pFormatStr = (CHAR16 *)AllocateZeroPool (SETUP_FORMAT_BUFFER_SIZE);
  if (pFormatStr == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to allocate FormatStr\n", __func__));
    Status = EFI_OUT_OF_RESOURCES;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  SetMultiLanguage (
    mHiiHandle,
    STR_SETUP_SOCKET_DETAILS_TITLE,
    pFormatStr,
    SETUP_FORMAT_BUFFER_SIZE,
    NULL,
    STR_SETUP_DIMM_DETAILS_PROCESSOR,
    SocketIndex + 1
    );

  pDimmDetails = NULL;
  DimmCount    = 0;
  Status       = GetDimmDetails (&pDimmDetails, &DimmCount);
  if (EFI_ERROR (Status) || (DimmCount == 0) || (pDimmDetails == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimmDetails:%r:%d\n", __func__, Status, DimmCount));
    if (pDimmDetails != NULL) {
      FreePool (pDimmDetails);
    }

    FreePool (pFormatStr);
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  // The processor's slot numbers, in query order.
  Used = 0;
  for (Index = 0; Index < DimmCount; Index++) {
    if (pDimmDetails[Index].SocketId != SocketIndex) {
      continue;
    }

    Number = LocatorSlotNumber (pDimmDetails[Index].DeviceLocator, DIMM_DEVICE_LOCATOR_LENGTH);
    DEBUG ((DEBUG_INFO, "%a:SocketId %d:%d\n", __func__, SocketIndex, pDimmDetails[Index].SocketId));
    DEBUG ((DEBUG_INFO, "%a:DecimalStr:%ld:\n", __func__, Number));
    if (Used == SETUP_LOCATOR_TABLE_SIZE) {
      DEBUG ((DEBUG_ERROR, "%a:More than %d modules on socket %d\n", __func__, SETUP_LOCATOR_TABLE_SIZE, SocketIndex));
      break;
    }

    mLocatorTable[Used++] = Number;
  }

  for (Index = 0; Index < Used; Index++) {
    DEBUG ((DEBUG_INFO, "%a:DeviceLocator %d:%ld\n", __func__, Index, mLocatorTable[Index]));
  }

  // Exchange sort over the used entries.
  for (Index = 0; Index + 1 < Used; Index++) {
    for (Index2 = Index + 1; Index2 < Used; Index2++) {
      if (mLocatorTable[Index2] < mLocatorTable[Index]) {
        Number                = mLocatorTable[Index];
        mLocatorTable[Index]  = mLocatorTable[Index2];
        mLocatorTable[Index2] = Number;
      }
    }
  }

  for (Index = 0; Index < Used; Index++) {
    DEBUG ((DEBUG_INFO, "%a:DeviceLocator %d:%ld\n", __func__, Index, mLocatorTable[Index]));
  }

  DEBUG ((DEBUG_ERROR, "%a:Index2:%d:\n", __func__, Used));

  // Each module takes the first free position of its number, so modules
  // whose locators give the same number keep blocks of their own.
  ZeroMem (&mDimmDetailsImage, sizeof (mDimmDetailsImage));
  ModuleCount = 0;
  for (Index = 0; Index < DimmCount; Index++) {
    if (pDimmDetails[Index].SocketId != SocketIndex) {
      continue;
    }

    Number = LocatorSlotNumber (pDimmDetails[Index].DeviceLocator, DIMM_DEVICE_LOCATOR_LENGTH);
    for (Block = 0; Block < Used; Block++) {
      if (!mLocatorTaken[Block] && (mLocatorTable[Block] == Number)) {
        break;
      }
    }

    if (Block == Used) {
      // Beyond the sorted table: more modules than the table holds.
      continue;
    }

    mLocatorTaken[Block] = TRUE;
    if (Block >= SETUP_MAX_DIMMS_PER_SOCKET) {
      DEBUG ((DEBUG_ERROR, "%a:No block for module %d (slot %ld) on socket %d\n", __func__, pDimmDetails[Index].DimmID, Number, SocketIndex));
      continue;
    }

    FillModuleBlock (&pDimmDetails[Index], Block);
    ModuleCount++;
  }

  mDimmDetailsImage.ModuleCount = ModuleCount;
  DEBUG ((DEBUG_WARN, "%a:Socket %d has %d intel NVM DIMMs\n", __func__, SocketIndex, ModuleCount));

  Written = HiiSetBrowserData (&gCarvexSetupFormSetGuid, SETUP_DIMM_DETAILS_VAR_NAME, sizeof (mDimmDetailsImage), (UINT8 *)&mDimmDetailsImage, NULL);
  DEBUG ((DEBUG_WARN, "%a:HiiSetBrowserData:%d\n", __func__, (UINT32)Written));

  FreePool (pFormatStr);
  FreePool (pDimmDetails);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}
