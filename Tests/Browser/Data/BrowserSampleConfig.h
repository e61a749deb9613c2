// The stores of the browser's sample form set, shared by the form source and
// the tests' driver.
#ifndef BROWSER_SAMPLE_CONFIG_H_
#define BROWSER_SAMPLE_CONFIG_H_

#ifndef VFRCOMPILE
#include <Uefi/UefiBaseType.h>
#endif

#define BROWSER_SAMPLE_FORMSET_GUID \
  { 0x5A0B9F3E, 0x1C2D, 0x4E5F, { 0x8A, 0x9B, 0x0C, 0x1D, 0x2E, 0x3F, 0x40, 0x51 } }
#define BROWSER_SAMPLE_NV_GUID \
  { 0x6B1CA04F, 0x2D3E, 0x4F60, { 0x9B, 0xAC, 0x1D, 0x2E, 0x3F, 0x40, 0x51, 0x62 } }

#define FORM_MAIN      0x0001
#define FORM_DETAILS   0x0002
#define FORM_REGIONS   0x0003
#define FORM_SECURITY  0x0004

#define LABEL_DETAILS  0x1000
#define LABEL_END      0xFFFF

#define QID_COUNT      0x0101
#define QID_SCOPE      0x0103
#define QID_PERCENT    0x0104
#define QID_ENABLED    0x0105
#define QID_NAME       0x0106
#define QID_DETAILS    0x0107
#define QID_APPLY      0x0108
#define QID_THRESHOLD  0x0109
#define QID_LEVEL      0x010A
#define QID_REGIONS    0x010B
#define QID_SECURITY   0x010C
#define QID_EXTRA      0x010D
#define QID_SECRET     0x0401
#define QID_PIN        0x0402
#define QID_RUNTIME    0x0301   // a text line HiiUpdateForm adds to the details form

#pragma pack(push, 1)
typedef struct {
  UINT32  Count;                // 0
  CHAR16  Total[10];            // 4
  UINT8   Scope;                // 24
  UINT8   Enabled;              // 25
  UINT16  Percent;              // 26
  UINT8   Mode;                 // 28
  UINT8   Extra;                // 29
  CHAR16  Name[8];              // 30
  UINT32  RegionCount;          // 46
  UINT8   Unconfigured;         // 50
  UINT8   Spare;                // 51, no question keeps anything here
  CHAR16  Secret[8];            // 52
  UINT8   MemorySupported;      // 68
  UINT8   AppDirectSupported;   // 69
  CHAR16  Pin[4];               // 70
} BROWSER_SAMPLE_VAR;           // 78 bytes

typedef struct {
  UINT8   PageCount;            // 0
  UINT8   Level;                // 1
} BROWSER_PAGE_VAR;

typedef struct {
  UINT8   Threshold;            // 0
  UINT8   Cache;                // 1
} BROWSER_NV_VAR;
#pragma pack(pop)

#ifndef VFRCOMPILE
static_assert (sizeof (BROWSER_SAMPLE_VAR) == 78, "layout the form source relies on");
static_assert (sizeof (BROWSER_PAGE_VAR) == 2, "layout the form source relies on");
#endif

#endif
