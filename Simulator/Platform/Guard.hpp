// The boundary between firmware and the platform's C++: no exception may
// cross into an image (firmware code has no unwinding), so every service
// entered from a table turns one into a status and a report.
#pragma once

#include <cstdio>
#include <exception>
#include <new>
#include <utility>

#include <Uefi/UefiBaseType.h>

#include "PlatformLog.hpp"

namespace carvex::sim {

inline void ReportEscapedException(PlatformLog* log, const char* service, const char* what) noexcept {
  try {
    if (log != nullptr) {
      log->Report(ReportKind::Exception, "platform", std::string(service) + ": " + what);
      return;
    }
  } catch (...) {
  }
  std::fprintf(stderr, "carvex platform: exception in %s: %s\n", service, what);
}

// Runs body and returns its status; an exception becomes EFI_OUT_OF_RESOURCES
// (allocation failure) or EFI_DEVICE_ERROR (anything else).
template <class Body>
EFI_STATUS GuardStatus(PlatformLog* log, const char* service, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    ReportEscapedException(log, service, "out of memory");
    return EFI_OUT_OF_RESOURCES;
  } catch (const std::exception& error) {
    ReportEscapedException(log, service, error.what());
    return EFI_DEVICE_ERROR;
  } catch (...) {
    ReportEscapedException(log, service, "unknown exception");
    return EFI_DEVICE_ERROR;
  }
}

// For services that return a value other than a status (or nothing).
template <class Result, class Body>
Result GuardValue(PlatformLog* log, const char* service, Result fallback, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::exception& error) {
    ReportEscapedException(log, service, error.what());
  } catch (...) {
    ReportEscapedException(log, service, "unknown exception");
  }
  return fallback;
}

template <class Body>
void GuardVoid(PlatformLog* log, const char* service, Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (const std::exception& error) {
    ReportEscapedException(log, service, error.what());
  } catch (...) {
    ReportEscapedException(log, service, "unknown exception");
  }
}

}  // namespace carvex::sim
