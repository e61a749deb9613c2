/** @file
  Namespaces: the list of all namespaces as driver records, and create,
  rename and delete through the NVM DIMM config protocol. Rename and delete
  ask the user once before forcing an operation the protocol refused.
**/
#ifndef NVM_DIMM_CONFIG_NAMESPACES_H_
#define NVM_DIMM_CONFIG_NAMESPACES_H_

#include <Uefi.h>
#include <NvmDimmRecords.h>
#include <Uefi/UefiInternalFormRepresentation.h>

typedef struct {
  UINT16      NamespaceId;
  EFI_GUID    NamespaceGuid;
  CHAR8       Name[NAMESPACE_NAME_LENGTH];  // ASCII, as the protocol holds it
  UINT64      BlockSize;                    // capacity = BlockSize * BlockCount
  UINT64      BlockCount;
  UINT16      HealthState;                  // 0 Unknown .. 4 Unsupported
  UINT32      RegionId;
} NAMESPACE_DETAILS;

// Setup strings of the force questions.
#define STR_NAMESPACE_DELETE_FORCE_QUESTION  0x024A
#define STR_NAMESPACE_MODIFY_FORCE_QUESTION  0x024B

// A new zero-filled array the caller frees with one FreePool, in list order;
// no namespaces (or a failure): NULL and 0.
EFI_STATUS EFIAPI GetNamespaceDetails (OUT NAMESPACE_DETAILS **ppNamespaces, OUT UINT32 *pNamespaceCount);

// Capacity 0 takes all free capacity of the region. *pNvmStatus (optional)
// receives the protocol's NVM status code.
EFI_STATUS EFIAPI CreateNamespace (IN UINT32 RegionId, IN CHAR8 *Name, IN UINT64 Capacity, OUT UINT16 *pNvmStatus OPTIONAL);

// When the protocol asks for force and AskToForce is TRUE, the user is asked
// once (a warning box on HiiHandle); only a yes retries with force.
EFI_STATUS EFIAPI ModifyNamespace (IN UINT16 NamespaceId, IN CHAR8 *Name, IN BOOLEAN AskToForce, IN EFI_HII_HANDLE HiiHandle);
EFI_STATUS EFIAPI DeleteNamespace (IN UINT16 NamespaceId, IN BOOLEAN AskToForce, IN EFI_HII_HANDLE HiiHandle);

#endif
