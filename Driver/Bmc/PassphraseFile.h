/** @file
  The modules' passphrase kept at the baseboard management controller
  (file 47) and the automatic unlock of Locked modules at boot.
**/
#ifndef BMC_PASSPHRASE_FILE_H_
#define BMC_PASSPHRASE_FILE_H_

#include <Uefi.h>

// Longest passphrase in characters; the file holds it in 8-bit characters
// followed by NUL bytes, and a last byte that must be 0.
#define PASSPHRASE_FILE_MAX_LENGTH    32
// Tries of one controller request that fails with EFI_DEVICE_ERROR, one
// second apart.
#define BMC_COMM_ATTEMPTS             3
#define BMC_COMM_RETRY_DELAY_US       1000000

// On success *Passphrase receives a new CHAR16[33] that the caller zeroes
// and frees; on every failure it is NULL. EFI_NOT_FOUND: no file, or the
// passphrase was cleared; EFI_LOAD_ERROR: the file's last byte is not 0.
EFI_STATUS EFIAPI GetDcpmmPassphraseFile (OUT CHAR16 **Passphrase);

// Writes Passphrase (at most 32 characters; an empty text clears the file)
// to the controller. Characters from 0x80 on end the stored text.
EFI_STATUS EFIAPI SetDcpmmPassphraseFile (IN CONST CHAR16 *Passphrase);

// Unlocks every Locked module with the stored passphrase, once per boot.
// *NeedUpdate becomes TRUE when some module was Locked.
EFI_STATUS EFIAPI AutoUnlock (OUT BOOLEAN *NeedUpdate);

#endif
