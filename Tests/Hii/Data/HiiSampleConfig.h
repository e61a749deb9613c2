// The store of the compiled sample form set, shared by the form source and
// the test that routes it.
#ifndef HII_SAMPLE_CONFIG_H_
#define HII_SAMPLE_CONFIG_H_

#ifndef VFRCOMPILE
#include <Uefi/UefiBaseType.h>
#endif

#define HII_SAMPLE_FORMSET_GUID \
  { 0x11111111, 0x2222, 0x3333, { 0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55 } }
#define HII_SAMPLE_STORE_GUID \
  { 0x12345678, 0x9ABC, 0xDEF0, { 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88 } }

#define HII_SAMPLE_FORM         0x0001
#define HII_SAMPLE_LABEL_START  0x1000
#define HII_SAMPLE_LABEL_END    0xFFFF

#pragma pack(push, 1)
typedef struct {
  UINT8      Mode;      // 0
  UINT16     Count;     // 1
  BOOLEAN    Enabled;   // 3
  CHAR16     Name[4];   // 4
} HII_SAMPLE_VAR;       // 12 bytes
#pragma pack(pop)

#ifndef VFRCOMPILE
static_assert (sizeof (HII_SAMPLE_VAR) == 12, "layout the form source relies on");
#endif

#endif
