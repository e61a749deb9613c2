/** @file
  EDK II-style HII helpers over the HII database, string, configuration
  routing and form browser protocols (located on each call, so the same code
  runs on any platform that publishes them).
**/
#ifndef LIBRARY_HII_LIB_H_
#define LIBRARY_HII_LIB_H_

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>

// ---------------------------------------------------------------------------
// Package lists
// ---------------------------------------------------------------------------

// Registers one package list built from the NULL-terminated variable list of
// package pointers. Each pointer addresses a UINT32 byte length (itself
// included) followed by the package, as the compilers' generated arrays are.
// The list gets a header and an END package. DeviceHandle, when given, must
// already carry a device path. Returns NULL when nothing was passed, the
// list is already registered for this handle, or the database refused it.
EFI_HII_HANDLE EFIAPI HiiAddPackages (IN CONST EFI_GUID *PackageListGuid, IN EFI_HANDLE DeviceHandle OPTIONAL, ...);

VOID EFIAPI HiiRemovePackages (IN EFI_HII_HANDLE HiiHandle);

// Every registered handle, or those of one package list GUID, as a
// NULL-terminated pool array; NULL when there is none.
EFI_HII_HANDLE *EFIAPI HiiGetHiiHandles (IN CONST EFI_GUID *PackageListGuid OPTIONAL);

// ---------------------------------------------------------------------------
// Strings
// ---------------------------------------------------------------------------

// StringId 0 creates a new string (its id is returned); otherwise the string
// is replaced. Without SupportedLanguages every language of the package list
// except the x-UEFI keyword languages is written. Returns 0 on failure.
EFI_STRING_ID EFIAPI HiiSetString (IN EFI_HII_HANDLE HiiHandle, IN EFI_STRING_ID StringId OPTIONAL, IN CONST CHAR16 *String, IN CONST CHAR8 *SupportedLanguages OPTIONAL);

// A pool copy of the string in one best language: Language, else the
// platform language, else the first the package list supports. NULL when
// the string is missing in that language (no per-string fallback).
EFI_STRING EFIAPI HiiGetString (IN EFI_HII_HANDLE HiiHandle, IN EFI_STRING_ID StringId, IN CONST CHAR8 *Language OPTIONAL);

// The package list's languages, ';'-separated, as a pool string.
CHAR8 *EFIAPI HiiGetSupportedLanguages (IN EFI_HII_HANDLE HiiHandle);

// ---------------------------------------------------------------------------
// Configuration strings and the browser's copy of storage
// ---------------------------------------------------------------------------

// "GUID=...&NAME=...&PATH=..." in lower-case hex, as a pool string; the path
// is that of DriverHandle (empty for a NULL handle). NULL when the handle has
// no device path.
EFI_STRING EFIAPI HiiConstructConfigHdr (IN CONST EFI_GUID *Guid OPTIONAL, IN CONST CHAR16 *Name OPTIONAL, IN EFI_HANDLE DriverHandle);

// TRUE when ConfigHdr names this GUID (if given) and this NAME (if given).
BOOLEAN EFIAPI HiiIsConfigHdrMatch (IN CONST CHAR16 *ConfigHdr, IN CONST EFI_GUID *Guid OPTIONAL, IN CONST CHAR16 *Name OPTIONAL);

// The browser's uncommitted copy of a storage into Buffer; only bytes some
// question covers are written. Works only while a form set is shown.
BOOLEAN EFIAPI HiiGetBrowserData (IN CONST EFI_GUID *VariableGuid OPTIONAL, IN CONST CHAR16 *VariableName OPTIONAL, IN UINTN BufferSize, OUT UINT8 *Buffer);

// Buffer (or the RequestElement "&OFFSET=..&WIDTH=.." parts of it) into the
// browser's uncommitted copy.
BOOLEAN EFIAPI HiiSetBrowserData (IN CONST EFI_GUID *VariableGuid OPTIONAL, IN CONST CHAR16 *VariableName OPTIONAL, IN UINTN BufferSize, IN CONST UINT8 *Buffer, IN CONST CHAR16 *RequestElement OPTIONAL);

// ---------------------------------------------------------------------------
// Opcode buffers and form updates
// ---------------------------------------------------------------------------

// A growable buffer of IFR opcodes. Once an append fails for lack of memory
// the handle refuses every later append and HiiUpdateForm refuses it, so a
// partial opcode sequence never reaches a form.
VOID *EFIAPI HiiAllocateOpCodeHandle (VOID);
VOID EFIAPI HiiFreeOpCodeHandle (IN VOID *OpCodeHandle);

// Copies RawBuffer (whole opcodes) into the handle.
UINT8 *EFIAPI HiiCreateRawOpCodes (IN VOID *OpCodeHandle, IN CONST UINT8 *RawBuffer, IN UINTN RawBufferSize);

// Each creator returns the opcode inside the handle's buffer (valid until the
// next append) or NULL.
UINT8 *EFIAPI HiiCreateEndOpCode (IN VOID *OpCodeHandle);
UINT8 *EFIAPI HiiCreateGuidOpCode (IN VOID *OpCodeHandle, IN CONST EFI_GUID *Guid, IN CONST VOID *GuidOpCode OPTIONAL, IN UINTN OpCodeSize);
// An EDK II label: the GUIDed opcode HiiUpdateForm looks for.
UINT8 *EFIAPI HiiCreateLabelOpCode (IN VOID *OpCodeHandle, IN UINT16 LabelNumber);
UINT8 *EFIAPI HiiCreateSubTitleOpCode (IN VOID *OpCodeHandle, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 Flags, IN UINT8 Scope);
UINT8 *EFIAPI HiiCreateTextOpCode (IN VOID *OpCodeHandle, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN EFI_STRING_ID TextTwo);
UINT8 *EFIAPI HiiCreateGotoOpCode (IN VOID *OpCodeHandle, IN EFI_FORM_ID FormId, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 QuestionFlags, IN EFI_QUESTION_ID QuestionId);
// The shortest REF variant that carries what is given: REF4 with a device
// path string, REF3 with a form set GUID, REF2 with a question, else REF.
UINT8 *EFIAPI HiiCreateGotoExOpCode (IN VOID *OpCodeHandle, IN EFI_FORM_ID RefFormId, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 QuestionFlags, IN EFI_QUESTION_ID QuestionId, IN EFI_QUESTION_ID RefQuestionId, IN CONST EFI_GUID *RefFormSetId OPTIONAL, IN EFI_STRING_ID RefDevicePath);
UINT8 *EFIAPI HiiCreateActionOpCode (IN VOID *OpCodeHandle, IN EFI_QUESTION_ID QuestionId, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 QuestionFlags, IN EFI_STRING_ID QuestionConfig);
// Value is cut to the width of Type (numbers, boolean, time, date, string).
UINT8 *EFIAPI HiiCreateOneOfOptionOpCode (IN VOID *OpCodeHandle, IN UINT16 StringId, IN UINT8 Flags, IN UINT8 Type, IN UINT64 Value);
UINT8 *EFIAPI HiiCreateDefaultOpCode (IN VOID *OpCodeHandle, IN UINT16 DefaultId, IN UINT8 Type, IN UINT64 Value);
UINT8 *EFIAPI HiiCreateCheckBoxOpCode (IN VOID *OpCodeHandle, IN EFI_QUESTION_ID QuestionId, IN EFI_VARSTORE_ID VarStoreId, IN UINT16 VarOffset, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 QuestionFlags, IN UINT8 CheckBoxFlags, IN VOID *DefaultsOpCodeHandle OPTIONAL);
// The one-of takes 14 + 3 x width bytes (width from OneOfFlags), then the
// options, the defaults and an END.
UINT8 *EFIAPI HiiCreateOneOfOpCode (IN VOID *OpCodeHandle, IN EFI_QUESTION_ID QuestionId, IN EFI_VARSTORE_ID VarStoreId, IN UINT16 VarOffset, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 QuestionFlags, IN UINT8 OneOfFlags, IN VOID *OptionsOpCodeHandle, IN VOID *DefaultsOpCodeHandle OPTIONAL);
UINT8 *EFIAPI HiiCreateNumericOpCode (IN VOID *OpCodeHandle, IN EFI_QUESTION_ID QuestionId, IN EFI_VARSTORE_ID VarStoreId, IN UINT16 VarOffset, IN EFI_STRING_ID Prompt, IN EFI_STRING_ID Help, IN UINT8 QuestionFlags, IN UINT8 NumericFlags, IN UINT64 Minimum, IN UINT64 Maximum, IN UINT64 Step, IN VOID *DefaultsOpCodeHandle OPTIONAL);

// In form FormId (of the form set FormSetGuid, or of any form set when NULL)
// finds the opcode byte-identical to the first opcode of StartOpCodeHandle
// (normally a label), then either inserts the handle's other opcodes after
// it (no end handle) or replaces everything up to the first opcode
// byte-identical to the first one of EndOpCodeHandle. EFI_NOT_FOUND when the
// form or either label is missing.
EFI_STATUS EFIAPI HiiUpdateForm (IN EFI_HII_HANDLE HiiHandle, IN CONST EFI_GUID *FormSetGuid OPTIONAL, IN EFI_FORM_ID FormId, IN VOID *StartOpCodeHandle, IN VOID *EndOpCodeHandle OPTIONAL);

#endif
