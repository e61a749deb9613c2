/** @file
  Region pages. Every visit to "Regions" reads the regions again, keeps a
  display-ready page record of each and rebuilds the list; following an
  entry hands that entry's record to the browser, so "Region Details" shows
  what the list showed even when the regions changed in between.
**/
#include "RegionPages.h"
#include "CarvexSetup.h"
#include "CarvexSetupStrDefs.h"
#include "../Library/MultiLanguageLib/MultiLanguageLib.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Guid/CarvexVariables.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>

#define SETUP_FORMAT_BUFFER_SIZE  200

REGION_DETAILS            *mpRegionDetails;
UINT32                    mRegionCount;
SETUP_REGION_DETAILS_VAR  *mpSetupHiiRegionDetails;

// Bytes of the region identifier and socket texts, NUL included.
#define REGION_ID_TEXT_SIZE      sizeof (SETUP_REGION_DETAILS_VAR::RegionIdStr)
#define REGION_SOCKET_TEXT_SIZE  sizeof (SETUP_REGION_DETAILS_VAR::SocketStr)
#define REGION_TYPE_TEXT_CHARS   (sizeof (SETUP_REGION_DETAILS_VAR::PersistentMemoryTypeStr) / sizeof (CHAR16))

// Writes a capacity text into a field of a page record.
STATIC
VOID
PutCapacity (
  OUT UINT8   *pRecord,
  IN  UINTN   FieldOffset,
  IN  UINT64  Bytes,
  OUT CHAR16  *pText
  )
{
  ZeroMem (pText, SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
  ConvertCapacityToStr (Bytes, pText, SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
  CopyMem (pRecord + FieldOffset, pText, SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
}

// Fills the page record of one region. pProcessorFormat ("Processor %d")
// and the two type names may be NULL; their fields then stay empty.
STATIC
VOID
FillRegionRecord (
  IN  CONST REGION_DETAILS  *pRegion,
  OUT UINT8                 *pRecord,
  IN  CONST CHAR16          *pProcessorFormat OPTIONAL,
  IN  CONST CHAR16          *pAppDirect,
  IN  CONST CHAR16          *pAppDirectNi
  )
{
  CHAR16  IdText[REGION_ID_TEXT_SIZE / sizeof (CHAR16)];
  CHAR16  SocketText[REGION_SOCKET_TEXT_SIZE / sizeof (CHAR16)];
  CHAR16  Text[SETUP_CAPACITY_STR_LEN];
  CHAR16  *pTypeText;
  UINTN   TypeLength;

  ZeroMem (IdText, sizeof (IdText));
  UnicodeSPrint (IdText, sizeof (IdText), u"0x%04x", pRegion->RegionId);
  CopyMem (pRecord + OFFSET_OF (SETUP_REGION_DETAILS_VAR, RegionIdStr), IdText, sizeof (IdText));
  DEBUG ((DEBUG_WARN, "%a:RegionId:%x:%s\n", __func__, pRegion->RegionId, IdText));

  ZeroMem (SocketText, sizeof (SocketText));
  if (pProcessorFormat != NULL) {
    UnicodeSPrint (SocketText, sizeof (SocketText), pProcessorFormat, (UINT32)pRegion->SocketId + 1);
  }

  CopyMem (pRecord + OFFSET_OF (SETUP_REGION_DETAILS_VAR, SocketStr), SocketText, sizeof (SocketText));
  DEBUG ((DEBUG_WARN, "%a:Socket:%d:%s\n", __func__, (UINT32)pRegion->SocketId, SocketText));

  PutCapacity (pRecord, OFFSET_OF (SETUP_REGION_DETAILS_VAR, CapacityStr), pRegion->Capacity, Text);
  DEBUG ((DEBUG_WARN, "%a:Capacity:%lx:%s\n", __func__, pRegion->Capacity, Text));
  PutCapacity (pRecord, OFFSET_OF (SETUP_REGION_DETAILS_VAR, FreeCapacityStr), pRegion->FreeCapacity, Text);
  DEBUG ((DEBUG_WARN, "%a:FreeCapacity:%lx:%s\n", __func__, pRegion->FreeCapacity, Text));

  // A type text that fills its field has no terminating NUL.
  pTypeText = NULL;
  ConvertPersistentMemoryTypeToStr (pRegion->RegionType, pAppDirect, pAppDirectNi, &pTypeText);
  if (pTypeText != NULL) {
    TypeLength = StrnLenS (pTypeText, REGION_TYPE_TEXT_CHARS);
    CopyMem (pRecord + OFFSET_OF (SETUP_REGION_DETAILS_VAR, PersistentMemoryTypeStr), pTypeText, TypeLength * sizeof (CHAR16));
    DEBUG ((DEBUG_WARN, "%a:RegionType:%d:%s\n", __func__, (UINT32)pRegion->RegionType, pTypeText));
    FreePool (pTypeText);
  }

  PutCapacity (pRecord, OFFSET_OF (SETUP_REGION_DETAILS_VAR, AppDirNamespaceMaxSizeStr), pRegion->AppDirNamespaceMaxSize, Text);
  DEBUG ((DEBUG_WARN, "%a:AppDirNamespaceMaxSize:%lx:%s\n", __func__, pRegion->AppDirNamespaceMaxSize, Text));
  PutCapacity (pRecord, OFFSET_OF (SETUP_REGION_DETAILS_VAR, AppDirNamespaceMinSizeStr), pRegion->AppDirNamespaceMinSize, Text);
  DEBUG ((DEBUG_WARN, "%a:AppDirNamespaceMinSize:%lx:%s\n", __func__, pRegion->AppDirNamespaceMinSize, Text));
}

// Appends one list entry: the link to the details page, a "Socket" line
// and a "Capacity" line, each with new strings.
STATIC
VOID
AppendRegionEntry (
  IN VOID                  *pStartOpCodeHandle,
  IN UINT32                Index,
  IN CONST REGION_DETAILS  *pRegion,
  IN CONST UINT8           *pRecord,
  IN CHAR16                *pFormatStr
  )
{
  EFI_STRING_ID  StringId;
  CHAR16         Text[SETUP_CAPACITY_STR_LEN + 1];

  ZeroMem (pFormatStr, SETUP_FORMAT_BUFFER_SIZE);
  StringId = SetMultiLanguage (mHiiHandle, 0, pFormatStr, SETUP_FORMAT_BUFFER_SIZE, NULL, STR_SETUP_REGION_LINK, pRegion->RegionId);
  HiiCreateGotoOpCode (
    pStartOpCodeHandle,
    SETUP_FORM_REGION_DETAILS,
    StringId,
    STR_SETUP_REGION_LINK_HELP,
    EFI_IFR_FLAG_CALLBACK,
    (EFI_QUESTION_ID)(SETUP_QID_REGION_LINK_BASE + Index)
    );

  ZeroMem (pFormatStr, SETUP_FORMAT_BUFFER_SIZE);
  StringId = SetMultiLanguage (mHiiHandle, 0, pFormatStr, SETUP_FORMAT_BUFFER_SIZE, NULL, STR_SETUP_REGION_PROCESSOR, (UINT32)pRegion->SocketId + 1);
  HiiCreateTextOpCode (pStartOpCodeHandle, STR_SETUP_REGION_SOCKET, STR_SETUP_REGION_SOCKET_HELP, StringId);

  ZeroMem (Text, sizeof (Text));
  CopyMem (Text, pRecord + OFFSET_OF (SETUP_REGION_DETAILS_VAR, CapacityStr), SETUP_CAPACITY_STR_LEN * sizeof (CHAR16));
  ZeroMem (pFormatStr, SETUP_FORMAT_BUFFER_SIZE);
  UnicodeSPrint (pFormatStr, SETUP_FORMAT_BUFFER_SIZE, u"%s", Text);
  StringId = HiiSetString (mHiiHandle, 0, pFormatStr, NULL);
  HiiCreateTextOpCode (pStartOpCodeHandle, STR_SETUP_REGION_CAPACITY, STR_SETUP_REGION_CAPACITY_HELP, StringId);
}

EFI_STATUS
EFIAPI
UpdateRegionListForm (
  VOID
  )
{
  EFI_STATUS  Status;
  UINT32      Index;
  CHAR16      *pAppDirect;
  CHAR16      *pAppDirectNi;
  CHAR16      *pProcessorFormat;
  VOID        *pStartOpCodeHandle;
  VOID        *pEndOpCodeHandle;
  CHAR16      *pFormatStr;
  UINT8       *pRecord;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (mpRegionDetails != NULL) {
    FreePool (mpRegionDetails);
    mpRegionDetails = NULL;
  }

  mRegionCount = 0;
  if (mpSetupHiiRegionDetails != NULL) {
    FreePool (mpSetupHiiRegionDetails);
    mpSetupHiiRegionDetails = NULL;
  }

  Status = GetRegionDetails (&mpRegionDetails, &mRegionCount);
  DEBUG ((DEBUG_ERROR, "%a:GetRegionDetails:%r:%d:%p\n", __func__, Status, mRegionCount, mpRegionDetails));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetRegionDetails:%r\n", __func__, Status));
    mRegionCount = 0;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  if ((mpRegionDetails == NULL) || (mRegionCount == 0)) {
    // No region: the list is emptied; the details page stays not ready.
    mRegionCount = 0;
  } else {
    mpSetupHiiRegionDetails = (SETUP_REGION_DETAILS_VAR *)AllocateZeroPool ((UINTN)mRegionCount * sizeof (SETUP_REGION_DETAILS_VAR));
    if (mpSetupHiiRegionDetails == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Allocate mpSetupHiiRegionDetails failure\n", __func__));
      Status = EFI_OUT_OF_RESOURCES;
      DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
      return Status;
    }
  }

  pAppDirect       = HiiGetString (mHiiHandle, STR_SETUP_PERSISTENT_MEMORY_APP_DIRECT, NULL);
  pAppDirectNi     = HiiGetString (mHiiHandle, STR_SETUP_PERSISTENT_MEMORY_APP_DIRECT_NI, NULL);
  pProcessorFormat = NULL;
  if ((pAppDirect == NULL) || (pAppDirectNi == NULL)) {
    if (pAppDirect == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Fail to get string for STR_SETUP_PERSISTENT_MEMORY_APP_DIRECT\n", __func__));
    }

    if (pAppDirectNi == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Fail to get string for STR_SETUP_PERSISTENT_MEMORY_APP_DIRECT_NI\n", __func__));
    }

    pStartOpCodeHandle = NULL;
    pEndOpCodeHandle   = NULL;
    pFormatStr         = NULL;
  } else {
    pProcessorFormat = HiiGetString (mHiiHandle, STR_SETUP_REGION_PROCESSOR, NULL);
    if (pProcessorFormat == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Fail to get string for STR_SETUP_REGION_PROCESSOR\n", __func__));
    }

    pStartOpCodeHandle = CreateLabelOpcodeHandle (SETUP_LABEL_REGIONS);
    pEndOpCodeHandle   = (pStartOpCodeHandle == NULL) ? NULL : CreateLabelOpcodeHandle (SETUP_LABEL_END);
    pFormatStr         = (pEndOpCodeHandle == NULL) ? NULL : (CHAR16 *)AllocateZeroPool (SETUP_FORMAT_BUFFER_SIZE);
    if (pStartOpCodeHandle == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Allocate StartOpCodeHandle failure\n", __func__));
      Status = EFI_OUT_OF_RESOURCES;
    } else if (pEndOpCodeHandle == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Allocate EndOpCodeHandle failure\n", __func__));
      Status = EFI_OUT_OF_RESOURCES;
    } else if (pFormatStr == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Fail to allocate FormatStr\n", __func__));
      Status = EFI_OUT_OF_RESOURCES;
    } else {
      for (Index = 0; Index < mRegionCount; Index++) {
        pRecord = (UINT8 *)&mpSetupHiiRegionDetails[Index];
        FillRegionRecord (&mpRegionDetails[Index], pRecord, pProcessorFormat, pAppDirect, pAppDirectNi);
        // Entries past the link range have a record but no question to reach it.
        if (Index < SETUP_MAX_REGION_LINKS) {
          AppendRegionEntry (pStartOpCodeHandle, Index, &mpRegionDetails[Index], pRecord, pFormatStr);
        }
      }

      if (mRegionCount > SETUP_MAX_REGION_LINKS) {
        DEBUG ((DEBUG_ERROR, "%a:Only %d of %d regions listed\n", __func__, SETUP_MAX_REGION_LINKS, mRegionCount));
      }

      Status = HiiUpdateForm (mHiiHandle, &gCarvexSetupFormSetGuid, SETUP_FORM_REGIONS, pStartOpCodeHandle, pEndOpCodeHandle);
    }
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

  if (pAppDirect != NULL) {
    FreePool (pAppDirect);
  }

  if (pAppDirectNi != NULL) {
    FreePool (pAppDirectNi);
  }

  if (pProcessorFormat != NULL) {
    FreePool (pProcessorFormat);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
UpdateRegionDetailsForm (
  IN UINT32  RegionIndex
  )
{
  EFI_STATUS  Status;
  BOOLEAN     Written;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if ((mpSetupHiiRegionDetails == NULL) || (mRegionCount == 0)) {
    DEBUG ((DEBUG_ERROR, "%a:Region details is not ready:%p:%d\n", __func__, mpSetupHiiRegionDetails, mRegionCount));
    Status = EFI_NOT_READY;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  if (RegionIndex >= mRegionCount) {
    DEBUG ((DEBUG_ERROR, "%a:Region Index is not correct:%d:%d\n", __func__, mRegionCount, RegionIndex));
    Status = EFI_INVALID_PARAMETER;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  Written = HiiSetBrowserData (
              &gCarvexSetupFormSetGuid,
              SETUP_REGION_DETAILS_VAR_NAME,
              sizeof (SETUP_REGION_DETAILS_VAR),
              (CONST UINT8 *)&mpSetupHiiRegionDetails[RegionIndex],
              NULL
              );
  DEBUG ((DEBUG_WARN, "%a:HiiSetBrowserData:%d\n", __func__, (UINT32)Written));

  Status = EFI_SUCCESS;
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}
