// Store layouts shared by Sample.vfr and the tests that decode its package.
#ifndef SAMPLE_CONFIG_H_
#define SAMPLE_CONFIG_H_

#ifndef VFRCOMPILE
#include <stdint.h>
typedef uint8_t  UINT8;
typedef uint16_t UINT16;
typedef uint32_t UINT32;
typedef uint64_t UINT64;
typedef char16_t CHAR16;
typedef uint8_t  BOOLEAN;
#endif

#define SAMPLE_GUID \
  { 0xE8B18FEE, 0xA44E, 0x4F97, { 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98 } }
#define SAMPLE_CLASS_GUID   { 0x5C8E9747, 0xA5F7, 0x4593, 0xAF, 0x1F, 0x66, 0xA8, 0x2A, 0xA1, 0x9C, 0xB1 }

#define SOCKET_COUNT   4
#define SLOT_COUNT     (SOCKET_COUNT * 2)

#define FORM_MAIN      0x0001
#define FORM_DETAILS   0x0002
#define QID_COUNT      0x0101
#define LABEL_START    0x1000
#define LABEL_END      0xFFFF

#pragma pack(push, 1)

typedef struct {
  UINT8  State;
  CHAR16 Name[5];
  UINT16 Socket;
} SLOT_RECORD;              // 13 bytes

typedef struct {
  UINT32      Count;                     // 0
  CHAR16      Total[19];                 // 4
  UINT8       Present[SOCKET_COUNT];     // 42
  UINT8       Scope;                     // 46
  UINT16      Percent;                   // 47
  UINT64      Big;                       // 49
  BOOLEAN     Enabled;                   // 57
  SLOT_RECORD Slots[SLOT_COUNT];         // 58, 8 x 13
  struct {
    UINT8  Mode;
    CHAR16 Secret[9];
  } Security;                            // 162
  UINT8       Grid[2][3];                // 181
} SAMPLE_VAR;                            // 187 bytes

typedef struct {
  UINT8 Threshold;
  UINT8 Cache;
} SAMPLE_NV;

#pragma pack(pop)

// Natural alignment outside the pack: Value lands at offset 4.
typedef struct {
  UINT8  Flag;
  UINT32 Value;
} NATURAL_VAR;

#ifndef VFRCOMPILE
static_assert (sizeof (SAMPLE_VAR) == 187, "layout fixed by the forms");
inline int sampleHelper (int x) { return x + 1; }
#endif

#endif
