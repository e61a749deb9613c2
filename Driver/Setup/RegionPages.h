/** @file
  Region pages: the region list, rebuilt at every visit, and one region's
  details. The list is module-wide so that a details page (and the
  namespace pages) show the region the user followed, even if the regions
  changed since the list was built.
**/
#ifndef SETUP_REGION_PAGES_H_
#define SETUP_REGION_PAGES_H_

#include <Uefi.h>
#include "CarvexSetupVar.h"
#include "../NvmDimmConfig/Regions.h"

// Regions as the list last read them (NULL before the first visit or after
// a failed one), their number, and one display-ready page record per
// region, in the same order. A page record is the whole
// SetupRegionDetailsVar buffer of that region.
extern REGION_DETAILS            *mpRegionDetails;
extern UINT32                    mRegionCount;
extern SETUP_REGION_DETAILS_VAR  *mpSetupHiiRegionDetails;

// Link question of list entry i is SETUP_QID_REGION_LINK_BASE + i.
#define SETUP_QID_REGION_LINK_BASE  0x3000
#define SETUP_MAX_REGION_LINKS      0x1000

// Reads the regions, rebuilds both arrays and the "Regions" page.
EFI_STATUS EFIAPI UpdateRegionListForm (VOID);

// Hands page record RegionIndex to the browser as SetupRegionDetailsVar.
// EFI_NOT_READY before a list exists; EFI_INVALID_PARAMETER for an index
// the list does not hold.
EFI_STATUS EFIAPI UpdateRegionDetailsForm (IN UINT32 RegionIndex);

#endif
