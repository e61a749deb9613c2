/** @file
  What the platform does to the modules at power-up and in its memory
  initialisation: security back to its power-on state, pending goals
  applied, regions re-formed, erase-all requests carried out.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseMemoryLib.h>

VOID
EFIAPI
NvmModelMemoryInit (
  IN OUT NVM_MODEL  *Model
  )
{
  UINT32          Index;
  NVM_MODEL_DIMM  *Dimm;
  BOOLEAN         Touched[NVM_MAX_DIMMS];
  BOOLEAN         Any;

  Any = FALSE;
  for (Index = 0; Index < NVM_MAX_DIMMS; Index++) {
    Touched[Index] = FALSE;
    if (Index >= Model->DimmCount || !Model->Dimms[Index].Goal.Pending) {
      continue;
    }
    Dimm                       = &Model->Dimms[Index];
    Dimm->VolatileCapacity     = Dimm->Goal.VolatileSize;
    Dimm->AppDirectCapacity    = Dimm->Goal.AppDirectSize;
    Dimm->ReservedCapacity     = Dimm->Goal.ReservedSize;
    Dimm->UnconfiguredCapacity = 0;
    Dimm->InaccessibleCapacity = Dimm->RawCapacity - Dimm->VolatileCapacity - Dimm->AppDirectCapacity - Dimm->ReservedCapacity;
    Dimm->PersistentMemType    = Dimm->Goal.PersistentMemType;
    Dimm->Configured           = 1;
    ZeroMem (&Dimm->Goal, sizeof (Dimm->Goal));
    Touched[Index] = TRUE;
    Any            = TRUE;
  }
  if (Any) {
    NvmFormRegions (Model, Touched);
  }
}

VOID
EFIAPI
NvmModelPowerCycle (
  IN OUT NVM_MODEL  *Model
  )
{
  UINT32          Index;
  NVM_MODEL_DIMM  *Dimm;

  Model->BootCount++;
  for (Index = 0; Index < Model->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
    Dimm                   = &Model->Dimms[Index];
    Dimm->WrongPassphrases = 0;
    Dimm->Locked           = Dimm->SecurityEnabled;
    Dimm->Frozen           = Dimm->FreezeAtPowerUp;
    // A scrub does not survive losing power; it resumes only when asked.
    if (Dimm->ArsInProgress) {
      Dimm->ArsInProgress = 0;
      Dimm->ArsStatus     = ARS_STATUS_ABORTED;
    }
  }
  NvmModelMemoryInit (Model);
}

VOID
EFIAPI
NvmModelEraseAll (
  IN OUT NVM_MODEL  *Model
  )
{
  UINTN           Index;
  NVM_MODEL_DIMM  *Dimm;

  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    ZeroMem (&Model->Namespaces[Index], sizeof (Model->Namespaces[Index]));
  }
  for (Index = 0; Index < Model->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
    Dimm                   = &Model->Dimms[Index];
    Dimm->SecurityEnabled  = 0;
    Dimm->Locked           = 0;
    Dimm->WrongPassphrases = 0;
    ZeroMemSecure (Dimm->Passphrase, sizeof (Dimm->Passphrase));
    Dimm->EraseCount++;
  }
}
