/** @file
  The security jumper over the platform's GPIO pads. The jumper pulls its
  pad low when fitted.
**/
#include "SecurityGpioConfigLib.h"
#include "../PhysicalPresenceHandlerSupportLib/PhysicalPresenceHandlerSupportLib.h"
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/UefiBootServicesTableLib.h>

STATIC
CARVEX_PCH_GPIO_PROTOCOL *
LocateGpio (
  VOID
  )
{
  CARVEX_PCH_GPIO_PROTOCOL  *pGpio;

  pGpio = NULL;
  if (EFI_ERROR (gBS->LocateProtocol (&gCarvexPchGpioProtocolGuid, NULL, (VOID **)&pGpio))) {
    return NULL;
  }

  return pGpio;
}

// Without the GPIO service the jumper reads as not fitted.
STATIC
BOOLEAN
EFIAPI
JumperIsAsserted (
  IN UINT8  Param
  )
{
  CARVEX_PCH_GPIO_PROTOCOL  *pGpio;
  UINT32                    InputValue;

  (VOID)Param;
  pGpio = LocateGpio ();
  if (pGpio == NULL) {
    return FALSE;
  }

  InputValue = 1;
  if (EFI_ERROR (pGpio->GetInputValue (pGpio, SECURITY_JUMPER_GPIO_PAD, &InputValue))) {
    return FALSE;
  }

  return InputValue == 0;
}

STATIC
EFI_STATUS
EFIAPI
JumperUnsupported (
  VOID
  )
{
  return EFI_UNSUPPORTED;
}

STATIC
EFI_STATUS
EFIAPI
JumperNothing (
  VOID
  )
{
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
SecurityGpioConfigLibConstructor (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  CARVEX_PCH_GPIO_PROTOCOL  *pGpio;
  GPIO_CONFIG               Config;
  PhysicalPresenceHandler   Handler;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  pGpio = LocateGpio ();
  if (pGpio != NULL) {
    ZeroMem (&Config, sizeof (Config));
    pGpio->GetPadConfig (pGpio, SECURITY_JUMPER_GPIO_PAD, &Config);
    Config.Dw[0] = (Config.Dw[0] & SECURITY_JUMPER_CONFIG_KEEP) | SECURITY_JUMPER_CONFIG_INPUT;
    pGpio->SetPadConfig (pGpio, SECURITY_JUMPER_GPIO_PAD, &Config);
  } else {
    DEBUG ((DEBUG_INFO, "%a:No GPIO service, the jumper reads as not fitted\n", __func__));
  }

  ZeroMem (&Handler, sizeof (Handler));
  Handler.Name       = u"Jumper Handle";
  CopyGuid (&Handler.MethodGuid, &gPhysicalPresenceJumperGuid);
  Handler.IsAsserted = JumperIsAsserted;
  Handler.Operation2 = JumperUnsupported;
  Handler.Operation3 = JumperNothing;
  PPRegister (&Handler);
  return EFI_SUCCESS;
}
