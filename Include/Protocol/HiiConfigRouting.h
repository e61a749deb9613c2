/** @file
  EFI_HII_CONFIG_ROUTING_PROTOCOL: configuration strings between the browser
  (or any caller) and the drivers that own the storage. One instance exists.
**/
#ifndef PROTOCOL_HII_CONFIG_ROUTING_H_
#define PROTOCOL_HII_CONFIG_ROUTING_H_

#include <Uefi/UefiBaseType.h>
#include <Uefi/UefiInternalFormRepresentation.h>
#include <Protocol/DevicePath.h>

CARVEX_GUID_DEFINE (gEfiHiiConfigRoutingProtocolGuid, 0x587e72d7, 0xcc50, 0x4f79, 0x82, 0x09, 0xca, 0x29, 0x1f, 0xc1, 0xa1, 0x0f);

typedef struct EFI_HII_CONFIG_ROUTING_PROTOCOL EFI_HII_CONFIG_ROUTING_PROTOCOL;

// Every Progress points into the caller's own (read-only) input string: at
// its NUL on success, at the element that failed otherwise.

typedef EFI_STATUS (EFIAPI *EFI_HII_EXTRACT_CONFIG)(
  IN CONST EFI_HII_CONFIG_ROUTING_PROTOCOL  *This,
  IN CONST CHAR16                           *Request,
  OUT CONST CHAR16                          **Progress,
  OUT CHAR16                                **Results
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_EXPORT_CONFIG)(
  IN CONST EFI_HII_CONFIG_ROUTING_PROTOCOL  *This,
  OUT CHAR16                                **Results
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_ROUTE_CONFIG)(
  IN CONST EFI_HII_CONFIG_ROUTING_PROTOCOL  *This,
  IN CONST CHAR16                           *Configuration,
  OUT CONST CHAR16                          **Progress
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_BLOCK_TO_CONFIG)(
  IN CONST EFI_HII_CONFIG_ROUTING_PROTOCOL  *This,
  IN CONST CHAR16                           *ConfigRequest,
  IN CONST UINT8                            *Block,
  IN CONST UINTN                            BlockSize,
  OUT CHAR16                                **Config,
  OUT CONST CHAR16                          **Progress
  );

// On success *BlockSize is the largest index written (size - 1).
typedef EFI_STATUS (EFIAPI *EFI_HII_CONFIG_TO_BLOCK)(
  IN CONST EFI_HII_CONFIG_ROUTING_PROTOCOL  *This,
  IN CONST CHAR16                           *ConfigResp,
  IN OUT UINT8                              *Block,
  IN OUT UINTN                              *BlockSize,
  OUT CONST CHAR16                          **Progress
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_GET_ALT_CFG)(
  IN CONST EFI_HII_CONFIG_ROUTING_PROTOCOL  *This,
  IN CONST CHAR16                           *ConfigResp,
  IN CONST EFI_GUID                         *Guid,
  IN CONST CHAR16                           *Name,
  IN CONST EFI_DEVICE_PATH_PROTOCOL         *DevicePath,
  IN CONST UINT16                           *AltCfgId,
  OUT CHAR16                                **AltCfgResp
  );

struct EFI_HII_CONFIG_ROUTING_PROTOCOL {
  EFI_HII_EXTRACT_CONFIG     ExtractConfig;
  EFI_HII_EXPORT_CONFIG      ExportConfig;
  EFI_HII_ROUTE_CONFIG       RouteConfig;
  EFI_HII_BLOCK_TO_CONFIG    BlockToConfig;
  EFI_HII_CONFIG_TO_BLOCK    ConfigToBlock;
  EFI_HII_GET_ALT_CFG        GetAltConfig;
};

static_assert (sizeof (EFI_HII_CONFIG_ROUTING_PROTOCOL) == 48, "HII config routing protocol: 6 members");

#endif
