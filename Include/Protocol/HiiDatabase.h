/** @file
  EFI_HII_DATABASE_PROTOCOL: package lists in, out and updated, in the
  member order firmware publishes.
**/
#ifndef PROTOCOL_HII_DATABASE_H_
#define PROTOCOL_HII_DATABASE_H_

#include <Uefi/UefiBaseType.h>
#include <Uefi/UefiInternalFormRepresentation.h>

CARVEX_GUID_DEFINE (gEfiHiiDatabaseProtocolGuid, 0xef9fc172, 0xa1b2, 0x4693, 0xb3, 0x27, 0x6d, 0x32, 0xfc, 0x41, 0x60, 0x42);
// Installed by firmware on an image handle that carries package lists.
CARVEX_GUID_DEFINE (gEfiHiiPackageListProtocolGuid, 0x6a1ee763, 0xd47a, 0x43b4, 0xaa, 0xbe, 0xef, 0x1d, 0xe2, 0xab, 0x56, 0xfc);

typedef struct EFI_HII_DATABASE_PROTOCOL EFI_HII_DATABASE_PROTOCOL;

typedef UINTN EFI_HII_DATABASE_NOTIFY_TYPE;

#define EFI_HII_DATABASE_NOTIFY_NEW_PACK     0x00000001
#define EFI_HII_DATABASE_NOTIFY_REMOVE_PACK  0x00000002
#define EFI_HII_DATABASE_NOTIFY_EXPORT_PACK  0x00000004
#define EFI_HII_DATABASE_NOTIFY_ADD_PACK     0x00000008

// Keyboard layouts are not used by this project; only pointers pass through.
typedef struct EFI_HII_KEYBOARD_LAYOUT EFI_HII_KEYBOARD_LAYOUT;

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_NOTIFY)(
  IN UINT8                         PackageType,
  IN CONST EFI_GUID                *PackageGuid,
  IN CONST EFI_HII_PACKAGE_HEADER  *Package,
  IN EFI_HII_HANDLE                Handle,
  IN EFI_HII_DATABASE_NOTIFY_TYPE  NotifyType
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_NEW_PACK)(
  IN CONST EFI_HII_DATABASE_PROTOCOL    *This,
  IN CONST EFI_HII_PACKAGE_LIST_HEADER  *PackageList,
  IN EFI_HANDLE                         DriverHandle OPTIONAL,
  OUT EFI_HII_HANDLE                    *Handle
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_REMOVE_PACK)(
  IN CONST EFI_HII_DATABASE_PROTOCOL  *This,
  IN EFI_HII_HANDLE                   Handle
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_UPDATE_PACK)(
  IN CONST EFI_HII_DATABASE_PROTOCOL    *This,
  IN EFI_HII_HANDLE                     Handle,
  IN CONST EFI_HII_PACKAGE_LIST_HEADER  *PackageList
  );

// HandleBufferLength counts bytes.
typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_LIST_PACKS)(
  IN CONST EFI_HII_DATABASE_PROTOCOL  *This,
  IN UINT8                            PackageType,
  IN CONST EFI_GUID                   *PackageGuid,
  IN OUT UINTN                        *HandleBufferLength,
  OUT EFI_HII_HANDLE                  *Handle
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_EXPORT_PACKS)(
  IN CONST EFI_HII_DATABASE_PROTOCOL  *This,
  IN EFI_HII_HANDLE                   Handle,
  IN OUT UINTN                        *BufferSize,
  OUT EFI_HII_PACKAGE_LIST_HEADER     *Buffer
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_REGISTER_NOTIFY)(
  IN CONST EFI_HII_DATABASE_PROTOCOL  *This,
  IN UINT8                            PackageType,
  IN CONST EFI_GUID                   *PackageGuid,
  IN EFI_HII_DATABASE_NOTIFY          PackageNotifyFn,
  IN EFI_HII_DATABASE_NOTIFY_TYPE     NotifyType,
  OUT EFI_HANDLE                      *NotifyHandle
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_UNREGISTER_NOTIFY)(
  IN CONST EFI_HII_DATABASE_PROTOCOL  *This,
  IN EFI_HANDLE                       NotificationHandle
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_FIND_KEYBOARD_LAYOUTS)(
  IN EFI_HII_DATABASE_PROTOCOL  *This,
  IN OUT UINT16                 *KeyGuidBufferLength,
  OUT EFI_GUID                  *KeyGuidBuffer
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_GET_KEYBOARD_LAYOUT)(
  IN EFI_HII_DATABASE_PROTOCOL  *This,
  IN CONST EFI_GUID             *KeyGuid,
  IN OUT UINT16                 *KeyboardLayoutLength,
  OUT EFI_HII_KEYBOARD_LAYOUT   *KeyboardLayout
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_SET_KEYBOARD_LAYOUT)(
  IN EFI_HII_DATABASE_PROTOCOL  *This,
  IN CONST EFI_GUID             *KeyGuid
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_DATABASE_GET_PACK_HANDLE)(
  IN EFI_HII_DATABASE_PROTOCOL  *This,
  IN EFI_HII_HANDLE             PackageListHandle,
  OUT EFI_HANDLE                *DriverHandle
  );

struct EFI_HII_DATABASE_PROTOCOL {
  EFI_HII_DATABASE_NEW_PACK             NewPackageList;
  EFI_HII_DATABASE_REMOVE_PACK          RemovePackageList;
  EFI_HII_DATABASE_UPDATE_PACK          UpdatePackageList;
  EFI_HII_DATABASE_LIST_PACKS           ListPackageLists;
  EFI_HII_DATABASE_EXPORT_PACKS         ExportPackageLists;
  EFI_HII_DATABASE_REGISTER_NOTIFY      RegisterPackageNotify;
  EFI_HII_DATABASE_UNREGISTER_NOTIFY    UnregisterPackageNotify;
  EFI_HII_FIND_KEYBOARD_LAYOUTS         FindKeyboardLayouts;
  EFI_HII_GET_KEYBOARD_LAYOUT           GetKeyboardLayout;
  EFI_HII_SET_KEYBOARD_LAYOUT           SetKeyboardLayout;
  EFI_HII_DATABASE_GET_PACK_HANDLE      GetPackageListHandle;
};

static_assert (sizeof (EFI_HII_DATABASE_PROTOCOL) == 88, "HII database protocol: 11 members");
static_assert (OFFSET_OF (EFI_HII_DATABASE_PROTOCOL, ExportPackageLists) == 32, "HII database member order");
static_assert (OFFSET_OF (EFI_HII_DATABASE_PROTOCOL, GetPackageListHandle) == 80, "HII database member order");

#endif
