#include "NvmDimmBench.h"

#include <cstring>

#include <Library/BaseLib.h>
#include <Library/MemoryAllocationLib.h>

CommandStatusBox::CommandStatusBox ()
{
  Status.GeneralStatus = COMMAND_STATUS_INITIAL_GENERAL_STATUS;
  Status.Kind          = COMMAND_STATUS_INITIAL_KIND;
  InitializeListHead (&Status.ObjectStatusList);
}

CommandStatusBox::~CommandStatusBox ()
{
  LIST_ENTRY  *Node = Status.ObjectStatusList.ForwardLink;
  while (Node != &Status.ObjectStatusList) {
    LIST_ENTRY  *Next = Node->ForwardLink;
    EXPECT_EQ (BASE_CR (Node, OBJECT_STATUS_NODE_HEADER, Link)->Signature, OBJECT_STATUS_NODE_SIGNATURE);
    FreePool (Node);
    Node = Next;
  }
}

std::vector<std::pair<UINT32, UINT16>> CommandStatusBox::Objects () const
{
  std::vector<std::pair<UINT32, UINT16>>  Result;
  for (LIST_ENTRY *Node = Status.ObjectStatusList.ForwardLink; Node != &Status.ObjectStatusList; Node = Node->ForwardLink) {
    const auto  *Object = BASE_CR (Node, OBJECT_STATUS_NODE, Header.Link);
    Result.emplace_back (Object->ObjectId, Object->NvmStatus);
  }
  return Result;
}

NVM_PLATFORM_DESCRIPTION DefaultBoard ()
{
  return *NvmModelDefaultPlatform ();
}

NvmDimmBench::NvmDimmBench ()
  : Model (std::make_unique<NVM_MODEL> ()),
    Config (NvmDimmDeviceConfigProtocol ())
{
  Boot (DefaultBoard ());
}

NvmDimmBench::~NvmDimmBench ()
{
  NvmDimmDeviceBind (nullptr);
  // Everything the protocol handed out was freed by the test.
  EXPECT_TRUE (Platform.Live.empty ()) << Platform.Live.size () << " pool blocks leaked";
}

void NvmDimmBench::Boot (const NVM_PLATFORM_DESCRIPTION &Description)
{
  ASSERT_EQ (NvmModelInitialize (Model.get (), &Description), EFI_SUCCESS);
  NvmModelPowerCycle (Model.get ());
  NvmDimmDeviceBind (Model.get ());
}

std::vector<DIMM_RECORD> NvmDimmBench::Dimms ()
{
  UINT32  Count = 0;
  EXPECT_EQ (Config->GetDimmCount (Config, &Count), EFI_SUCCESS);
  std::vector<DIMM_RECORD>  Records (Count);
  EXPECT_EQ (Config->GetDimms (Config, Count, DIMM_CATEGORIES_ALL_DETAILS, Records.data ()), EFI_SUCCESS);
  return Records;
}

std::vector<REGION_RECORD> NvmDimmBench::Regions ()
{
  UINT32  Count = 0;
  EXPECT_EQ (Config->GetRegionCount (Config, &Count), EFI_SUCCESS);
  std::vector<REGION_RECORD>  Records (Count);
  CommandStatusBox            Status;
  EXPECT_EQ (Config->GetRegions (Config, Count, Records.data (), &Status), EFI_SUCCESS);
  return Records;
}

std::vector<NAMESPACE_INFO> NvmDimmBench::Namespaces ()
{
  LIST_ENTRY                   Head;
  UINT32                       Count = 0;
  CommandStatusBox             Status;
  std::vector<NAMESPACE_INFO>  Result;

  InitializeListHead (&Head);
  EXPECT_EQ (Config->GetNamespaces (Config, &Head, &Count, &Status), EFI_SUCCESS);
  while (!IsListEmpty (&Head)) {
    LIST_ENTRY  *Node = GetFirstNode (&Head);
    RemoveEntryList (Node);
    auto  *Info = BASE_CR (Node, NAMESPACE_INFO, Link);
    EXPECT_EQ (Info->Signature, NAMESPACE_INFO_SIGNATURE);
    Result.push_back (*Info);
    FreePool (Info);
  }
  EXPECT_EQ (Count, Result.size ());
  return Result;
}

std::vector<GOAL_RECORD> NvmDimmBench::Goals ()
{
  std::vector<GOAL_RECORD>  Records (GOAL_TABLE_ENTRIES);
  UINT32                    Count = 0;
  CommandStatusBox          Status;
  EXPECT_EQ (Config->GetGoalConfigs (Config, nullptr, 0, nullptr, 0, GOAL_TABLE_ENTRIES, Records.data (), &Count, &Status), EFI_SUCCESS);
  Records.resize (Count);
  return Records;
}

UINT8 NvmDimmBench::SecurityState (UINT16 DimmId)
{
  for (const auto &Record : Dimms ()) {
    if (Record.DimmId == DimmId) {
      return Record.SecurityState;
    }
  }
  ADD_FAILURE () << "no module " << DimmId;
  return 0xFF;
}

const REGION_RECORD *NvmDimmBench::RegionOnSocket (const std::vector<REGION_RECORD> &All, UINT16 SocketId)
{
  for (const auto &Record : All) {
    if (Record.SocketId == SocketId) {
      return &Record;
    }
  }
  return nullptr;
}

Outcome NvmDimmBench::CreateGoal (std::vector<UINT16> DimmIds, std::vector<UINT16> SocketIds, UINT8 Type, UINT32 VolatilePercent)
{
  CommandStatusBox  Status;
  EFI_STATUS        Result = Config->CreateGoalConfig (
                                       Config,
                                       FALSE,
                                       DimmIds.empty () ? nullptr : DimmIds.data (),
                                       (UINT32)DimmIds.size (),
                                       SocketIds.empty () ? nullptr : SocketIds.data (),
                                       (UINT32)SocketIds.size (),
                                       Type,
                                       VolatilePercent,
                                       0,
                                       0,
                                       1,
                                       2,
                                       &Status
                                       );
  return { Result, Status.General () };
}

Outcome NvmDimmBench::Security (std::vector<UINT16> DimmIds, UINT16 Operation, const CHAR16 *Passphrase, const CHAR16 *NewPassphrase)
{
  // The protocol takes writable texts.
  std::u16string    Current = Passphrase != nullptr ? Passphrase : u"";
  std::u16string    New     = NewPassphrase != nullptr ? NewPassphrase : u"";
  CommandStatusBox  Status;
  EFI_STATUS        Result = Config->SetSecurityState (
                                       Config,
                                       DimmIds.data (),
                                       (UINT32)DimmIds.size (),
                                       Operation,
                                       Passphrase != nullptr ? Current.data () : nullptr,
                                       NewPassphrase != nullptr ? New.data () : nullptr,
                                       &Status
                                       );
  return { Result, Status.General () };
}

NamespaceCreated NvmDimmBench::CreateNamespace (UINT16 RegionId, UINT64 Bytes, bool ForceAlignment, const char *Name)
{
  std::string       Text = Name;
  CommandStatusBox  Status;
  UINT64            Capacity = 0;
  UINT16            Id       = 0;
  EFI_STATUS        Result   = Config->CreateNamespace (
                                         Config,
                                         RegionId,
                                         NAMESPACE_ANY_DIMM,
                                         1,
                                         Bytes,
                                         Text.data (),
                                         FALSE,
                                         FALSE,
                                         ForceAlignment ? TRUE : FALSE,
                                         &Capacity,
                                         &Id,
                                         &Status
                                         );
  return { Result, Status.General (), Capacity, Id };
}
