/** @file
  Audit events written to the baseboard management controller's audit log.
**/
#ifndef BMC_AUDIT_LOG_H_
#define BMC_AUDIT_LOG_H_

#include <Uefi.h>

#define AUDIT_LOG_TYPE_DCPMM               0xFB00
// Automatic unlock found no passphrase at the controller.
#define AUDIT_LOG_ID_NO_PASSPHRASE         0x03
// A module refused the stored passphrase during automatic unlock.
#define AUDIT_LOG_ID_INVALID_PASSPHRASE    0x04

// Sends the known event (LogType, LogId) to the controller; an unknown pair
// is dropped and reads as success.
EFI_STATUS EFIAPI AuditLog (IN UINT16 LogType, IN UINT8 LogId);

#endif
