/** @file
  Helpers behind the NVDIMM trace family.
**/
#include "Utility.h"
#include <Library/BaseLib.h>

STATIC CHAR16 mFunctionName[NVDIMM_FUNCTION_NAME_CHARS];

CONST CHAR16 *
EFIAPI
NvdimmFileBaseName (
  IN CONST CHAR16  *pPath
  )
{
  CONST CHAR16  *pBase;

  if (pPath == NULL) {
    return u"";
  }

  pBase = pPath;
  for (CONST CHAR16 *pChar = pPath; *pChar != u'\0'; pChar++) {
    if ((*pChar == u'/') || (*pChar == u'\\')) {
      pBase = pChar + 1;
    }
  }

  return pBase;
}

CONST CHAR16 *
EFIAPI
NvdimmFunctionName (
  IN CONST CHAR8  *pName
  )
{
  if ((pName == NULL) ||
      RETURN_ERROR (AsciiStrToUnicodeStrS (pName, mFunctionName, NVDIMM_FUNCTION_NAME_CHARS)))
  {
    mFunctionName[0] = u'\0';
  }

  return mFunctionName;
}
