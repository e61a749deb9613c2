/** @file
  State shared by the out-of-band form set's handlers and its lifecycle.
**/
#ifndef KIV_INTERNAL_H_
#define KIV_INTERNAL_H_

#include "CarvexKivVar.h"
#include "../NvmDimmConfig/Regions.h"
#include <Protocol/HiiConfigAccess.h>

extern EFI_HANDLE  mKivDriverHandle;
// System security state as last read (values of DIMM_SECURITY_STATE_*).
extern UINT8       mSecurityState;
// The region list extract reports; replaced whole by UpdateCachedData.
extern REGION_DETAILS  *mCachedRegions;
extern UINT32          mCachedRegionCount;

EFI_STATUS EFIAPI KivExtractConfig (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  CONST CHAR16                          *Request,
  OUT CONST CHAR16                          **Progress,
  OUT CHAR16                                **Results
  );
EFI_STATUS EFIAPI KivRouteConfig (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  CONST CHAR16                          *Configuration,
  OUT CONST CHAR16                          **Progress
  );
EFI_STATUS EFIAPI KivCallback (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  EFI_BROWSER_ACTION                    Action,
  IN  EFI_QUESTION_ID                       QuestionId,
  IN  UINT8                                 Type,
  IN OUT EFI_IFR_TYPE_VALUE                 *Value,
  OUT EFI_BROWSER_ACTION_REQUEST            *ActionRequest
  );

#endif
