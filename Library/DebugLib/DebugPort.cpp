/** @file
  Debug output when the platform publishes no sink: QEMU's debug console
  (I/O port 0x402) in firmware; nowhere on the host, where every platform
  that wants the text publishes a sink.
**/
#include "DebugSinkState.h"

#ifdef CARVEX_FIRMWARE

#define QEMU_DEBUG_CONSOLE_PORT  0x402

VOID
DebugWriteWithoutSink (
  IN CONST CHAR8 *Text
  )
{
  for ( ; *Text != 0; Text++) {
    __asm__ __volatile__ ("outb %b0, %w1" : : "a" (*Text), "Nd" (static_cast<UINT16>(QEMU_DEBUG_CONSOLE_PORT)));
  }
}

#else

VOID
DebugWriteWithoutSink (
  IN CONST CHAR8 *Text
  )
{
  (VOID)Text;
}

#endif
