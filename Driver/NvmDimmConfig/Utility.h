/** @file
  The NVDIMM trace family used by the command status, conversion and string
  utilities: source file base name and function name (as UCS-2) in every line.
**/
#ifndef NVM_DIMM_CONFIG_UTILITY_H_
#define NVM_DIMM_CONFIG_UTILITY_H_

#include <Uefi.h>
#include <Library/DebugLib.h>

// Size of the module-wide buffer the function name is converted into.
#define NVDIMM_FUNCTION_NAME_CHARS  1024

// Text after the last '/' or '\' of a build path.
CONST CHAR16 *EFIAPI NvdimmFileBaseName (IN CONST CHAR16 *pPath);
// Converts pName into the module-wide buffer; an empty text when it fails.
CONST CHAR16 *EFIAPI NvdimmFunctionName (IN CONST CHAR8 *pName);

#define NVDIMM_TRACE_FILE  NvdimmFileBaseName (u"" __FILE__)
#define NVDIMM_TRACE_FUNC  NvdimmFunctionName (__func__)

#define NVDIMM_ENTRY() \
  DebugPrint (DEBUG_VERBOSE, "NVDIMM-VERB:Entering %s::%s()\n", NVDIMM_TRACE_FILE, NVDIMM_TRACE_FUNC)
#define NVDIMM_EXIT() \
  DebugPrint (DEBUG_VERBOSE, "NVDIMM-VERB:Exiting %s::%s()\n", NVDIMM_TRACE_FILE, NVDIMM_TRACE_FUNC)
#define NVDIMM_EXIT_I64(Value)                                                         \
  DebugPrint (DEBUG_VERBOSE, "NVDIMM-VERB:Exiting %s::%s(): 0x%lx\n", NVDIMM_TRACE_FILE, \
              NVDIMM_TRACE_FUNC, (UINT64)(Value))
#define NVDIMM_DBG(Message, ...)                                                        \
  DebugPrint (DEBUG_INFO, "NVDIMM-DBG:%s::%s:%d: " Message, NVDIMM_TRACE_FILE,          \
              NVDIMM_TRACE_FUNC, (INT32)__LINE__ __VA_OPT__(,) __VA_ARGS__)
#define NVDIMM_ERR(Message, ...)                                                        \
  DebugPrint (DEBUG_ERROR, "NVDIMM-ERR:%s::%s:%d: " Message, NVDIMM_TRACE_FILE,         \
              NVDIMM_TRACE_FUNC, (INT32)__LINE__ __VA_OPT__(,) __VA_ARGS__)

#endif
