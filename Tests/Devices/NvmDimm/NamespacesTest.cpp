// Namespaces: sizes aligned to the interleave set, the minimum and free-space
// limits, force for namespaces in use, unusable regions.
#include "NvmDimmBench.h"

#include <cctype>
#include <cstring>

#include <Library/BaseLib.h>

namespace {

using NamespacesTest = NvmDimmBench;

struct Sizing {
  const char  *Name;
  UINT64      Requested;
  bool        ForceAlignment;
  EFI_STATUS  Status;
  UINT16      Nvm;
  UINT64      Capacity;  // when created
};

// The default regions interleave six modules: 6 GiB granularity, 768 GiB.
const Sizing  kSizings[] = {
  { "zero takes all free capacity", 0, true, EFI_SUCCESS, NVM_SUCCESS, 768 * GiB },
  { "aligned", 12 * GiB, false, EFI_SUCCESS, NVM_SUCCESS, 12 * GiB },
  { "rounded up to the set", 7 * GiB, true, EFI_SUCCESS, NVM_SUCCESS, 12 * GiB },
  { "unaligned without force", 7 * GiB, false, EFI_INVALID_PARAMETER, NVM_ERR_NAMESPACE_NOT_ALIGNED, 0 },
  { "below the minimum", 5 * GiB, true, EFI_INVALID_PARAMETER, NVM_ERR_NAMESPACE_TOO_SMALL, 0 },
  { "whole region", 768 * GiB, false, EFI_SUCCESS, NVM_SUCCESS, 768 * GiB },
  { "rounding passes the free space", 769 * GiB, true, EFI_OUT_OF_RESOURCES, NVM_ERR_NOT_ENOUGH_FREE_SPACE, 0 },
  { "beyond the region", 774 * GiB, false, EFI_OUT_OF_RESOURCES, NVM_ERR_NOT_ENOUGH_FREE_SPACE, 0 },
};

void PrintTo (const Sizing &Case, std::ostream *Out)
{
  *Out << Case.Name;
}

class NamespaceSizingTest : public NvmDimmBench, public ::testing::WithParamInterface<Sizing> {};

TEST_P (NamespaceSizingTest, Create_SizeAlignedOrRefused)
{
  const Sizing  &Case  = GetParam ();
  UINT16        Region = Regions ()[0].RegionId;
  auto          Result = CreateNamespace (Region, Case.Requested, Case.ForceAlignment);

  EXPECT_EQ (Result.Status, Case.Status);
  EXPECT_EQ (Result.Nvm, Case.Nvm);
  auto  Listed = Namespaces ();
  if (Case.Status == EFI_SUCCESS) {
    EXPECT_EQ (Result.Capacity, Case.Capacity);
    ASSERT_EQ (Listed.size (), 1u);
    EXPECT_EQ (Listed[0].NamespaceId, Result.Id);
    EXPECT_EQ (Listed[0].BlockSize * Listed[0].BlockCount, Case.Capacity);
    EXPECT_EQ (Regions ()[0].FreeCapacity, 768 * GiB - Case.Capacity);
  } else {
    EXPECT_TRUE (Listed.empty ());
  }
}

INSTANTIATE_TEST_SUITE_P (
  Namespaces,
  NamespaceSizingTest,
  ::testing::ValuesIn (kSizings),
  [](const ::testing::TestParamInfo<Sizing> &Info) {
    std::string  Name = Info.param.Name;
    for (char &Character : Name) {
      Character = std::isalnum (static_cast<unsigned char> (Character)) ? Character : '_';
    }
    return Name;
  }
  );

TEST_F (NamespacesTest, FullRegion_NextCreateLacksSpace)
{
  UINT16  Region = Regions ()[0].RegionId;

  ASSERT_EQ (CreateNamespace (Region, 762 * GiB).Status, EFI_SUCCESS);
  EXPECT_EQ (Regions ()[0].AppDirNamespaceMaxSize, 6 * GiB);
  ASSERT_EQ (CreateNamespace (Region, 0).Capacity, 6 * GiB);
  auto  Result = CreateNamespace (Region, 0);
  EXPECT_EQ (Result.Status, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (Result.Nvm, NVM_ERR_NOT_ENOUGH_FREE_SPACE);
}

TEST_F (NamespacesTest, NotInterleavedRegion_GibibyteGranularity)
{
  ASSERT_EQ (CreateGoal ({ 1 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED, 0).Status, EFI_SUCCESS);
  Reboot ();
  for (const auto &Region : Regions ()) {
    if (Region.RegionType == REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED) {
      EXPECT_EQ (CreateNamespace (Region.RegionId, GiB + 1).Capacity, 2 * GiB);
      return;
    }
  }
  FAIL () << "no region for the module";
}

TEST_F (NamespacesTest, BadArguments_Refused)
{
  std::string  LongName (NAMESPACE_NAME_LENGTH, 'n');
  UINT16       Region = Regions ()[0].RegionId;

  auto  Unknown = CreateNamespace (0x77, 6 * GiB);
  EXPECT_EQ (Unknown.Nvm, NVM_ERR_REGION_NOT_FOUND);
  auto  Long = CreateNamespace (Region, 6 * GiB, true, LongName.c_str ());
  EXPECT_EQ (Long.Nvm, NVM_ERR_INVALID_NAMESPACE_NAME);

  CommandStatusBox  Status;
  CHAR8             Name[] = "odd";
  EXPECT_EQ (Config->CreateNamespace (Config, Region, NAMESPACE_ANY_DIMM, 3, GiB, Name, FALSE, FALSE, TRUE, nullptr, nullptr, &Status), EFI_INVALID_PARAMETER);
  EXPECT_EQ (Status.General (), NVM_ERR_INVALID_BLOCK_SIZE);
  EXPECT_TRUE (Namespaces ().empty ());
}

TEST_F (NamespacesTest, InUse_RenameAndDeleteNeedForce)
{
  UINT16  Id = CreateNamespace (Regions ()[0].RegionId, 6 * GiB, true, "before").Id;
  NvmModelFindNamespace (Model.get (), Id)->InUse = 1;
  CHAR8   NewName[] = "after";

  struct Step {
    bool        Delete;
    BOOLEAN     Force;
    EFI_STATUS  Status;
    UINT16      Nvm;
  } Steps[] = {
    { false, FALSE, EFI_ABORTED, NVM_ERR_FORCE_REQUIRED },
    { false, TRUE, EFI_SUCCESS, NVM_SUCCESS },
    { true, FALSE, EFI_ABORTED, NVM_ERR_FORCE_REQUIRED },
    { true, TRUE, EFI_SUCCESS, NVM_SUCCESS },
    { true, TRUE, EFI_NOT_FOUND, NVM_ERR_NAMESPACE_NOT_FOUND },
  };
  for (const auto &Step : Steps) {
    CommandStatusBox  Status;
    EFI_STATUS        Result = Step.Delete ? Config->DeleteNamespace (Config, Step.Force, Id, &Status)
                                           : Config->ModifyNamespace (Config, Id, NewName, Step.Force, &Status);
    EXPECT_EQ (Result, Step.Status);
    EXPECT_EQ (Status.General (), Step.Nvm);
    if (!Step.Delete && Step.Force) {
      EXPECT_STREQ (Namespaces ()[0].Name, "after");
    }
  }
  EXPECT_TRUE (Namespaces ().empty ());
}

TEST_F (NamespacesTest, NotInUse_DeleteWithoutForce)
{
  UINT16            Id = CreateNamespace (Regions ()[0].RegionId, 6 * GiB).Id;
  CommandStatusBox  Status;

  EXPECT_EQ (Config->DeleteNamespace (Config, FALSE, Id, &Status), EFI_SUCCESS);
  EXPECT_EQ (Status.Objects ().size (), 1u);
  EXPECT_TRUE (Namespaces ().empty ());
}

TEST_F (NamespacesTest, LockedModule_RegionUnusableUntilUnlocked)
{
  UINT16  Region = Regions ()[0].RegionId;
  UINT16  Id     = CreateNamespace (Region, 6 * GiB).Id;
  ASSERT_EQ (Security ({ 2 }, SECURITY_OPERATION_ENABLE, nullptr, u"pass").Status, EFI_SUCCESS);
  Reboot ();

  auto  Locked = CreateNamespace (Region, 6 * GiB);
  EXPECT_EQ (Locked.Status, EFI_ACCESS_DENIED);
  EXPECT_EQ (Locked.Nvm, NVM_ERR_REGION_UNUSABLE);
  EXPECT_EQ (Namespaces ()[0].HealthState, NAMESPACE_HEALTH_CRITICAL);
  CommandStatusBox  Delete;
  EXPECT_EQ (Config->DeleteNamespace (Config, TRUE, Id, &Delete), EFI_ACCESS_DENIED);
  EXPECT_EQ (Delete.General (), NVM_ERR_REGION_UNUSABLE);

  ASSERT_EQ (Security ({ 2 }, SECURITY_OPERATION_UNLOCK, u"pass").Status, EFI_SUCCESS);
  EXPECT_EQ (CreateNamespace (Region, 6 * GiB).Status, EFI_SUCCESS);
  EXPECT_EQ (Namespaces ()[0].HealthState, NAMESPACE_HEALTH_HEALTHY);
}

TEST_F (NamespacesTest, ListWithoutPool_CallerListUntouched)
{
  UINT16  Region = Regions ()[0].RegionId;
  for (int Index = 0; Index < 3; Index++) {
    ASSERT_EQ (CreateNamespace (Region, 6 * GiB).Status, EFI_SUCCESS);
  }

  LIST_ENTRY        Head;
  UINT32            Count = 9;
  CommandStatusBox  Status;
  InitializeListHead (&Head);
  Platform.FailAllocation = 3;
  EXPECT_EQ (Config->GetNamespaces (Config, &Head, &Count, &Status), EFI_OUT_OF_RESOURCES);
  EXPECT_TRUE (IsListEmpty (&Head));
  EXPECT_EQ (Count, 0u);
}

TEST_F (NamespacesTest, Identifiers_UniqueAndGuidsDistinct)
{
  UINT16  Region = Regions ()[1].RegionId;
  auto    First  = CreateNamespace (Region, 6 * GiB);
  auto    Second = CreateNamespace (Region, 6 * GiB);
  auto    Listed = Namespaces ();

  ASSERT_EQ (Listed.size (), 2u);
  EXPECT_NE (First.Id, Second.Id);
  EXPECT_NE (std::memcmp (&Listed[0].NamespaceGuid, &Listed[1].NamespaceGuid, sizeof (EFI_GUID)), 0);
  EXPECT_EQ (Listed[0].RegionId, Region);
}

}  // namespace
