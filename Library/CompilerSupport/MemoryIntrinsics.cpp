/** @file
  memcpy, memset, memmove and memcmp for the firmware build, where clang emits
  calls to them for struct copies and zero-initialisation and no C library
  exists. Each function is marked no_builtin (and the file is compiled with
  -fno-builtin) so that the optimiser cannot recognise a loop here as the
  very function it is in and turn it back into a call to itself.
**/
#include <stddef.h>
#include <stdint.h>

namespace {

// Word accesses to memory of any declared type.
typedef uint64_t __attribute__ ((may_alias)) ALIASING_UINT64;

inline bool
BothWordAligned (
  const void  *First,
  const void  *Second
  )
{
  return ((reinterpret_cast<uintptr_t> (First) | reinterpret_cast<uintptr_t> (Second)) & 7) == 0;
}

// Shared by memcpy and memmove, so that neither calls the other.
__attribute__ ((no_builtin)) inline void
CopyForward (
  unsigned char        *To,
  const unsigned char  *From,
  size_t               Count
  )
{
  if (BothWordAligned (To, From)) {
    for ( ; Count >= 8; Count -= 8, To += 8, From += 8) {
      *reinterpret_cast<ALIASING_UINT64 *> (To) = *reinterpret_cast<const ALIASING_UINT64 *> (From);
    }
  }

  for ( ; Count > 0; Count--) {
    *To++ = *From++;
  }
}

}  // namespace

extern "C" {

__attribute__ ((no_builtin)) void *
memcpy (
  void        *Destination,
  const void  *Source,
  size_t      Count
  )
{
  CopyForward (static_cast<unsigned char *> (Destination), static_cast<const unsigned char *> (Source), Count);
  return Destination;
}

__attribute__ ((no_builtin)) void *
memset (
  void    *Destination,
  int     Value,
  size_t  Count
  )
{
  unsigned char  *To  = static_cast<unsigned char *> (Destination);
  uint64_t       Fill = static_cast<unsigned char> (Value) * 0x0101010101010101ULL;

  if (BothWordAligned (To, To)) {
    for ( ; Count >= 8; Count -= 8, To += 8) {
      *reinterpret_cast<ALIASING_UINT64 *> (To) = Fill;
    }
  }

  for ( ; Count > 0; Count--) {
    *To++ = static_cast<unsigned char> (Value);
  }

  return Destination;
}

__attribute__ ((no_builtin)) void *
memmove (
  void        *Destination,
  const void  *Source,
  size_t      Count
  )
{
  unsigned char        *To   = static_cast<unsigned char *> (Destination);
  const unsigned char  *From = static_cast<const unsigned char *> (Source);

  // A forward copy is safe unless the destination starts inside the source.
  if ((To <= From) || (To >= From + Count)) {
    CopyForward (To, From, Count);
    return Destination;
  }

  while (Count > 0) {
    Count--;
    To[Count] = From[Count];
  }

  return Destination;
}

__attribute__ ((no_builtin)) int
memcmp (
  const void  *First,
  const void  *Second,
  size_t      Count
  )
{
  const unsigned char  *Left  = static_cast<const unsigned char *> (First);
  const unsigned char  *Right = static_cast<const unsigned char *> (Second);

  for (size_t Index = 0; Index < Count; Index++) {
    if (Left[Index] != Right[Index]) {
      return static_cast<int> (Left[Index]) - static_cast<int> (Right[Index]);
    }
  }

  return 0;
}

}  // extern "C"
