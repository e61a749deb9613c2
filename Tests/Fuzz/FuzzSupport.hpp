// What every fuzz target shares: the libFuzzer entry point's declaration,
// turning bytes into a configuration text, and a failure that stops the run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace carvex::fuzz {

// Each byte becomes one UCS-2 character, so corpus files stay readable text
// while bytes above 0x7F still reach the parsers as non-ASCII characters.
inline std::u16string Widen(const std::uint8_t* data, std::size_t size) {
  std::u16string text;
  text.reserve(size);
  for (std::size_t i = 0; i < size; ++i) {
    text += static_cast<char16_t>(data[i]);
  }
  return text;
}

// A broken promise of the code under test (a leak it cannot report, Progress
// outside the caller's string): abort so that the fuzzer keeps the input.
[[noreturn]] inline void Fail(const char* what) {
  std::fprintf(stderr, "fuzz check failed: %s\n", what);
  std::abort();
}

inline void Check(bool condition, const char* what) {
  if (!condition) {
    Fail(what);
  }
}

}  // namespace carvex::fuzz
