/** @file
  Image entry: the loader calls _ModuleEntryPoint, which runs the image's
  library constructors and then its entry point. Each image provides the two
  Process* functions (what EDK II's build generates), normally through
  CARVEX_IMAGE_ENTRY.
**/
#ifndef LIBRARY_UEFI_DRIVER_ENTRY_POINT_H_
#define LIBRARY_UEFI_DRIVER_ENTRY_POINT_H_

#include <Uefi.h>

// The loader's entry symbol; a host image (a shared object built with hidden
// visibility) exports it so that the simulator can find it with dlsym.
#ifdef __ELF__
#define CARVEX_IMAGE_EXPORT  __attribute__ ((visibility ("default")))
#else
#define CARVEX_IMAGE_EXPORT
#endif

extern "C" CARVEX_IMAGE_EXPORT EFI_STATUS EFIAPI _ModuleEntryPoint (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

VOID EFIAPI ProcessLibraryConstructorList (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);
EFI_STATUS EFIAPI ProcessModuleEntryPointList (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

// Runs the constructors every image shares (service tables, debug sink, PCD)
// in that order; an image's ProcessLibraryConstructorList calls it first.
VOID EFIAPI ProcessCommonLibraryConstructors (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

// Defines an image's two Process* functions: the shared constructors, then
// EntryFunction (an EFI_IMAGE_ENTRY_POINT). Written once per image, at file
// scope, without a trailing semicolon.
#define CARVEX_IMAGE_ENTRY(EntryFunction)                         \
  VOID                                                            \
  EFIAPI                                                          \
  ProcessLibraryConstructorList (                                 \
    IN EFI_HANDLE        ImageHandle,                             \
    IN EFI_SYSTEM_TABLE  *SystemTable                             \
    )                                                             \
  {                                                               \
    ProcessCommonLibraryConstructors (ImageHandle, SystemTable);  \
  }                                                               \
                                                                  \
  EFI_STATUS                                                      \
  EFIAPI                                                          \
  ProcessModuleEntryPointList (                                   \
    IN EFI_HANDLE        ImageHandle,                             \
    IN EFI_SYSTEM_TABLE  *SystemTable                             \
    )                                                             \
  {                                                               \
    return EntryFunction (ImageHandle, SystemTable);              \
  }

#endif
