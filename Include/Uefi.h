/** @file
  Everything a UEFI driver of this project starts from.
**/
#ifndef UEFI_H_
#define UEFI_H_

#include <Uefi/UefiBaseType.h>
#include <Uefi/UefiTables.h>

#endif
