/** @file
  Address range scrub control through the modules' firmware mailbox. A stop
  followed by a start resumes each module's scrub where it had got to.
**/
#include "Scrub.h"
#include "CarvexConfig.h"
#include "DimmInventory.h"
#include <Protocol/NvmDimmPassThru.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>

STATIC
EFI_STATUS
LocatePassThru (
  OUT NVM_DIMM_PASS_THRU_PROTOCOL  **ppPassThru
  )
{
  EFI_STATUS  Status;

  *ppPassThru = NULL;
  Status      = gBS->LocateProtocol (&gNvmDimmPassThruProtocolGuid, NULL, (VOID **)ppPassThru);
  if (!EFI_ERROR (Status) && (*ppPassThru == NULL)) {
    Status = EFI_NOT_READY;
  }

  return Status;
}

BOOLEAN
EFIAPI
IsArsInProgress (
  VOID
  )
{
  EFI_STATUS  Status;
  UINT8       ArsStatus;

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a LocateCarvexConfigProtocol failed %r\n", __func__, Status));
    return FALSE;
  }

  ArsStatus = 0;
  Status    = mNvmDimmConfigProtocol->GetARSStatus (mNvmDimmConfigProtocol, &ArsStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a: GetARSStatus failed %r\n", __func__, Status));
    return FALSE;
  }

  if (ArsStatus == ARS_STATUS_IN_PROGRESS) {
    DEBUG ((DEBUG_ERROR, "%a: ARS in progress\n", __func__));
    return TRUE;
  }

  return FALSE;
}

EFI_STATUS
EFIAPI
GetDcpmmArsConfig (
  IN  UINT32  DimmHandle,
  OUT UINT8   *Enabled,
  OUT UINT64  *CurrentAddress,
  OUT UINT64  *EndAddress
  )
{
  EFI_STATUS                   Status;
  NVM_DIMM_PASS_THRU_PROTOCOL  *pPassThru;
  NVM_PASS_THRU_INPUT          *pInput;
  NVM_PASS_THRU_OUTPUT         *pOutput;
  UINT8                        MailboxStatus;
  UINT64                       StartAddress;
  CONST UINT8                  *pPayload;

  if ((Enabled == NULL) || (CurrentAddress == NULL) || (EndAddress == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a entry with :%r\n", __func__, EFI_INVALID_PARAMETER));
    return EFI_INVALID_PARAMETER;
  }

  // A get request travels as its 16-byte header.
  pInput  = (NVM_PASS_THRU_INPUT *)AllocateZeroPool (PT_GET_INPUT_PACKET_SIZE);
  pOutput = (NVM_PASS_THRU_OUTPUT *)AllocateZeroPool (sizeof (NVM_PASS_THRU_OUTPUT));
  if ((pInput == NULL) || (pOutput == NULL)) {
    Status = EFI_OUT_OF_RESOURCES;
    DEBUG ((DEBUG_ERROR, "%a resource has run out :%r\n", __func__, Status));
    goto Finish;
  }

  Status = LocatePassThru (&pPassThru);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to locate the NVM DIMM config protocol: %r\n", __func__, Status));
    goto Finish;
  }

  pInput->Opcode             = PT_OPCODE_GET_FEATURES;
  pInput->SubOpcode          = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
  pInput->InputPayloadSize   = 0;
  pOutput->OutputPayloadSize = PT_PAYLOAD_SIZE;
  MailboxStatus              = 0;

  Status = pPassThru->PassThru (NULL, DimmHandle, pInput, pOutput, PT_TIMEOUT_DEFAULT, &MailboxStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((
      DEBUG_ERROR,
      "%a:Error detected when sending DcpmmFisRequest command (RC =:%r mailbox status %r\n",
      __func__,
      Status,
      (EFI_STATUS)MailboxStatus
      ));
    goto Finish;
  }

  // Packed payload: copy the addresses out byte for byte.
  pPayload = reinterpret_cast<CONST UINT8 *>(pOutput) + OFFSET_OF (NVM_PASS_THRU_OUTPUT, OutputPayload);
  *Enabled = pPayload[OFFSET_OF (NVM_ARS_PAYLOAD, Enable)];
  CopyMem (&StartAddress, pPayload + OFFSET_OF (NVM_ARS_PAYLOAD, DpaStartAddress), sizeof (UINT64));
  CopyMem (EndAddress, pPayload + OFFSET_OF (NVM_ARS_PAYLOAD, DpaEndAddress), sizeof (UINT64));
  CopyMem (CurrentAddress, pPayload + OFFSET_OF (NVM_ARS_PAYLOAD, DpaCurrentAddress), sizeof (UINT64));
  if (*Enabled != 0) {
    DEBUG ((
      DEBUG_ERROR,
      "%a:ARS enabled Dpa Start Adress0x%lx Dpa End Address0x%lx Dpa current Ars Address0x%lx\n",
      __func__,
      StartAddress,
      *EndAddress,
      *CurrentAddress
      ));
  } else {
    DEBUG ((
      DEBUG_ERROR,
      "%a:ARS Not enabled Dpa Start Adress0x%lx Dpa End Address0x%lx Dpa current Ars Address0x%lx\n",
      __func__,
      StartAddress,
      *EndAddress,
      *CurrentAddress
      ));
  }

Finish:
  if (pInput != NULL) {
    FreePool (pInput);
  }

  if (pOutput != NULL) {
    FreePool (pOutput);
  }

  return Status;
}

// Sends the set request of every module: Enable 0 stops, 1 starts, from the
// address each module's scrub had reached up to its end address.
STATIC
VOID
SetArsOnEveryDimm (
  IN BOOLEAN                      Stop,
  IN NVM_DIMM_PASS_THRU_PROTOCOL  *pPassThru,
  IN NVM_PASS_THRU_INPUT          *pPacket,
  IN CONST DIMM_DETAILS           *pDimms,
  IN UINT32                       DimmCount
  )
{
  EFI_STATUS  Status;
  UINT8       Enabled;
  UINT64      CurrentAddress;
  UINT64      EndAddress;
  UINT8       MailboxStatus;
  UINT8       *pPayload;

  pPacket->Opcode           = PT_OPCODE_SET_FEATURES;
  pPacket->SubOpcode        = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
  pPacket->InputPayloadSize = PT_PAYLOAD_SIZE;
  pPayload                  = reinterpret_cast<UINT8 *>(pPacket) + OFFSET_OF (NVM_PASS_THRU_INPUT, InputPayload);

  for (UINT32 Index = 0; Index < DimmCount; Index++) {
    Enabled        = 0;
    CurrentAddress = 0;
    EndAddress     = 0;
    Status         = GetDcpmmArsConfig (pDimms[Index].DimmHandle, &Enabled, &CurrentAddress, &EndAddress);
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a Index %d GetDIMMArsConfig ERROR :%r\n", "DcpmmArsOp", Index, Status));
      continue;
    }

    ZeroMem (pPayload, PT_PAYLOAD_SIZE);
    pPayload[OFFSET_OF (NVM_ARS_PAYLOAD, Enable)] = Stop ? 0 : 1;
    CopyMem (pPayload + OFFSET_OF (NVM_ARS_PAYLOAD, DpaStartAddress), &CurrentAddress, sizeof (UINT64));
    CopyMem (pPayload + OFFSET_OF (NVM_ARS_PAYLOAD, DpaEndAddress), &EndAddress, sizeof (UINT64));

    MailboxStatus = 0;
    Status        = pPassThru->PassThru (NULL, pDimms[Index].DimmHandle, pPacket, NULL, PT_TIMEOUT_DEFAULT, &MailboxStatus);
    if (EFI_ERROR (Status)) {
      if (Stop) {
        DEBUG ((DEBUG_ERROR, "%a:Dcpmm %d Ars not in progress :%r mailbox status \n", "DcpmmArsOp", Index, Status, (EFI_STATUS)MailboxStatus));
      } else {
        DEBUG ((DEBUG_ERROR, "%a:Dcpmm %d ARS Enabled failed %r mailbox Status :%r\n", "DcpmmArsOp", Index, Status, (EFI_STATUS)MailboxStatus));
      }
    }
  }
}

EFI_STATUS
EFIAPI
DcpmmArsOp (
  IN BOOLEAN  Stop
  )
{
  EFI_STATUS                   Status;
  NVM_DIMM_PASS_THRU_PROTOCOL  *pPassThru;
  NVM_PASS_THRU_INPUT          *pPacket;
  DIMM_DETAILS                 *pDimms;
  UINT32                       DimmCount;

  DEBUG ((DEBUG_WARN, "%a Enter\n", __func__));

  pPacket   = NULL;
  pDimms    = NULL;
  DimmCount = 0;
  Status    = EFI_SUCCESS;

  if (Stop && !IsArsInProgress ()) {
    goto Report;
  }

  Status = LocatePassThru (&pPassThru);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to locate the NVM DIMM config protocol:%r\n", __func__, Status));
    goto Report;
  }

  pPacket = (NVM_PASS_THRU_INPUT *)AllocateZeroPool (sizeof (NVM_PASS_THRU_INPUT));
  if (pPacket == NULL) {
    Status = EFI_OUT_OF_RESOURCES;
    DEBUG ((DEBUG_ERROR, "%a resource has run out :%r\n", __func__, Status));
    goto Report;
  }

  Status = GetDimmDetails (&pDimms, &DimmCount);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a GetDimmDetails error :%r\n", __func__, Status));
    goto Report;
  }

  if (pDimms != NULL) {
    SetArsOnEveryDimm (Stop, pPassThru, pPacket, pDimms, DimmCount);
  }

  // Per-module failures are in the log only.
  Status = EFI_SUCCESS;

Report:
  if (pPacket != NULL) {
    FreePool (pPacket);
  }

  if (pDimms != NULL) {
    FreePool (pDimms);
  }

  if (!IsArsInProgress ()) {
    DEBUG ((DEBUG_WARN, "%a Ars may already scrub over continue\n", __func__));
  } else if (Stop) {
    DEBUG ((DEBUG_WARN, "%a Ars still in progress, continue\n", __func__));
  } else {
    DEBUG ((DEBUG_WARN, "%a Ars start normal\n", __func__));
  }

  DEBUG ((DEBUG_WARN, "%a Exit\n", __func__));
  return Status;
}
