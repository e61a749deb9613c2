/** @file
  The "Security" form: the modules' security states for the page, the
  rolled-up states that decide what it offers, and the password
  conversation that enables, changes and disables a passphrase and erases
  modules securely.
**/
#ifndef SETUP_SECURITY_PAGE_H_
#define SETUP_SECURITY_PAGE_H_

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>

// Questions of the security form.
#define SECURITY_QID_LINK                 0x7000
#define SECURITY_QID_ENABLE_PLATFORM      0x7002
#define SECURITY_QID_CHANGE_PLATFORM      0x7003
#define SECURITY_QID_DISABLE_PLATFORM     0x7004
#define SECURITY_QID_ERASE_PLATFORM       0x7005
#define SECURITY_QID_ENABLE_SINGLE        0x7006
#define SECURITY_QID_CHANGE_SINGLE        0x7007
#define SECURITY_QID_DISABLE_SINGLE       0x7008
#define SECURITY_QID_ERASE_SINGLE         0x7009
#define SECURITY_QID_CLEAR_SELECTIONS     0x700A
#define SECURITY_QID_ERASE_NO_PASSPHRASE_PLATFORM  0x700B
#define SECURITY_QID_ERASE_NO_PASSPHRASE_SINGLE    0x700C
#define SECURITY_QID_CHECK_BOX_FIRST      0x7E01
#define SECURITY_QID_CHECK_BOX_LAST       0x7E30

// Fills a SetupSecurityDetailsVar image (zero-filled, or holding only the
// scope, passphrase field and check boxes) from the modules.
EFI_STATUS EFIAPI GetSecurityStateDetails (IN OUT UINT8 *pBuffer);
// Refreshes the page in the browser after QuestionId was used.
EFI_STATUS EFIAPI UpdateSecurityState (IN UINT16 QuestionId);

// The password questions' handlers; Value->string names the typed text.
EFI_STATUS EFIAPI EnableSecurity (IN EFI_IFR_TYPE_VALUE *Value, IN UINT16 QuestionId);
EFI_STATUS EFIAPI ChangeSecurityPassphrase (IN EFI_IFR_TYPE_VALUE *Value, IN UINT16 QuestionId);
EFI_STATUS EFIAPI DisableSecurity (IN EFI_IFR_TYPE_VALUE *Value, IN UINT16 QuestionId);
EFI_STATUS EFIAPI SecurityErase (IN EFI_IFR_TYPE_VALUE *Value, IN UINT16 QuestionId);
EFI_STATUS EFIAPI SecurityEraseWithoutPassphrase (IN EFI_IFR_TYPE_VALUE *Value, IN UINT16 QuestionId);

#endif
