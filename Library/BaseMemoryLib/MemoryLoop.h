/** @file
  Keeps the compiler from turning the byte loops of this library into calls
  to memcpy or memset: the firmware build's memcpy may itself be written in
  terms of CopyMem, and the pair would then recurse forever.
**/
#ifndef BASE_MEMORY_LIB_MEMORY_LOOP_H_
#define BASE_MEMORY_LIB_MEMORY_LOOP_H_

#if defined (__clang__)
#define MEMORY_LOOP_NO_BUILTIN  __attribute__ ((no_builtin))
#elif defined (__GNUC__)
#define MEMORY_LOOP_NO_BUILTIN  __attribute__ ((optimize ("no-tree-loop-distribute-patterns")))
#else
#define MEMORY_LOOP_NO_BUILTIN
#endif

#endif
