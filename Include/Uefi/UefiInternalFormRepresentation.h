/** @file
  HII package lists, string packages and the IFR opcodes of forms packages,
  byte for byte as firmware exchanges them. Every structure is packed; the
  bit-fields UEFI uses in two headers are plain bytes here, read and written
  through the helpers below.
**/
#ifndef UEFI_INTERNAL_FORM_REPRESENTATION_H_
#define UEFI_INTERNAL_FORM_REPRESENTATION_H_

#include <Uefi/UefiBaseType.h>

typedef VOID    *EFI_HII_HANDLE;
typedef CHAR16  *EFI_STRING;
typedef UINT16  EFI_IMAGE_ID;
typedef UINT16  EFI_QUESTION_ID;
typedef UINT16  EFI_STRING_ID;
typedef UINT16  EFI_FORM_ID;
typedef UINT16  EFI_VARSTORE_ID;
typedef UINT16  EFI_ANIMATION_ID;
typedef UINT16  EFI_DEFAULT_ID;
typedef UINT32  EFI_HII_FONT_STYLE;

// Languages of the keyword (configuration) string packages.
#define UEFI_CONFIG_LANG    "x-UEFI"
#define UEFI_CONFIG_LANG_2  "x-i-UEFI"

// ---------------------------------------------------------------------------
// Packages
// ---------------------------------------------------------------------------

#define EFI_HII_PACKAGE_TYPE_ALL          0x00
#define EFI_HII_PACKAGE_TYPE_GUID         0x01
#define EFI_HII_PACKAGE_FORMS             0x02
#define EFI_HII_PACKAGE_STRINGS           0x04
#define EFI_HII_PACKAGE_FONTS             0x05
#define EFI_HII_PACKAGE_IMAGES            0x06
#define EFI_HII_PACKAGE_SIMPLE_FONTS      0x07
#define EFI_HII_PACKAGE_DEVICE_PATH       0x08
#define EFI_HII_PACKAGE_KEYBOARD_LAYOUT   0x09
#define EFI_HII_PACKAGE_ANIMATIONS        0x0A
#define EFI_HII_PACKAGE_END               0xDF
#define EFI_HII_PACKAGE_TYPE_SYSTEM_BEGIN 0xE0
#define EFI_HII_PACKAGE_TYPE_SYSTEM_END   0xFF

#pragma pack(1)

// Length (24 bits, this header included) and Type (8 bits) in one
// little-endian UINT32.
typedef struct {
  UINT8    Length[3];
  UINT8    Type;
} EFI_HII_PACKAGE_HEADER;

typedef struct {
  EFI_GUID    PackageListGuid;
  UINT32      PackageLength;   // the whole list: this header, every package, END
} EFI_HII_PACKAGE_LIST_HEADER;

typedef struct {
  EFI_HII_PACKAGE_HEADER    Header;
  EFI_GUID                  Guid;
} EFI_HII_GUID_PACKAGE_HDR;

typedef struct {
  EFI_HII_PACKAGE_HEADER    Header;
} EFI_HII_FORM_PACKAGE_HDR;

typedef struct {
  EFI_HII_PACKAGE_HEADER    Header;
} EFI_HII_DEVICE_PATH_PACKAGE_HDR;

#pragma pack()

static_assert (sizeof (EFI_HII_PACKAGE_HEADER) == 4, "package header");
static_assert (sizeof (EFI_HII_PACKAGE_LIST_HEADER) == 20, "package list header");
static_assert (sizeof (EFI_HII_GUID_PACKAGE_HDR) == 20, "GUID package header");

static inline UINT32
HiiPackageLength (
  IN CONST EFI_HII_PACKAGE_HEADER *Header
  )
{
  return (UINT32)Header->Length[0] | ((UINT32)Header->Length[1] << 8) | ((UINT32)Header->Length[2] << 16);
}

static inline UINT8
HiiPackageType (
  IN CONST EFI_HII_PACKAGE_HEADER *Header
  )
{
  return Header->Type;
}

// Length is cut to 24 bits.
static inline VOID
HiiSetPackageHeader (
  OUT EFI_HII_PACKAGE_HEADER *Header,
  IN  UINT32                 Length,
  IN  UINT8                  Type
  )
{
  Header->Length[0] = (UINT8)Length;
  Header->Length[1] = (UINT8)(Length >> 8);
  Header->Length[2] = (UINT8)(Length >> 16);
  Header->Type      = Type;
}

// ---------------------------------------------------------------------------
// String packages
// ---------------------------------------------------------------------------

#define EFI_HII_SIBT_END                 0x00
#define EFI_HII_SIBT_STRING_SCSU         0x10
#define EFI_HII_SIBT_STRING_SCSU_FONT    0x11
#define EFI_HII_SIBT_STRINGS_SCSU        0x12
#define EFI_HII_SIBT_STRINGS_SCSU_FONT   0x13
#define EFI_HII_SIBT_STRING_UCS2         0x14
#define EFI_HII_SIBT_STRING_UCS2_FONT    0x15
#define EFI_HII_SIBT_STRINGS_UCS2        0x16
#define EFI_HII_SIBT_STRINGS_UCS2_FONT   0x17
#define EFI_HII_SIBT_DUPLICATE           0x20
#define EFI_HII_SIBT_SKIP2               0x21
#define EFI_HII_SIBT_SKIP1               0x22
#define EFI_HII_SIBT_EXT1                0x30
#define EFI_HII_SIBT_EXT2                0x31
#define EFI_HII_SIBT_EXT4                0x32
#define EFI_HII_SIBT_FONT                0x40

#pragma pack(1)

typedef struct {
  EFI_HII_PACKAGE_HEADER    Header;
  UINT32                    HdrSize;           // header, language and its NUL
  UINT32                    StringInfoOffset;  // first string block, from the package start
  CHAR16                    LanguageWindow[16];
  EFI_STRING_ID             LanguageName;
  CHAR8                     Language[1];       // NUL-terminated RFC 4646 tag
} EFI_HII_STRING_PACKAGE_HDR;

typedef struct {
  UINT8    BlockType;
} EFI_HII_STRING_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  CHAR16                  StringText[1];
} EFI_HII_SIBT_STRING_UCS2_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT8                   FontIdentifier;
  CHAR16                  StringText[1];
} EFI_HII_SIBT_STRING_UCS2_FONT_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT16                  StringCount;
  CHAR16                  StringText[1];
} EFI_HII_SIBT_STRINGS_UCS2_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  EFI_STRING_ID           StringId;
} EFI_HII_SIBT_DUPLICATE_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT16                  SkipCount;
} EFI_HII_SIBT_SKIP2_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT8                   SkipCount;
} EFI_HII_SIBT_SKIP1_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT8                   BlockType2;
  UINT8                   Length;   // the whole block, header included
} EFI_HII_SIBT_EXT1_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT8                   BlockType2;
  UINT16                  Length;
} EFI_HII_SIBT_EXT2_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
  UINT8                   BlockType2;
  UINT32                  Length;
} EFI_HII_SIBT_EXT4_BLOCK;

typedef struct {
  EFI_HII_SIBT_EXT2_BLOCK    Header;
  UINT8                      FontId;
  UINT16                     FontSize;
  EFI_HII_FONT_STYLE         FontStyle;
  CHAR16                     FontName[1];
} EFI_HII_SIBT_FONT_BLOCK;

typedef struct {
  EFI_HII_STRING_BLOCK    Header;
} EFI_HII_SIBT_END_BLOCK;

#pragma pack()

static_assert (sizeof (EFI_HII_STRING_PACKAGE_HDR) == 47, "string package header with a 1-byte language");
static_assert (OFFSET_OF (EFI_HII_STRING_PACKAGE_HDR, HdrSize) == 4, "string package header layout");
static_assert (OFFSET_OF (EFI_HII_STRING_PACKAGE_HDR, StringInfoOffset) == 8, "string package header layout");
static_assert (OFFSET_OF (EFI_HII_STRING_PACKAGE_HDR, LanguageWindow) == 12, "string package header layout");
static_assert (OFFSET_OF (EFI_HII_STRING_PACKAGE_HDR, LanguageName) == 44, "string package header layout");
static_assert (OFFSET_OF (EFI_HII_STRING_PACKAGE_HDR, Language) == 46, "string package header layout");
static_assert (sizeof (EFI_HII_SIBT_STRING_UCS2_BLOCK) == 3, "an empty UCS-2 string block");
static_assert (sizeof (EFI_HII_SIBT_STRING_UCS2_FONT_BLOCK) == 4, "an empty UCS-2 font string block");
static_assert (sizeof (EFI_HII_SIBT_DUPLICATE_BLOCK) == 3, "duplicate block");
static_assert (sizeof (EFI_HII_SIBT_SKIP2_BLOCK) == 3, "skip2 block");
static_assert (sizeof (EFI_HII_SIBT_SKIP1_BLOCK) == 2, "skip1 block");
static_assert (sizeof (EFI_HII_SIBT_EXT1_BLOCK) == 3, "ext1 block");
static_assert (sizeof (EFI_HII_SIBT_EXT2_BLOCK) == 4, "ext2 block");
static_assert (sizeof (EFI_HII_SIBT_EXT4_BLOCK) == 6, "ext4 block");
static_assert (sizeof (EFI_HII_SIBT_FONT_BLOCK) == 13, "font block with a 1-character name");

// ---------------------------------------------------------------------------
// IFR: opcode values
// ---------------------------------------------------------------------------

#define EFI_IFR_FORM_OP                 0x01
#define EFI_IFR_SUBTITLE_OP             0x02
#define EFI_IFR_TEXT_OP                 0x03
#define EFI_IFR_IMAGE_OP                0x04
#define EFI_IFR_ONE_OF_OP               0x05
#define EFI_IFR_CHECKBOX_OP             0x06
#define EFI_IFR_NUMERIC_OP              0x07
#define EFI_IFR_PASSWORD_OP             0x08
#define EFI_IFR_ONE_OF_OPTION_OP        0x09
#define EFI_IFR_SUPPRESS_IF_OP          0x0A
#define EFI_IFR_LOCKED_OP               0x0B
#define EFI_IFR_ACTION_OP               0x0C
#define EFI_IFR_RESET_BUTTON_OP         0x0D
#define EFI_IFR_FORM_SET_OP             0x0E
#define EFI_IFR_REF_OP                  0x0F
#define EFI_IFR_NO_SUBMIT_IF_OP         0x10
#define EFI_IFR_INCONSISTENT_IF_OP      0x11
#define EFI_IFR_EQ_ID_VAL_OP            0x12
#define EFI_IFR_EQ_ID_ID_OP             0x13
#define EFI_IFR_EQ_ID_VAL_LIST_OP       0x14
#define EFI_IFR_AND_OP                  0x15
#define EFI_IFR_OR_OP                   0x16
#define EFI_IFR_NOT_OP                  0x17
#define EFI_IFR_RULE_OP                 0x18
#define EFI_IFR_GRAY_OUT_IF_OP          0x19
#define EFI_IFR_DATE_OP                 0x1A
#define EFI_IFR_TIME_OP                 0x1B
#define EFI_IFR_STRING_OP               0x1C
#define EFI_IFR_REFRESH_OP              0x1D
#define EFI_IFR_DISABLE_IF_OP           0x1E
#define EFI_IFR_ANIMATION_OP            0x1F
#define EFI_IFR_TO_LOWER_OP             0x20
#define EFI_IFR_TO_UPPER_OP             0x21
#define EFI_IFR_MAP_OP                  0x22
#define EFI_IFR_ORDERED_LIST_OP         0x23
#define EFI_IFR_VARSTORE_OP             0x24
#define EFI_IFR_VARSTORE_NAME_VALUE_OP  0x25
#define EFI_IFR_VARSTORE_EFI_OP         0x26
#define EFI_IFR_VARSTORE_DEVICE_OP      0x27
#define EFI_IFR_VERSION_OP              0x28
#define EFI_IFR_END_OP                  0x29
#define EFI_IFR_MATCH_OP                0x2A
#define EFI_IFR_GET_OP                  0x2B
#define EFI_IFR_SET_OP                  0x2C
#define EFI_IFR_READ_OP                 0x2D
#define EFI_IFR_WRITE_OP                0x2E
#define EFI_IFR_EQUAL_OP                0x2F
#define EFI_IFR_NOT_EQUAL_OP            0x30
#define EFI_IFR_GREATER_THAN_OP         0x31
#define EFI_IFR_GREATER_EQUAL_OP        0x32
#define EFI_IFR_LESS_THAN_OP            0x33
#define EFI_IFR_LESS_EQUAL_OP           0x34
#define EFI_IFR_BITWISE_AND_OP          0x35
#define EFI_IFR_BITWISE_OR_OP           0x36
#define EFI_IFR_BITWISE_NOT_OP          0x37
#define EFI_IFR_SHIFT_LEFT_OP           0x38
#define EFI_IFR_SHIFT_RIGHT_OP          0x39
#define EFI_IFR_ADD_OP                  0x3A
#define EFI_IFR_SUBTRACT_OP             0x3B
#define EFI_IFR_MULTIPLY_OP             0x3C
#define EFI_IFR_DIVIDE_OP               0x3D
#define EFI_IFR_MODULO_OP               0x3E
#define EFI_IFR_RULE_REF_OP             0x3F
#define EFI_IFR_QUESTION_REF1_OP        0x40
#define EFI_IFR_QUESTION_REF2_OP        0x41
#define EFI_IFR_UINT8_OP                0x42
#define EFI_IFR_UINT16_OP               0x43
#define EFI_IFR_UINT32_OP               0x44
#define EFI_IFR_UINT64_OP               0x45
#define EFI_IFR_TRUE_OP                 0x46
#define EFI_IFR_FALSE_OP                0x47
#define EFI_IFR_TO_UINT_OP              0x48
#define EFI_IFR_TO_STRING_OP            0x49
#define EFI_IFR_TO_BOOLEAN_OP           0x4A
#define EFI_IFR_MID_OP                  0x4B
#define EFI_IFR_FIND_OP                 0x4C
#define EFI_IFR_TOKEN_OP                0x4D
#define EFI_IFR_STRING_REF1_OP          0x4E
#define EFI_IFR_STRING_REF2_OP          0x4F
#define EFI_IFR_CONDITIONAL_OP          0x50
#define EFI_IFR_QUESTION_REF3_OP        0x51
#define EFI_IFR_ZERO_OP                 0x52
#define EFI_IFR_ONE_OP                  0x53
#define EFI_IFR_ONES_OP                 0x54
#define EFI_IFR_UNDEFINED_OP            0x55
#define EFI_IFR_LENGTH_OP               0x56
#define EFI_IFR_DUP_OP                  0x57
#define EFI_IFR_THIS_OP                 0x58
#define EFI_IFR_SPAN_OP                 0x59
#define EFI_IFR_VALUE_OP                0x5A
#define EFI_IFR_DEFAULT_OP              0x5B
#define EFI_IFR_DEFAULTSTORE_OP         0x5C
#define EFI_IFR_FORM_MAP_OP             0x5D
#define EFI_IFR_CATENATE_OP             0x5E
#define EFI_IFR_GUID_OP                 0x5F
#define EFI_IFR_SECURITY_OP             0x60
#define EFI_IFR_MODAL_TAG_OP            0x61
#define EFI_IFR_REFRESH_ID_OP           0x62
#define EFI_IFR_WARNING_IF_OP           0x63
#define EFI_IFR_MATCH2_OP               0x64

// Question flags.
#define EFI_IFR_FLAG_READ_ONLY           0x01
#define EFI_IFR_FLAG_CALLBACK            0x04
#define EFI_IFR_FLAG_RESET_REQUIRED      0x10
#define EFI_IFR_FLAG_REST_STYLE          0x20
#define EFI_IFR_FLAG_RECONNECT_REQUIRED  0x40
#define EFI_IFR_FLAG_OPTIONS_ONLY        0x80

// Numeric and one-of flags: storage size and display.
#define EFI_IFR_NUMERIC_SIZE    0x03
#define EFI_IFR_NUMERIC_SIZE_1  0x00
#define EFI_IFR_NUMERIC_SIZE_2  0x01
#define EFI_IFR_NUMERIC_SIZE_4  0x02
#define EFI_IFR_NUMERIC_SIZE_8  0x03
#define EFI_IFR_DISPLAY         0x30
#define EFI_IFR_DISPLAY_INT_DEC   0x00
#define EFI_IFR_DISPLAY_UINT_DEC  0x10
#define EFI_IFR_DISPLAY_UINT_HEX  0x20

#define EFI_IFR_CHECKBOX_DEFAULT      0x01
#define EFI_IFR_CHECKBOX_DEFAULT_MFG  0x02
#define EFI_IFR_FLAGS_HORIZONTAL      0x01
#define EFI_IFR_STRING_MULTI_LINE     0x01
#define EFI_IFR_UNIQUE_SET            0x01
#define EFI_IFR_NO_EMPTY_SET          0x02
#define EFI_IFR_OPTION_DEFAULT        0x10
#define EFI_IFR_OPTION_DEFAULT_MFG    0x20

#define EFI_QF_DATE_YEAR_SUPPRESS   0x01
#define EFI_QF_DATE_MONTH_SUPPRESS  0x02
#define EFI_QF_DATE_DAY_SUPPRESS    0x04
#define EFI_QF_DATE_STORAGE         0x30
#define QF_DATE_STORAGE_NORMAL      0x00
#define QF_DATE_STORAGE_TIME        0x10
#define QF_DATE_STORAGE_WAKEUP      0x20
#define QF_TIME_HOUR_SUPPRESS       0x01
#define QF_TIME_MINUTE_SUPPRESS     0x02
#define QF_TIME_SECOND_SUPPRESS     0x04
#define QF_TIME_STORAGE             0x30
#define QF_TIME_STORAGE_NORMAL      0x00
#define QF_TIME_STORAGE_TIME        0x10
#define QF_TIME_STORAGE_WAKEUP      0x20

// Value types.
#define EFI_IFR_TYPE_NUM_SIZE_8   0x00
#define EFI_IFR_TYPE_NUM_SIZE_16  0x01
#define EFI_IFR_TYPE_NUM_SIZE_32  0x02
#define EFI_IFR_TYPE_NUM_SIZE_64  0x03
#define EFI_IFR_TYPE_BOOLEAN      0x04
#define EFI_IFR_TYPE_TIME         0x05
#define EFI_IFR_TYPE_DATE         0x06
#define EFI_IFR_TYPE_STRING       0x07
#define EFI_IFR_TYPE_OTHER        0x08
#define EFI_IFR_TYPE_UNDEFINED    0x09
#define EFI_IFR_TYPE_ACTION       0x0A
#define EFI_IFR_TYPE_BUFFER       0x0B
#define EFI_IFR_TYPE_REF          0x0C

// Default stores.
#define EFI_HII_DEFAULT_CLASS_STANDARD       0x0000
#define EFI_HII_DEFAULT_CLASS_MANUFACTURING  0x0001
#define EFI_HII_DEFAULT_CLASS_SAFE           0x0002
#define EFI_HII_DEFAULT_CLASS_PLATFORM_BEGIN 0x4000
#define EFI_HII_DEFAULT_CLASS_PLATFORM_END   0x7FFF
#define EFI_HII_DEFAULT_CLASS_HARDWARE_BEGIN 0x8000
#define EFI_HII_DEFAULT_CLASS_HARDWARE_END   0xBFFF
#define EFI_HII_DEFAULT_CLASS_FIRMWARE_BEGIN 0xC000
#define EFI_HII_DEFAULT_CLASS_FIRMWARE_END   0xFFFF

// Form set flags: the low two bits count the class GUIDs.
#define EFI_IFR_FORM_SET_CLASS_GUID_COUNT  0x03

// ---------------------------------------------------------------------------
// IFR: values and browser actions
// ---------------------------------------------------------------------------

#pragma pack(1)

typedef struct {
  UINT8    Hour;
  UINT8    Minute;
  UINT8    Second;
} EFI_HII_TIME;

typedef struct {
  UINT16    Year;
  UINT8     Month;
  UINT8     Day;
} EFI_HII_DATE;

typedef struct {
  EFI_QUESTION_ID    QuestionId;
  EFI_FORM_ID        FormId;
  EFI_GUID           FormSetGuid;
  EFI_STRING_ID      DevicePath;
} EFI_HII_REF;

typedef union {
  UINT8            u8;
  UINT16           u16;
  UINT32           u32;
  UINT64           u64;
  BOOLEAN          b;
  EFI_HII_TIME     time;
  EFI_HII_DATE     date;
  EFI_STRING_ID    string;
  EFI_HII_REF      ref;
} EFI_IFR_TYPE_VALUE;

#pragma pack()

static_assert (sizeof (EFI_HII_TIME) == 3, "time value");
static_assert (sizeof (EFI_HII_DATE) == 4, "date value");
static_assert (sizeof (EFI_HII_REF) == 22, "reference value");
static_assert (OFFSET_OF (EFI_HII_REF, FormSetGuid) == 4, "reference value layout");
static_assert (OFFSET_OF (EFI_HII_REF, DevicePath) == 20, "reference value layout");
static_assert (sizeof (EFI_IFR_TYPE_VALUE) == 22, "IFR value union");

typedef UINTN EFI_BROWSER_ACTION;

#define EFI_BROWSER_ACTION_CHANGING               0
#define EFI_BROWSER_ACTION_CHANGED                1
#define EFI_BROWSER_ACTION_RETRIEVE               2
#define EFI_BROWSER_ACTION_FORM_OPEN              3
#define EFI_BROWSER_ACTION_FORM_CLOSE             4
#define EFI_BROWSER_ACTION_SUBMITTED              5
#define EFI_BROWSER_ACTION_DEFAULT_STANDARD       0x1000
#define EFI_BROWSER_ACTION_DEFAULT_MANUFACTURING  0x1001
#define EFI_BROWSER_ACTION_DEFAULT_SAFE           0x1002
#define EFI_BROWSER_ACTION_DEFAULT_PLATFORM       0x2000
#define EFI_BROWSER_ACTION_DEFAULT_HARDWARE       0x3000
#define EFI_BROWSER_ACTION_DEFAULT_FIRMWARE       0x4000

typedef UINTN EFI_BROWSER_ACTION_REQUEST;

#define EFI_BROWSER_ACTION_REQUEST_NONE               0
#define EFI_BROWSER_ACTION_REQUEST_RESET              1
#define EFI_BROWSER_ACTION_REQUEST_SUBMIT             2
#define EFI_BROWSER_ACTION_REQUEST_EXIT               3
#define EFI_BROWSER_ACTION_REQUEST_FORM_SUBMIT_EXIT   4
#define EFI_BROWSER_ACTION_REQUEST_FORM_DISCARD_EXIT  5
#define EFI_BROWSER_ACTION_REQUEST_FORM_APPLY         6
#define EFI_BROWSER_ACTION_REQUEST_FORM_DISCARD       7
#define EFI_BROWSER_ACTION_REQUEST_RECONNECT          8
#define EFI_BROWSER_ACTION_REQUEST_QUESTION_APPLY     9

// ---------------------------------------------------------------------------
// IFR: opcode layouts
// ---------------------------------------------------------------------------

// Length of the whole opcode (2..127) in bits 0-6; bit 7 opens a scope that
// the matching EFI_IFR_END closes.
#define EFI_IFR_OP_LENGTH_MASK  0x7F
#define EFI_IFR_OP_SCOPE_BIT    0x80
#define EFI_IFR_MAX_OP_LENGTH   0x7F

#pragma pack(1)

typedef struct {
  UINT8    OpCode;
  UINT8    LengthAndScope;
} EFI_IFR_OP_HEADER;

typedef struct {
  EFI_STRING_ID    Prompt;
  EFI_STRING_ID    Help;
} EFI_IFR_STATEMENT_HEADER;

typedef struct {
  EFI_IFR_STATEMENT_HEADER    Header;
  EFI_QUESTION_ID             QuestionId;
  EFI_VARSTORE_ID             VarStoreId;
  union {
    EFI_STRING_ID    VarName;     // name/value stores
    UINT16           VarOffset;   // buffer and EFI variable stores
  } VarStoreInfo;
  UINT8                       Flags;
} EFI_IFR_QUESTION_HEADER;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  EFI_STRING_ID        FormSetTitle;
  EFI_STRING_ID        Help;
  UINT8                Flags;
  // EFI_GUID ClassGuid[Flags & 3] follows.
} EFI_IFR_FORM_SET;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_FORM_ID          FormId;
  EFI_STRING_ID        FormTitle;
} EFI_IFR_FORM;

typedef struct {
  EFI_IFR_OP_HEADER           Header;
  EFI_IFR_STATEMENT_HEADER    Statement;
  UINT8                       Flags;
} EFI_IFR_SUBTITLE;

typedef struct {
  EFI_IFR_OP_HEADER           Header;
  EFI_IFR_STATEMENT_HEADER    Statement;
  EFI_STRING_ID               TextTwo;
} EFI_IFR_TEXT;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_IMAGE_ID         Id;
} EFI_IFR_IMAGE;

typedef union {
  struct {
    UINT8    MinValue;
    UINT8    MaxValue;
    UINT8    Step;
  } u8;
  struct {
    UINT16    MinValue;
    UINT16    MaxValue;
    UINT16    Step;
  } u16;
  struct {
    UINT32    MinValue;
    UINT32    MaxValue;
    UINT32    Step;
  } u32;
  struct {
    UINT64    MinValue;
    UINT64    MaxValue;
    UINT64    Step;
  } u64;
} MINMAXSTEP_DATA;

// One-of and numeric opcodes are emitted cut to 14 + 3 x width bytes.
typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  UINT8                      Flags;
  MINMAXSTEP_DATA            data;
} EFI_IFR_ONE_OF;

typedef EFI_IFR_ONE_OF EFI_IFR_NUMERIC;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  UINT8                      Flags;
} EFI_IFR_CHECKBOX;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  UINT16                     MinSize;
  UINT16                     MaxSize;
} EFI_IFR_PASSWORD;

// Emitted cut to the width of Type.
typedef struct {
  EFI_IFR_OP_HEADER     Header;
  EFI_STRING_ID         Option;
  UINT8                 Flags;
  UINT8                 Type;
  EFI_IFR_TYPE_VALUE    Value;
} EFI_IFR_ONE_OF_OPTION;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
} EFI_IFR_SUPPRESS_IF, EFI_IFR_GRAY_OUT_IF, EFI_IFR_DISABLE_IF, EFI_IFR_LOCKED, EFI_IFR_END, EFI_IFR_AND, EFI_IFR_OR,
  EFI_IFR_NOT, EFI_IFR_TRUE, EFI_IFR_FALSE, EFI_IFR_VERSION, EFI_IFR_VALUE, EFI_IFR_ONE, EFI_IFR_ZERO, EFI_IFR_ONES,
  EFI_IFR_MODAL_TAG;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  EFI_STRING_ID              QuestionConfig;
} EFI_IFR_ACTION;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
} EFI_IFR_ACTION_1;

typedef struct {
  EFI_IFR_OP_HEADER           Header;
  EFI_IFR_STATEMENT_HEADER    Statement;
  EFI_DEFAULT_ID              DefaultId;
} EFI_IFR_RESET_BUTTON;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  EFI_FORM_ID                FormId;
} EFI_IFR_REF;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  EFI_FORM_ID                FormId;
  EFI_QUESTION_ID            QuestionId;
} EFI_IFR_REF2;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  EFI_FORM_ID                FormId;
  EFI_QUESTION_ID            QuestionId;
  EFI_GUID                   FormSetId;
} EFI_IFR_REF3;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  EFI_FORM_ID                FormId;
  EFI_QUESTION_ID            QuestionId;
  EFI_GUID                   FormSetId;
  EFI_STRING_ID              DevicePath;   // a text device path
} EFI_IFR_REF4;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
} EFI_IFR_REF5;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_STRING_ID        Error;
} EFI_IFR_NO_SUBMIT_IF, EFI_IFR_INCONSISTENT_IF;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_STRING_ID        Warning;
  UINT8                TimeOut;
} EFI_IFR_WARNING_IF;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_QUESTION_ID      QuestionId;
  UINT16               Value;
} EFI_IFR_EQ_ID_VAL;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_QUESTION_ID      QuestionId1;
  EFI_QUESTION_ID      QuestionId2;
} EFI_IFR_EQ_ID_ID;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_QUESTION_ID      QuestionId;
  UINT16               ListLength;
  UINT16               ValueList[1];
} EFI_IFR_EQ_ID_VAL_LIST;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  UINT8                RuleId;
} EFI_IFR_RULE, EFI_IFR_RULE_REF;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  UINT8                      Flags;
} EFI_IFR_DATE, EFI_IFR_TIME;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  UINT8                      MinSize;   // characters
  UINT8                      MaxSize;
  UINT8                      Flags;
} EFI_IFR_STRING;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  UINT8                RefreshInterval;
} EFI_IFR_REFRESH;

typedef struct {
  EFI_IFR_OP_HEADER          Header;
  EFI_IFR_QUESTION_HEADER    Question;
  UINT8                      MaxContainers;
  UINT8                      Flags;
} EFI_IFR_ORDERED_LIST;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  EFI_VARSTORE_ID      VarStoreId;
  UINT16               Size;
  UINT8                Name[1];   // NUL-terminated ASCII
} EFI_IFR_VARSTORE;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_VARSTORE_ID      VarStoreId;
  EFI_GUID             Guid;
} EFI_IFR_VARSTORE_NAME_VALUE;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_VARSTORE_ID      VarStoreId;
  EFI_GUID             Guid;
  UINT32               Attributes;
  UINT16               Size;
  UINT8                Name[1];   // NUL-terminated ASCII
} EFI_IFR_VARSTORE_EFI;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_STRING_ID        DevicePath;
} EFI_IFR_VARSTORE_DEVICE;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_DEFAULT_ID       DefaultId;
  UINT8                Type;
  EFI_IFR_TYPE_VALUE   Value;   // cut to the width of Type
} EFI_IFR_DEFAULT;

// A default given by a nested VALUE expression.
typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_DEFAULT_ID       DefaultId;
  UINT8                Type;
} EFI_IFR_DEFAULT_2;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_STRING_ID        DefaultName;
  EFI_DEFAULT_ID       DefaultId;
} EFI_IFR_DEFAULTSTORE;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_QUESTION_ID      QuestionId;
} EFI_IFR_QUESTION_REF1;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  UINT8                Value;
} EFI_IFR_UINT8;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  UINT16               Value;
} EFI_IFR_UINT16;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  UINT32               Value;
} EFI_IFR_UINT32;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  UINT64               Value;
} EFI_IFR_UINT64;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  // GUID-specific data follows.
} EFI_IFR_GUID;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             RefreshEventGroupId;
} EFI_IFR_REFRESH_ID;

#pragma pack()

static_assert (sizeof (EFI_IFR_OP_HEADER) == 2, "IFR opcode header");
static_assert (sizeof (EFI_IFR_STATEMENT_HEADER) == 4, "statement header");
static_assert (sizeof (EFI_IFR_QUESTION_HEADER) == 11, "question header");
static_assert (OFFSET_OF (EFI_IFR_QUESTION_HEADER, QuestionId) == 4, "question header layout");
static_assert (OFFSET_OF (EFI_IFR_QUESTION_HEADER, VarStoreId) == 6, "question header layout");
static_assert (OFFSET_OF (EFI_IFR_QUESTION_HEADER, VarStoreInfo) == 8, "question header layout");
static_assert (OFFSET_OF (EFI_IFR_QUESTION_HEADER, Flags) == 10, "question header layout");
static_assert (sizeof (EFI_IFR_FORM) == 6, "FORM");
static_assert (sizeof (EFI_IFR_SUBTITLE) == 7, "SUBTITLE");
static_assert (sizeof (EFI_IFR_TEXT) == 8, "TEXT");
static_assert (sizeof (EFI_IFR_IMAGE) == 4, "IMAGE");
static_assert (sizeof (MINMAXSTEP_DATA) == 24, "min/max/step");
static_assert (OFFSET_OF (EFI_IFR_ONE_OF, Flags) == 13, "ONE_OF layout");
static_assert (OFFSET_OF (EFI_IFR_ONE_OF, data) == 14, "ONE_OF layout");
static_assert (sizeof (EFI_IFR_ONE_OF) == 38, "ONE_OF with 64-bit data");
static_assert (sizeof (EFI_IFR_CHECKBOX) == 14, "CHECKBOX");
static_assert (sizeof (EFI_IFR_PASSWORD) == 17, "PASSWORD");
static_assert (OFFSET_OF (EFI_IFR_ONE_OF_OPTION, Value) == 6, "ONE_OF_OPTION layout");
static_assert (sizeof (EFI_IFR_SUPPRESS_IF) == 2, "SUPPRESS_IF");
static_assert (sizeof (EFI_IFR_ACTION) == 15, "ACTION");
static_assert (sizeof (EFI_IFR_ACTION_1) == 13, "ACTION_1");
static_assert (sizeof (EFI_IFR_RESET_BUTTON) == 8, "RESET_BUTTON");
static_assert (sizeof (EFI_IFR_FORM_SET) == 23, "FORM_SET without class GUIDs");
static_assert (sizeof (EFI_IFR_REF) == 15, "REF");
static_assert (sizeof (EFI_IFR_REF2) == 17, "REF2");
static_assert (sizeof (EFI_IFR_REF3) == 33, "REF3");
static_assert (sizeof (EFI_IFR_REF4) == 35, "REF4");
static_assert (sizeof (EFI_IFR_REF5) == 13, "REF5");
static_assert (sizeof (EFI_IFR_NO_SUBMIT_IF) == 4, "NO_SUBMIT_IF");
static_assert (sizeof (EFI_IFR_INCONSISTENT_IF) == 4, "INCONSISTENT_IF");
static_assert (sizeof (EFI_IFR_WARNING_IF) == 5, "WARNING_IF");
static_assert (sizeof (EFI_IFR_EQ_ID_VAL) == 6, "EQ_ID_VAL");
static_assert (sizeof (EFI_IFR_EQ_ID_ID) == 6, "EQ_ID_ID");
static_assert (sizeof (EFI_IFR_EQ_ID_VAL_LIST) == 8, "EQ_ID_VAL_LIST with one value");
static_assert (sizeof (EFI_IFR_RULE) == 3, "RULE");
static_assert (sizeof (EFI_IFR_DATE) == 14, "DATE");
static_assert (sizeof (EFI_IFR_TIME) == 14, "TIME");
static_assert (sizeof (EFI_IFR_STRING) == 16, "STRING");
static_assert (sizeof (EFI_IFR_REFRESH) == 3, "REFRESH");
static_assert (sizeof (EFI_IFR_ORDERED_LIST) == 15, "ORDERED_LIST");
static_assert (sizeof (EFI_IFR_VARSTORE) == 23, "VARSTORE with a 1-byte name");
static_assert (OFFSET_OF (EFI_IFR_VARSTORE, Name) == 22, "VARSTORE layout");
static_assert (sizeof (EFI_IFR_VARSTORE_NAME_VALUE) == 20, "VARSTORE_NAME_VALUE");
static_assert (sizeof (EFI_IFR_VARSTORE_EFI) == 27, "VARSTORE_EFI with a 1-byte name");
static_assert (OFFSET_OF (EFI_IFR_VARSTORE_EFI, Attributes) == 20, "VARSTORE_EFI layout");
static_assert (OFFSET_OF (EFI_IFR_VARSTORE_EFI, Name) == 26, "VARSTORE_EFI layout");
static_assert (sizeof (EFI_IFR_VARSTORE_DEVICE) == 4, "VARSTORE_DEVICE");
static_assert (OFFSET_OF (EFI_IFR_DEFAULT, Value) == 5, "DEFAULT layout");
static_assert (sizeof (EFI_IFR_DEFAULT_2) == 5, "DEFAULT_2");
static_assert (sizeof (EFI_IFR_DEFAULTSTORE) == 6, "DEFAULTSTORE");
static_assert (sizeof (EFI_IFR_QUESTION_REF1) == 4, "QUESTION_REF1");
static_assert (sizeof (EFI_IFR_UINT8) == 3, "UINT8");
static_assert (sizeof (EFI_IFR_UINT16) == 4, "UINT16");
static_assert (sizeof (EFI_IFR_UINT32) == 6, "UINT32");
static_assert (sizeof (EFI_IFR_UINT64) == 10, "UINT64");
static_assert (sizeof (EFI_IFR_GUID) == 18, "GUID opcode header");
static_assert (sizeof (EFI_IFR_REFRESH_ID) == 18, "REFRESH_ID");

static inline UINT8
IfrOpLength (
  IN CONST EFI_IFR_OP_HEADER *Header
  )
{
  return (UINT8)(Header->LengthAndScope & EFI_IFR_OP_LENGTH_MASK);
}

static inline BOOLEAN
IfrOpScope (
  IN CONST EFI_IFR_OP_HEADER *Header
  )
{
  return (BOOLEAN)((Header->LengthAndScope & EFI_IFR_OP_SCOPE_BIT) != 0);
}

static inline VOID
IfrSetOpHeader (
  OUT EFI_IFR_OP_HEADER *Header,
  IN  UINT8             OpCode,
  IN  UINT8             Length,
  IN  BOOLEAN           Scope
  )
{
  Header->OpCode         = OpCode;
  Header->LengthAndScope = (UINT8)((Length & EFI_IFR_OP_LENGTH_MASK) | (Scope ? EFI_IFR_OP_SCOPE_BIT : 0));
}

// ---------------------------------------------------------------------------
// EDK II's GUIDed opcodes (labels, banners, class and subclass) and the
// form set class GUIDs.
// ---------------------------------------------------------------------------

CARVEX_GUID_DEFINE (gEfiIfrTianoGuid, 0x0f0b1735, 0x87a0, 0x4193, 0xb2, 0x66, 0x53, 0x8c, 0x38, 0xaf, 0x48, 0xce);
CARVEX_GUID_DEFINE (gEfiHiiPlatformSetupFormsetGuid, 0x93039971, 0x8545, 0x4b04, 0xb4, 0x5e, 0x32, 0xeb, 0x83, 0x26, 0x04, 0x0e);
CARVEX_GUID_DEFINE (gEfiHiiStandardFormGuid, 0x3bd2f4ec, 0xe524, 0x46e4, 0xa9, 0xd8, 0x51, 0x01, 0x17, 0x42, 0x55, 0x62);

#define EFI_IFR_EXTEND_OP_LABEL     0x0
#define EFI_IFR_EXTEND_OP_BANNER    0x1
#define EFI_IFR_EXTEND_OP_TIMEOUT   0x2
#define EFI_IFR_EXTEND_OP_CLASS     0x3
#define EFI_IFR_EXTEND_OP_SUBCLASS  0x4

#pragma pack(1)

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;           // gEfiIfrTianoGuid
  UINT8                ExtendOpCode;   // EFI_IFR_EXTEND_OP_LABEL
  UINT16               Number;
} EFI_IFR_GUID_LABEL;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  UINT8                ExtendOpCode;   // EFI_IFR_EXTEND_OP_BANNER
  EFI_STRING_ID        Title;
  UINT16               LineNumber;
  UINT8                Alignment;      // 0 left, 1 center, 2 right
} EFI_IFR_GUID_BANNER;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  UINT8                ExtendOpCode;   // EFI_IFR_EXTEND_OP_TIMEOUT
  UINT16               TimeOut;
} EFI_IFR_GUID_TIMEOUT;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  UINT8                ExtendOpCode;   // EFI_IFR_EXTEND_OP_CLASS
  UINT16               Class;
} EFI_IFR_GUID_CLASS;

typedef struct {
  EFI_IFR_OP_HEADER    Header;
  EFI_GUID             Guid;
  UINT8                ExtendOpCode;   // EFI_IFR_EXTEND_OP_SUBCLASS
  UINT16               SubClass;
} EFI_IFR_GUID_SUBCLASS;

#pragma pack()

static_assert (sizeof (EFI_IFR_GUID_LABEL) == 21, "label opcode");
static_assert (OFFSET_OF (EFI_IFR_GUID_LABEL, Number) == 19, "label opcode layout");
static_assert (sizeof (EFI_IFR_GUID_BANNER) == 24, "banner opcode");
static_assert (sizeof (EFI_IFR_GUID_TIMEOUT) == 21, "timeout opcode");
static_assert (sizeof (EFI_IFR_GUID_CLASS) == 21, "class opcode");
static_assert (sizeof (EFI_IFR_GUID_SUBCLASS) == 21, "subclass opcode");

#endif
