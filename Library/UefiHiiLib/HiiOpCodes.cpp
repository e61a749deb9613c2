/** @file
  Opcode handles and the opcode creators.
**/
#include <Library/BaseMemoryLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>

#include "HiiLibInternal.h"

#define HII_LIB_OPCODE_ALLOCATION_SIZE  0x200

VOID *
EFIAPI
HiiAllocateOpCodeHandle (
  VOID
  )
{
  HII_LIB_OPCODE_BUFFER  *OpCodeBuffer;

  OpCodeBuffer = static_cast<HII_LIB_OPCODE_BUFFER *>(AllocateZeroPool (sizeof (HII_LIB_OPCODE_BUFFER)));
  if (OpCodeBuffer == NULL) {
    return NULL;
  }

  OpCodeBuffer->Buffer = static_cast<UINT8 *>(AllocateZeroPool (HII_LIB_OPCODE_ALLOCATION_SIZE));
  if (OpCodeBuffer->Buffer == NULL) {
    FreePool (OpCodeBuffer);
    return NULL;
  }

  OpCodeBuffer->BufferSize = HII_LIB_OPCODE_ALLOCATION_SIZE;
  return OpCodeBuffer;
}

VOID
EFIAPI
HiiFreeOpCodeHandle (
  IN VOID *OpCodeHandle
  )
{
  HII_LIB_OPCODE_BUFFER  *OpCodeBuffer;

  if (OpCodeHandle == NULL) {
    return;
  }

  OpCodeBuffer = static_cast<HII_LIB_OPCODE_BUFFER *>(OpCodeHandle);
  if (OpCodeBuffer->Buffer != NULL) {
    FreePool (OpCodeBuffer->Buffer);
  }

  FreePool (OpCodeBuffer);
}

CONST UINT8 *
InternalHiiFirstOpCode (
  IN  CONST HII_LIB_OPCODE_BUFFER *OpCodeBuffer,
  OUT UINTN                       *Length
  )
{
  UINTN  OpLength;

  if ((OpCodeBuffer == NULL) || OpCodeBuffer->Failed || (OpCodeBuffer->Position < sizeof (EFI_IFR_OP_HEADER))) {
    return NULL;
  }

  OpLength = IfrOpLength (reinterpret_cast<CONST EFI_IFR_OP_HEADER *>(OpCodeBuffer->Buffer));
  if ((OpLength < sizeof (EFI_IFR_OP_HEADER)) || (OpLength > OpCodeBuffer->Position)) {
    return NULL;
  }

  *Length = OpLength;
  return OpCodeBuffer->Buffer;
}

// Room for Size more bytes at the end of the handle, or NULL (and the handle
// marked failed) when it cannot grow.
STATIC
UINT8 *
InternalHiiGrowOpCodeHandle (
  IN VOID  *OpCodeHandle,
  IN UINTN Size
  )
{
  HII_LIB_OPCODE_BUFFER  *OpCodeBuffer;
  UINT8                  *Buffer;

  OpCodeBuffer = static_cast<HII_LIB_OPCODE_BUFFER *>(OpCodeHandle);
  if ((OpCodeBuffer == NULL) || OpCodeBuffer->Failed) {
    return NULL;
  }

  if (OpCodeBuffer->Position + Size > OpCodeBuffer->BufferSize) {
    Buffer = static_cast<UINT8 *>(ReallocatePool (
                                    OpCodeBuffer->BufferSize,
                                    OpCodeBuffer->BufferSize + Size + HII_LIB_OPCODE_ALLOCATION_SIZE,
                                    OpCodeBuffer->Buffer
                                    ));
    if (Buffer == NULL) {
      OpCodeBuffer->Failed = TRUE;
      return NULL;
    }

    OpCodeBuffer->Buffer      = Buffer;
    OpCodeBuffer->BufferSize += Size + HII_LIB_OPCODE_ALLOCATION_SIZE;
  }

  Buffer                  = OpCodeBuffer->Buffer + OpCodeBuffer->Position;
  OpCodeBuffer->Position += Size;
  return Buffer;
}

// Appends the template's OpCodeSize bytes with a fresh header, then
// ExtensionSize zero bytes.
STATIC
UINT8 *
InternalHiiCreateOpCodeExtended (
  IN VOID       *OpCodeHandle,
  IN CONST VOID *OpCodeTemplate,
  IN UINT8      OpCode,
  IN UINTN      OpCodeSize,
  IN UINTN      ExtensionSize,
  IN BOOLEAN    Scope
  )
{
  UINT8  *Buffer;

  if (OpCodeSize + ExtensionSize > EFI_IFR_MAX_OP_LENGTH) {
    // No opcode can be longer; the handle's content would be wrong.
    if (OpCodeHandle != NULL) {
      static_cast<HII_LIB_OPCODE_BUFFER *>(OpCodeHandle)->Failed = TRUE;
    }

    return NULL;
  }

  Buffer = InternalHiiGrowOpCodeHandle (OpCodeHandle, OpCodeSize + ExtensionSize);
  if (Buffer == NULL) {
    return NULL;
  }

  CopyMem (Buffer, OpCodeTemplate, OpCodeSize);
  ZeroMem (Buffer + OpCodeSize, ExtensionSize);
  IfrSetOpHeader (reinterpret_cast<EFI_IFR_OP_HEADER *>(Buffer), OpCode, (UINT8)(OpCodeSize + ExtensionSize), Scope);
  return Buffer;
}

STATIC
UINT8 *
InternalHiiCreateOpCode (
  IN VOID       *OpCodeHandle,
  IN CONST VOID *OpCodeTemplate,
  IN UINT8      OpCode,
  IN UINTN      OpCodeSize
  )
{
  return InternalHiiCreateOpCodeExtended (OpCodeHandle, OpCodeTemplate, OpCode, OpCodeSize, 0, FALSE);
}

// Copies every opcode of Source to the end of Target.
STATIC
UINT8 *
InternalHiiAppendOpCodes (
  IN VOID *Target,
  IN VOID *Source
  )
{
  HII_LIB_OPCODE_BUFFER  *SourceBuffer;
  UINT8                  *Buffer;

  SourceBuffer = static_cast<HII_LIB_OPCODE_BUFFER *>(Source);
  if ((SourceBuffer == NULL) || SourceBuffer->Failed) {
    if (Target != NULL) {
      static_cast<HII_LIB_OPCODE_BUFFER *>(Target)->Failed = TRUE;
    }

    return NULL;
  }

  Buffer = InternalHiiGrowOpCodeHandle (Target, SourceBuffer->Position);
  if (Buffer != NULL) {
    CopyMem (Buffer, SourceBuffer->Buffer, SourceBuffer->Position);
  }

  return Buffer;
}

// Where the opcode that starts at Position of a handle is now (appends may
// have moved the buffer).
STATIC
UINT8 *
InternalHiiOpCodeAt (
  IN VOID  *OpCodeHandle,
  IN UINTN Position
  )
{
  HII_LIB_OPCODE_BUFFER  *OpCodeBuffer;

  OpCodeBuffer = static_cast<HII_LIB_OPCODE_BUFFER *>(OpCodeHandle);
  return OpCodeBuffer->Failed ? NULL : OpCodeBuffer->Buffer + Position;
}

STATIC
UINTN
InternalHiiTypeWidth (
  IN UINT8 Type
  )
{
  STATIC CONST UINT8  Widths[] = { 1, 2, 4, 8, 1, 3, 4, 2 };  // NUM_SIZE_8 .. STRING

  return (Type < ARRAY_SIZE (Widths)) ? Widths[Type] : 0;
}

UINT8 *
EFIAPI
HiiCreateRawOpCodes (
  IN VOID        *OpCodeHandle,
  IN CONST UINT8 *RawBuffer,
  IN UINTN       RawBufferSize
  )
{
  UINT8  *Buffer;

  if (RawBuffer == NULL) {
    return NULL;
  }

  Buffer = InternalHiiGrowOpCodeHandle (OpCodeHandle, RawBufferSize);
  if (Buffer != NULL) {
    CopyMem (Buffer, RawBuffer, RawBufferSize);
  }

  return Buffer;
}

UINT8 *
EFIAPI
HiiCreateEndOpCode (
  IN VOID *OpCodeHandle
  )
{
  EFI_IFR_END  OpCode;

  ZeroMem (&OpCode, sizeof (OpCode));
  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_END_OP, sizeof (OpCode));
}

UINT8 *
EFIAPI
HiiCreateGuidOpCode (
  IN VOID           *OpCodeHandle,
  IN CONST EFI_GUID *Guid,
  IN CONST VOID     *GuidOpCode OPTIONAL,
  IN UINTN          OpCodeSize
  )
{
  EFI_IFR_GUID  OpCode;
  UINT8         *Buffer;

  if ((Guid == NULL) || (OpCodeSize < sizeof (EFI_IFR_GUID))) {
    return NULL;
  }

  ZeroMem (&OpCode, sizeof (OpCode));
  CopyMem (reinterpret_cast<UINT8 *>(&OpCode) + OFFSET_OF (EFI_IFR_GUID, Guid), Guid, sizeof (EFI_GUID));
  Buffer = InternalHiiCreateOpCodeExtended (OpCodeHandle, &OpCode, EFI_IFR_GUID_OP, sizeof (OpCode), OpCodeSize - sizeof (OpCode), FALSE);
  if ((Buffer != NULL) && (GuidOpCode != NULL)) {
    CopyMem (Buffer + sizeof (OpCode), static_cast<CONST UINT8 *>(GuidOpCode) + sizeof (OpCode), OpCodeSize - sizeof (OpCode));
  }

  return Buffer;
}

UINT8 *
EFIAPI
HiiCreateLabelOpCode (
  IN VOID   *OpCodeHandle,
  IN UINT16 LabelNumber
  )
{
  EFI_IFR_GUID_LABEL  Label;

  ZeroMem (&Label, sizeof (Label));
  CopyMem (reinterpret_cast<UINT8 *>(&Label) + OFFSET_OF (EFI_IFR_GUID_LABEL, Guid), &gEfiIfrTianoGuid, sizeof (EFI_GUID));
  Label.ExtendOpCode = EFI_IFR_EXTEND_OP_LABEL;
  Label.Number       = LabelNumber;
  return InternalHiiCreateOpCode (OpCodeHandle, &Label, EFI_IFR_GUID_OP, sizeof (Label));
}

UINT8 *
EFIAPI
HiiCreateSubTitleOpCode (
  IN VOID          *OpCodeHandle,
  IN EFI_STRING_ID Prompt,
  IN EFI_STRING_ID Help,
  IN UINT8         Flags,
  IN UINT8         Scope
  )
{
  EFI_IFR_SUBTITLE  OpCode;

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Statement.Prompt = Prompt;
  OpCode.Statement.Help   = Help;
  OpCode.Flags            = Flags;
  return InternalHiiCreateOpCodeExtended (OpCodeHandle, &OpCode, EFI_IFR_SUBTITLE_OP, sizeof (OpCode), 0, (BOOLEAN)(Scope != 0));
}

UINT8 *
EFIAPI
HiiCreateTextOpCode (
  IN VOID          *OpCodeHandle,
  IN EFI_STRING_ID Prompt,
  IN EFI_STRING_ID Help,
  IN EFI_STRING_ID TextTwo
  )
{
  EFI_IFR_TEXT  OpCode;

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Statement.Prompt = Prompt;
  OpCode.Statement.Help   = Help;
  OpCode.TextTwo          = TextTwo;
  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_TEXT_OP, sizeof (OpCode));
}

UINT8 *
EFIAPI
HiiCreateGotoOpCode (
  IN VOID            *OpCodeHandle,
  IN EFI_FORM_ID     FormId,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN EFI_QUESTION_ID QuestionId
  )
{
  EFI_IFR_REF  OpCode;

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Question.Header.Prompt = Prompt;
  OpCode.Question.Header.Help   = Help;
  OpCode.Question.QuestionId    = QuestionId;
  OpCode.Question.Flags         = QuestionFlags;
  OpCode.FormId                 = FormId;
  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_REF_OP, sizeof (OpCode));
}

UINT8 *
EFIAPI
HiiCreateGotoExOpCode (
  IN VOID            *OpCodeHandle,
  IN EFI_FORM_ID     RefFormId,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN EFI_QUESTION_ID QuestionId,
  IN EFI_QUESTION_ID RefQuestionId,
  IN CONST EFI_GUID  *RefFormSetId OPTIONAL,
  IN EFI_STRING_ID   RefDevicePath
  )
{
  EFI_IFR_REF4  OpCode;
  UINTN         Size;

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Question.Header.Prompt = Prompt;
  OpCode.Question.Header.Help   = Help;
  OpCode.Question.QuestionId    = QuestionId;
  OpCode.Question.Flags         = QuestionFlags;
  OpCode.FormId                 = RefFormId;
  OpCode.QuestionId             = RefQuestionId;
  OpCode.DevicePath             = RefDevicePath;
  if (RefFormSetId != NULL) {
    CopyMem (reinterpret_cast<UINT8 *>(&OpCode) + OFFSET_OF (EFI_IFR_REF4, FormSetId), RefFormSetId, sizeof (EFI_GUID));
  }

  if (RefDevicePath != 0) {
    Size = sizeof (EFI_IFR_REF4);
  } else if (RefFormSetId != NULL) {
    Size = sizeof (EFI_IFR_REF3);
  } else if (RefQuestionId != 0) {
    Size = sizeof (EFI_IFR_REF2);
  } else {
    Size = sizeof (EFI_IFR_REF);
  }

  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_REF_OP, Size);
}

UINT8 *
EFIAPI
HiiCreateActionOpCode (
  IN VOID            *OpCodeHandle,
  IN EFI_QUESTION_ID QuestionId,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN EFI_STRING_ID   QuestionConfig
  )
{
  EFI_IFR_ACTION  OpCode;

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Question.QuestionId    = QuestionId;
  OpCode.Question.Header.Prompt = Prompt;
  OpCode.Question.Header.Help   = Help;
  OpCode.Question.Flags         = QuestionFlags;
  OpCode.QuestionConfig         = QuestionConfig;
  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_ACTION_OP, sizeof (OpCode));
}

UINT8 *
EFIAPI
HiiCreateOneOfOptionOpCode (
  IN VOID   *OpCodeHandle,
  IN UINT16 StringId,
  IN UINT8  Flags,
  IN UINT8  Type,
  IN UINT64 Value
  )
{
  EFI_IFR_ONE_OF_OPTION  OpCode;
  UINTN                  Width;

  Width = InternalHiiTypeWidth (Type);
  if (Width == 0) {
    return NULL;
  }

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Option = StringId;
  OpCode.Flags  = (UINT8)(Flags & (EFI_IFR_OPTION_DEFAULT | EFI_IFR_OPTION_DEFAULT_MFG));
  OpCode.Type   = Type;
  // Little-endian: the low Width bytes of Value are the value.
  CopyMem (reinterpret_cast<UINT8 *>(&OpCode) + OFFSET_OF (EFI_IFR_ONE_OF_OPTION, Value), &Value, Width);
  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_ONE_OF_OPTION_OP, OFFSET_OF (EFI_IFR_ONE_OF_OPTION, Value) + Width);
}

UINT8 *
EFIAPI
HiiCreateDefaultOpCode (
  IN VOID   *OpCodeHandle,
  IN UINT16 DefaultId,
  IN UINT8  Type,
  IN UINT64 Value
  )
{
  EFI_IFR_DEFAULT  OpCode;
  UINTN            Width;

  Width = InternalHiiTypeWidth (Type);
  if (Width == 0) {
    return NULL;
  }

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.DefaultId = DefaultId;
  OpCode.Type      = Type;
  CopyMem (reinterpret_cast<UINT8 *>(&OpCode) + OFFSET_OF (EFI_IFR_DEFAULT, Value), &Value, Width);
  return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_DEFAULT_OP, OFFSET_OF (EFI_IFR_DEFAULT, Value) + Width);
}

UINT8 *
EFIAPI
HiiCreateCheckBoxOpCode (
  IN VOID            *OpCodeHandle,
  IN EFI_QUESTION_ID QuestionId,
  IN EFI_VARSTORE_ID VarStoreId,
  IN UINT16          VarOffset,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN UINT8           CheckBoxFlags,
  IN VOID            *DefaultsOpCodeHandle OPTIONAL
  )
{
  EFI_IFR_CHECKBOX  OpCode;
  UINTN             Position;

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Question.QuestionId             = QuestionId;
  OpCode.Question.VarStoreId             = VarStoreId;
  OpCode.Question.VarStoreInfo.VarOffset = VarOffset;
  OpCode.Question.Header.Prompt          = Prompt;
  OpCode.Question.Header.Help            = Help;
  OpCode.Question.Flags                  = QuestionFlags;
  OpCode.Flags                           = CheckBoxFlags;
  if (DefaultsOpCodeHandle == NULL) {
    return InternalHiiCreateOpCode (OpCodeHandle, &OpCode, EFI_IFR_CHECKBOX_OP, sizeof (OpCode));
  }

  if (OpCodeHandle == NULL) {
    return NULL;
  }

  Position = static_cast<HII_LIB_OPCODE_BUFFER *>(OpCodeHandle)->Position;
  InternalHiiCreateOpCodeExtended (OpCodeHandle, &OpCode, EFI_IFR_CHECKBOX_OP, sizeof (OpCode), 0, TRUE);
  InternalHiiAppendOpCodes (OpCodeHandle, DefaultsOpCodeHandle);
  HiiCreateEndOpCode (OpCodeHandle);
  return InternalHiiOpCodeAt (OpCodeHandle, Position);
}

// A one-of or numeric question: 14 bytes, then the minimum, maximum and step
// at the width the flags give.
STATIC
UINT8 *
InternalHiiCreateRangedQuestion (
  IN VOID            *OpCodeHandle,
  IN UINT8           OpCodeValue,
  IN EFI_QUESTION_ID QuestionId,
  IN EFI_VARSTORE_ID VarStoreId,
  IN UINT16          VarOffset,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN UINT8           Flags,
  IN UINT64          Minimum,
  IN UINT64          Maximum,
  IN UINT64          Step,
  IN VOID            *OptionsOpCodeHandle OPTIONAL,
  IN VOID            *DefaultsOpCodeHandle OPTIONAL
  )
{
  EFI_IFR_ONE_OF  OpCode;
  UINTN           Width;
  UINTN           Position;
  BOOLEAN         Scope;

  if (OpCodeHandle == NULL) {
    return NULL;
  }

  ZeroMem (&OpCode, sizeof (OpCode));
  OpCode.Question.QuestionId             = QuestionId;
  OpCode.Question.VarStoreId             = VarStoreId;
  OpCode.Question.VarStoreInfo.VarOffset = VarOffset;
  OpCode.Question.Header.Prompt          = Prompt;
  OpCode.Question.Header.Help            = Help;
  OpCode.Question.Flags                  = QuestionFlags;
  OpCode.Flags                           = Flags;
  Width                                  = (UINTN)1 << (Flags & EFI_IFR_NUMERIC_SIZE);
  switch (Width) {
    case 1:
      OpCode.data.u8.MinValue = (UINT8)Minimum;
      OpCode.data.u8.MaxValue = (UINT8)Maximum;
      OpCode.data.u8.Step     = (UINT8)Step;
      break;
    case 2:
      OpCode.data.u16.MinValue = (UINT16)Minimum;
      OpCode.data.u16.MaxValue = (UINT16)Maximum;
      OpCode.data.u16.Step     = (UINT16)Step;
      break;
    case 4:
      OpCode.data.u32.MinValue = (UINT32)Minimum;
      OpCode.data.u32.MaxValue = (UINT32)Maximum;
      OpCode.data.u32.Step     = (UINT32)Step;
      break;
    default:
      OpCode.data.u64.MinValue = Minimum;
      OpCode.data.u64.MaxValue = Maximum;
      OpCode.data.u64.Step     = Step;
      break;
  }

  Scope    = (BOOLEAN)((OptionsOpCodeHandle != NULL) || (DefaultsOpCodeHandle != NULL));
  Position = static_cast<HII_LIB_OPCODE_BUFFER *>(OpCodeHandle)->Position;
  if (InternalHiiCreateOpCodeExtended (OpCodeHandle, &OpCode, OpCodeValue, OFFSET_OF (EFI_IFR_ONE_OF, data) + 3 * Width, 0, Scope) == NULL) {
    return NULL;
  }

  if (!Scope) {
    return InternalHiiOpCodeAt (OpCodeHandle, Position);
  }

  if (OptionsOpCodeHandle != NULL) {
    InternalHiiAppendOpCodes (OpCodeHandle, OptionsOpCodeHandle);
  }

  if (DefaultsOpCodeHandle != NULL) {
    InternalHiiAppendOpCodes (OpCodeHandle, DefaultsOpCodeHandle);
  }

  HiiCreateEndOpCode (OpCodeHandle);
  return InternalHiiOpCodeAt (OpCodeHandle, Position);
}

UINT8 *
EFIAPI
HiiCreateOneOfOpCode (
  IN VOID            *OpCodeHandle,
  IN EFI_QUESTION_ID QuestionId,
  IN EFI_VARSTORE_ID VarStoreId,
  IN UINT16          VarOffset,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN UINT8           OneOfFlags,
  IN VOID            *OptionsOpCodeHandle,
  IN VOID            *DefaultsOpCodeHandle OPTIONAL
  )
{
  if (OptionsOpCodeHandle == NULL) {
    return NULL;
  }

  return InternalHiiCreateRangedQuestion (
           OpCodeHandle, EFI_IFR_ONE_OF_OP, QuestionId, VarStoreId, VarOffset, Prompt, Help,
           QuestionFlags, OneOfFlags, 0, 0, 0, OptionsOpCodeHandle, DefaultsOpCodeHandle
           );
}

UINT8 *
EFIAPI
HiiCreateNumericOpCode (
  IN VOID            *OpCodeHandle,
  IN EFI_QUESTION_ID QuestionId,
  IN EFI_VARSTORE_ID VarStoreId,
  IN UINT16          VarOffset,
  IN EFI_STRING_ID   Prompt,
  IN EFI_STRING_ID   Help,
  IN UINT8           QuestionFlags,
  IN UINT8           NumericFlags,
  IN UINT64          Minimum,
  IN UINT64          Maximum,
  IN UINT64          Step,
  IN VOID            *DefaultsOpCodeHandle OPTIONAL
  )
{
  return InternalHiiCreateRangedQuestion (
           OpCodeHandle, EFI_IFR_NUMERIC_OP, QuestionId, VarStoreId, VarOffset, Prompt, Help,
           QuestionFlags, NumericFlags, Minimum, Maximum, Step, NULL, DefaultsOpCodeHandle
           );
}
