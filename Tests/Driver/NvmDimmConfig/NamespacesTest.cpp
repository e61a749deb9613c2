// The namespace list and the namespace operations, with the question asked
// before forcing a rename or delete.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include "../Setup/FakeHiiBox.h"
#include <NvmDimmConfig/Namespaces.h>
#include <Library/BaseLib.h>
#include <Library/MemoryAllocationLib.h>

#include <cstring>

namespace {

// What the fake namespace slots answer and saw.
struct NamespaceFake {
  UINT32               ReportedCount = 0;
  UINT32               LinkedNodes = 0;
  EFI_STATUS           ListStatus = EFI_SUCCESS;
  std::vector<bool>    ForceFlags;      // one per rename/delete call
  std::vector<UINT16>  NamespaceIds;
  std::string          Name;
  // Answer of each call in turn: status and NVM status.
  std::vector<std::pair<EFI_STATUS, UINT16>>  Answers;
  struct {
    UINT16       RegionId, DimmId;
    UINT64       BlockSize, BlockCount;
    std::string  Name;
    BOOLEAN      Optimize, ForceAll, ForceAlignment;
  } Create{};
};

NamespaceFake  *gNs = nullptr;

EFI_STATUS EFIAPI
FakeGetNamespaces (NVM_DIMM_CONFIG_PROTOCOL *, LIST_ENTRY *Head, UINT32 *Count, COMMAND_STATUS *CommandStatus)
{
  for (UINT32 Index = 0; Index < gNs->LinkedNodes; Index++) {
    auto *Node = static_cast<NAMESPACE_INFO *> (Platform ().VendorAllocate (sizeof (NAMESPACE_INFO)));
    std::memset (Node, 0, sizeof (*Node));
    Node->Signature        = NAMESPACE_INFO_SIGNATURE;
    Node->NamespaceId      = static_cast<UINT16> (0x10 + Index);
    Node->NamespaceGuid.Data1 = 0xABC0 + Index;
    std::snprintf (Node->Name, sizeof (Node->Name), "ns%u", Index);
    Node->HealthState = static_cast<UINT16> (Index % 5);
    Node->RegionId    = static_cast<UINT16> (0x8000 + Index);
    Node->BlockSize   = 512;
    Node->BlockCount  = 0x1000 * (Index + 1);
    InsertTailList (Head, &Node->Link);
  }

  *Count                       = gNs->ReportedCount;
  CommandStatus->GeneralStatus = EFI_ERROR (gNs->ListStatus) ? NVM_ERR_UNKNOWN : NVM_SUCCESS;
  return gNs->ListStatus;
}

EFI_STATUS
NextAnswer (COMMAND_STATUS *CommandStatus)
{
  const auto Answer = gNs->Answers.empty () ? std::make_pair (EFI_SUCCESS, UINT16 (NVM_SUCCESS)) : gNs->Answers.front ();
  if (!gNs->Answers.empty ()) {
    gNs->Answers.erase (gNs->Answers.begin ());
  }

  CommandStatus->GeneralStatus = Answer.second;
  return Answer.first;
}

EFI_STATUS EFIAPI
FakeModifyNamespace (NVM_DIMM_CONFIG_PROTOCOL *, UINT16 NamespaceId, CHAR8 *Name, BOOLEAN Force, COMMAND_STATUS *CommandStatus)
{
  gNs->ForceFlags.push_back (Force != FALSE);
  gNs->NamespaceIds.push_back (NamespaceId);
  gNs->Name = Name;
  return NextAnswer (CommandStatus);
}

EFI_STATUS EFIAPI
FakeDeleteNamespace (NVM_DIMM_CONFIG_PROTOCOL *, BOOLEAN Force, UINT16 NamespaceId, COMMAND_STATUS *CommandStatus)
{
  gNs->ForceFlags.push_back (Force != FALSE);
  gNs->NamespaceIds.push_back (NamespaceId);
  return NextAnswer (CommandStatus);
}

EFI_STATUS EFIAPI
FakeCreateNamespace (NVM_DIMM_CONFIG_PROTOCOL *, UINT16 RegionId, UINT16 DimmId, UINT64 BlockSize, UINT64 BlockCount, CHAR8 *Name,
                     BOOLEAN Optimize, BOOLEAN ForceAll, BOOLEAN ForceAlignment, UINT64 *ActualCapacity, UINT16 *NamespaceId,
                     COMMAND_STATUS *CommandStatus)
{
  gNs->Create = { RegionId, DimmId, BlockSize, BlockCount, Name, Optimize, ForceAll, ForceAlignment };
  *ActualCapacity = BlockCount;
  *NamespaceId    = 7;
  return NextAnswer (CommandStatus);
}

// A fake platform with the namespace slots and the message box in place.
struct NamespaceWorld {
  FakePlatform   Fake;
  FakeHiiBox     Box;
  NamespaceFake  Ns;

  NamespaceWorld ()
  {
    gNs                               = &Ns;
    Fake.NvmDimmConfig.GetNamespaces   = FakeGetNamespaces;
    Fake.NvmDimmConfig.ModifyNamespace = FakeModifyNamespace;
    Fake.NvmDimmConfig.DeleteNamespace = FakeDeleteNamespace;
    Fake.NvmDimmConfig.CreateNamespace = FakeCreateNamespace;
    Box.Texts[{ "en-US", STR_NAMESPACE_DELETE_FORCE_QUESTION }] = u"delete anyway?";
    Box.Texts[{ "en-US", STR_NAMESPACE_MODIFY_FORCE_QUESTION }] = u"rename anyway?";
    Box.Texts[{ "en-US", 0x0248 }] = u"Warning";
  }
};

TEST (GetNamespaceDetails, CountAndLinkedNodesDisagree_CountWinsAndEveryNodeIsFreed)
{
  struct Case {
    const char  *Name;
    UINT32      Reported, Linked;
  };
  const Case Cases[] = {
    { "MoreNodesThanCount", 2, 4 },
    { "FewerNodesThanCount", 3, 1 },
    { "Agree", 2, 2 },
  };
  NamespaceWorld World;
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Name);
    World.Ns.ReportedCount = C.Reported;
    World.Ns.LinkedNodes   = C.Linked;
    NAMESPACE_DETAILS  *pList = nullptr;
    UINT32             Count  = 99;
    ASSERT_EQ (GetNamespaceDetails (&pList, &Count), EFI_SUCCESS);
    ASSERT_EQ (Count, C.Reported);
    ASSERT_NE (pList, nullptr);
    for (UINT32 Index = 0; Index < Count; Index++) {
      if (Index < C.Linked) {
        EXPECT_EQ (pList[Index].NamespaceId, 0x10 + Index);
        EXPECT_EQ (pList[Index].NamespaceGuid.Data1, 0xABC0 + Index);
        EXPECT_STREQ (pList[Index].Name, ("ns" + std::to_string (Index)).c_str ());
        EXPECT_EQ (pList[Index].RegionId, 0x8000 + Index);  // widened, not sign-extended
        EXPECT_EQ (pList[Index].BlockSize, 512u);
        EXPECT_EQ (pList[Index].BlockCount, 0x1000u * (Index + 1));
        EXPECT_EQ (pList[Index].HealthState, Index % 5);
      } else {
        const NAMESPACE_DETAILS Zero{};
        EXPECT_EQ (std::memcmp (&pList[Index], &Zero, sizeof (Zero)), 0) << "record " << Index << " stays zero";
      }
    }

    FreePool (pList);
    EXPECT_TRUE (World.Fake.Live.empty ()) << "every node and the command status freed";
  }
}

TEST (GetNamespaceDetails, NoNamespacesOrFailure_NullArrayZeroCountNoAllocation)
{
  NamespaceWorld World;
  struct Case {
    const char  *Name;
    EFI_STATUS  Status;
    UINT32      Linked;
  };
  const Case Cases[] = { { "Empty", EFI_SUCCESS, 0 }, { "QueryFails", EFI_DEVICE_ERROR, 2 } };
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Name);
    World.Ns.ListStatus    = C.Status;
    World.Ns.ReportedCount = C.Linked;
    World.Ns.LinkedNodes   = C.Linked;
    NAMESPACE_DETAILS  *pList = reinterpret_cast<NAMESPACE_DETAILS *> (1);
    UINT32             Count  = 5;
    const UINTN        Before = World.Fake.Allocations;
    EXPECT_EQ (GetNamespaceDetails (&pList, &Count), C.Status);
    EXPECT_EQ (pList, nullptr);
    EXPECT_EQ (Count, 0u);
    EXPECT_EQ (World.Fake.Allocations - Before, 1u) << "only the command status";
    EXPECT_TRUE (World.Fake.Live.empty ());
  }

  EXPECT_EQ (GetNamespaceDetails (nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST (GetNamespaceDetails, ArrayAllocationFails_OutOfResourcesNodesStillFreed)
{
  NamespaceWorld World;
  World.Ns.ReportedCount      = 2;
  World.Ns.LinkedNodes        = 2;
  World.Fake.FailAllocationAt = World.Fake.Allocations + 2;  // after the command status
  NAMESPACE_DETAILS  *pList = nullptr;
  UINT32             Count  = 0;
  EXPECT_EQ (GetNamespaceDetails (&pList, &Count), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (pList, nullptr);
  EXPECT_EQ (Count, 0u);
  EXPECT_TRUE (World.Fake.Live.empty ());
}

TEST (CreateNamespace, Request_PlacedByRegionSizedInBytesAligned)
{
  NamespaceWorld World;
  CHAR8          Name[] = "data";
  UINT16         NvmStatus = 0;
  World.Ns.Answers = { { EFI_OUT_OF_RESOURCES, NVM_ERR_NOT_ENOUGH_FREE_SPACE } };
  EXPECT_EQ (CreateNamespace (0x12345, Name, 0, &NvmStatus), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (NvmStatus, NVM_ERR_NOT_ENOUGH_FREE_SPACE);
  EXPECT_EQ (World.Ns.Create.RegionId, 0x2345) << "low 16 bits of the region";
  EXPECT_EQ (World.Ns.Create.DimmId, 0xFFFD);
  EXPECT_EQ (World.Ns.Create.BlockSize, 1u);
  EXPECT_EQ (World.Ns.Create.BlockCount, 0u) << "0: all free capacity";
  EXPECT_EQ (World.Ns.Create.Name, "data");
  EXPECT_FALSE (World.Ns.Create.Optimize);
  EXPECT_FALSE (World.Ns.Create.ForceAll);
  EXPECT_TRUE (World.Ns.Create.ForceAlignment);
  EXPECT_TRUE (World.Fake.Live.empty ());
  EXPECT_EQ (CreateNamespace (1, nullptr, 5, nullptr), EFI_INVALID_PARAMETER);
}

// Rename and delete share the force pattern; each case runs for both.
enum class Op { Rename, Delete };

EFI_STATUS
RunOp (Op Which, BOOLEAN AskToForce)
{
  CHAR8 Name[] = "renamed";
  return Which == Op::Rename ? ModifyNamespace (0x21, Name, AskToForce, kFakeHiiHandle)
                             : DeleteNamespace (0x21, AskToForce, kFakeHiiHandle);
}

TEST (ModifyAndDeleteNamespace, ForceRequired_AskedOnceAndNeverAThirdCall)
{
  struct Case {
    const char                                  *Name;
    BOOLEAN                                     AskToForce;
    std::vector<std::pair<EFI_STATUS, UINT16>>  Answers;  // protocol answers in turn
    std::vector<UINT8>                          UserSays;
    EFI_STATUS                                  Result;
    std::vector<bool>                           Forces;   // the protocol calls made
    size_t                                      Boxes;
  };
  const auto Refused = std::make_pair (EFI_ABORTED, UINT16 (NVM_ERR_FORCE_REQUIRED));
  const auto Broken  = std::make_pair (EFI_DEVICE_ERROR, UINT16 (NVM_ERR_UNKNOWN));
  const auto Done    = std::make_pair (EFI_SUCCESS, UINT16 (NVM_SUCCESS));
  const Case Cases[] = {
    { "YesAndForcedCallWorks", TRUE, { Refused, Done }, { 0 }, EFI_SUCCESS, { false, true }, 1 },
    { "YesButForcedCallFailsToo", TRUE, { Refused, Refused }, { 0 }, EFI_ABORTED, { false, true }, 1 },
    { "YesForcedCallFailsOtherwise", TRUE, { Refused, Broken }, { 0 }, EFI_DEVICE_ERROR, { false, true }, 1 },
    { "NoKeepsTheFirstFailure", TRUE, { Refused, Done }, { 1 }, EFI_ABORTED, { false }, 1 },
    { "UnclearAnswersAskAgainThenNo", TRUE, { Refused, Done }, { 9, 0xFF, 1 }, EFI_ABORTED, { false }, 3 },
    { "NotAskingNeverShowsTheQuestion", FALSE, { Refused, Done }, { 0 }, EFI_ABORTED, { false }, 0 },
    { "OtherFailureNeverAsks", TRUE, { Broken, Done }, { 0 }, EFI_DEVICE_ERROR, { false }, 0 },
    { "FirstCallWorks", TRUE, { Done }, { 0 }, EFI_SUCCESS, { false }, 0 },
  };
  // One platform for the whole test: the driver keeps located protocols.
  NamespaceWorld World;
  for (Op Which : { Op::Rename, Op::Delete }) {
    for (const Case &C : Cases) {
      SCOPED_TRACE (std::string (Which == Op::Rename ? "Rename/" : "Delete/") + C.Name);
      World.Ns.ForceFlags.clear ();
      World.Ns.NamespaceIds.clear ();
      World.Box.Boxes.clear ();
      World.Ns.Answers = C.Answers;
      World.Box.Answers = C.UserSays;
      EXPECT_EQ (RunOp (Which, C.AskToForce), C.Result);
      EXPECT_EQ (World.Ns.ForceFlags, C.Forces);
      for (UINT16 Id : World.Ns.NamespaceIds) {
        EXPECT_EQ (Id, 0x21);
      }

      ASSERT_EQ (World.Box.Boxes.size (), C.Boxes);
      for (const ShownBox &Box : World.Box.Boxes) {
        EXPECT_EQ (Box.BoxType, POST_MESSAGE_BOX_ASK);
        EXPECT_EQ (Box.Title, u"Warning");
        EXPECT_EQ (Box.Message, Which == Op::Rename ? u"rename anyway?" : u"delete anyway?");
      }

      if (Which == Op::Rename && !World.Ns.ForceFlags.empty ()) {
        EXPECT_EQ (World.Ns.Name, "renamed");
      }

      EXPECT_LE (World.Fake.Live.size (), 1u) << "nothing held but the kept box title";
    }
  }
}

TEST (ModifyAndDeleteNamespace, NoMessageBox_TreatedAsNo)
{
  NamespaceWorld World;
  World.Box.PublishPostMessage = false;
  for (Op Which : { Op::Rename, Op::Delete }) {
    World.Ns.ForceFlags.clear ();
    World.Ns.Answers = { { EFI_ABORTED, NVM_ERR_FORCE_REQUIRED }, { EFI_SUCCESS, NVM_SUCCESS } };
    EXPECT_EQ (RunOp (Which, TRUE), EFI_ABORTED);
    EXPECT_EQ (World.Ns.ForceFlags, std::vector<bool> ({ false }));
  }
}

}  // namespace
