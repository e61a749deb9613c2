#include "FakePlatform.h"

#include <cstdlib>
#include <cstring>

#include <Library/DebugLib.h>
#include <Library/UefiDriverEntryPoint.h>

namespace {

FakePlatform  *gPlatform = nullptr;

template<typename T>
void
Put (DIMM_RECORD &Record, size_t Offset, const T &Value)
{
  std::memcpy (reinterpret_cast<UINT8 *> (&Record) + Offset, &Value, sizeof (T));
}

void
PutText (DIMM_RECORD &Record, size_t Offset, const std::u16string &Text)
{
  std::memcpy (reinterpret_cast<UINT8 *> (&Record) + Offset, Text.c_str (), (Text.size () + 1) * sizeof (CHAR16));
}

std::u16string
TextOrEmpty (const CHAR16 *Text, bool &Present)
{
  Present = (Text != nullptr);
  return Present ? std::u16string (Text) : std::u16string ();
}

// Pool.

EFI_STATUS EFIAPI
FakeAllocatePool (EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer)
{
  (void)PoolType;
  FakePlatform &P = Platform ();
  P.Allocations++;
  if ((P.FailAllocationAt != 0) && (P.Allocations == P.FailAllocationAt)) {
    P.FailedAllocations++;
    *Buffer = nullptr;
    return EFI_OUT_OF_RESOURCES;
  }

  *Buffer = P.VendorAllocate (Size);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
FakeFreePool (VOID *Buffer)
{
  FakePlatform &P = Platform ();
  if (P.Live.erase (Buffer) == 0) {
    P.BadFrees++;
    return EFI_INVALID_PARAMETER;
  }

  std::free (Buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
FakeLocateProtocol (EFI_GUID *Protocol, VOID *Registration, VOID **Interface)
{
  (void)Registration;
  FakePlatform &P = Platform ();
  struct {
    const EFI_GUID  *Guid;
    bool            Published;
    VOID            *Interface;
  } Known[] = {
    { &gNvmDimmConfigProtocolGuid, P.PublishNvmDimmConfig, &P.NvmDimmConfig },
    { &gNvmDimmPassThruProtocolGuid, P.PublishPassThru, &P.PassThru },
    { &gTavrilVeskCommandsProtocolGuid, P.PublishVeskCommands, &P.VeskCommands },
    { &gCarvexDebugSinkProtocolGuid, true, &P.DebugSink },
  };
  for (auto &Entry : Known) {
    if (Entry.Published && (std::memcmp (Entry.Guid, Protocol, sizeof (EFI_GUID)) == 0)) {
      *Interface = Entry.Interface;
      return EFI_SUCCESS;
    }
  }

  for (auto &Extra : P.ExtraProtocols) {
    if (std::memcmp (&Extra.first, Protocol, sizeof (EFI_GUID)) == 0) {
      *Interface = Extra.second;
      return EFI_SUCCESS;
    }
  }

  *Interface = nullptr;
  return EFI_NOT_FOUND;
}

// Debug sink.

UINT32 EFIAPI
SinkGetLevelMask (CARVEX_DEBUG_SINK_PROTOCOL *This, EFI_HANDLE ImageHandle)
{
  (void)This;
  (void)ImageHandle;
  return 0xFFFFFFFF;
}

VOID EFIAPI
SinkWrite (CARVEX_DEBUG_SINK_PROTOCOL *This, EFI_HANDLE ImageHandle, UINTN ErrorLevel, const CHAR8 *Text)
{
  (void)This;
  (void)ImageHandle;
  Platform ().Log.push_back ({ ErrorLevel, Text });
}

VOID EFIAPI
SinkAssert (CARVEX_DEBUG_SINK_PROTOCOL *This, EFI_HANDLE ImageHandle, const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  (void)This;
  (void)ImageHandle;
  Platform ().Log.push_back ({ DEBUG_ERROR, std::string ("ASSERT ") + FileName + ":" + std::to_string (LineNumber) + ": " + Description });
}

// NVM DIMM config protocol.

EFI_STATUS EFIAPI
NvmGetDimmCount (NVM_DIMM_CONFIG_PROTOCOL *This, UINT32 *Count)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetDimmCount"]++;
  if (EFI_ERROR (P.DimmCountStatus)) {
    return P.DimmCountStatus;
  }

  *Count = static_cast<UINT32> (P.Dimms.size ());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetDimms (NVM_DIMM_CONFIG_PROTOCOL *This, UINT32 Count, UINT32 Categories, DIMM_RECORD *Dimms)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetDimms"]++;
  if (Categories != DIMM_CATEGORIES_ALL_DETAILS) {
    return EFI_INVALID_PARAMETER;
  }

  if (EFI_ERROR (P.GetDimmsStatus)) {
    return P.GetDimmsStatus;
  }

  for (size_t Index = 0; (Index < Count) && (Index < P.Dimms.size ()); Index++) {
    Dimms[Index] = P.Record (Index);
  }

  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetSockets (NVM_DIMM_CONFIG_PROTOCOL *This, UINT32 *Count, SOCKET_RECORD **Sockets)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetSockets"]++;
  auto *Array = static_cast<SOCKET_RECORD *> (P.VendorAllocate (P.Sockets.size () * sizeof (SOCKET_RECORD) + 1));
  for (size_t Index = 0; Index < P.Sockets.size (); Index++) {
    SOCKET_RECORD Socket{};
    Socket.SocketId = P.Sockets[Index];
    Array[Index]    = Socket;
  }

  *Count   = static_cast<UINT32> (P.Sockets.size ());
  *Sockets = Array;
  return P.SocketsStatus;
}

EFI_STATUS EFIAPI
NvmSetSecurityState (NVM_DIMM_CONFIG_PROTOCOL *This, UINT16 *DimmIds, UINT32 DimmIdCount, UINT16 SecurityOperation, CHAR16 *Passphrase, CHAR16 *NewPassphrase, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["SetSecurityState"]++;
  SecurityCall Call;
  if (DimmIds != nullptr) {
    Call.DimmIds.assign (DimmIds, DimmIds + DimmIdCount);
  }

  Call.Operation     = SecurityOperation;
  Call.Passphrase    = TextOrEmpty (Passphrase, Call.HasPassphrase);
  Call.NewPassphrase = TextOrEmpty (NewPassphrase, Call.HasNewPassphrase);
  P.SecurityCalls.push_back (Call);

  SecurityAnswer Answer;
  if (P.OnSetSecurityState) {
    Answer = P.OnSetSecurityState (Call);
  }

  P.AppendNodes (CommandStatus);
  CommandStatus->GeneralStatus = Answer.NvmStatus;
  return Answer.Status;
}

EFI_STATUS EFIAPI
NvmGetRegionCount (NVM_DIMM_CONFIG_PROTOCOL *This, UINT32 *Count)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetRegionCount"]++;
  if (EFI_ERROR (P.RegionCountStatus)) {
    return P.RegionCountStatus;
  }

  *Count = static_cast<UINT32> (P.Regions.size ());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetRegions (NVM_DIMM_CONFIG_PROTOCOL *This, UINT32 Count, REGION_RECORD *Regions, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetRegions"]++;
  P.AppendNodes (CommandStatus);
  if (EFI_ERROR (P.GetRegionsStatus)) {
    CommandStatus->GeneralStatus = NVM_ERR_UNKNOWN;
    return P.GetRegionsStatus;
  }

  for (size_t Index = 0; (Index < Count) && (Index < P.Regions.size ()); Index++) {
    Regions[Index] = P.Regions[Index];
  }

  CommandStatus->GeneralStatus = NVM_SUCCESS;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetMemoryResourcesInfo (NVM_DIMM_CONFIG_PROTOCOL *This, MEMORY_RESOURCES_RECORD *Resources)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetMemoryResourcesInfo"]++;
  if (EFI_ERROR (P.ResourcesStatus)) {
    return P.ResourcesStatus;
  }

  *Resources = P.Resources;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetAlarmThresholds (NVM_DIMM_CONFIG_PROTOCOL *This, UINT16 DimmId, UINT8 SensorId, UINT16 *Threshold, UINT8 *EnabledState, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetAlarmThresholds"]++;
  P.AppendNodes (CommandStatus);
  if ((SensorId != SENSOR_PERCENTAGE_REMAINING) || P.ThresholdReadFails.count (DimmId) || !P.Thresholds.count (DimmId)) {
    // A failing read may still have scribbled on the outputs.
    *Threshold    = 0xBEEF;
    *EnabledState = 0xEE;
    CommandStatus->GeneralStatus = NVM_ERR_DIMM_NOT_FOUND;
    return EFI_DEVICE_ERROR;
  }

  *Threshold    = P.Thresholds[DimmId].first;
  *EnabledState = P.Thresholds[DimmId].second;
  CommandStatus->GeneralStatus = NVM_SUCCESS;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmSetAlarmThresholds (NVM_DIMM_CONFIG_PROTOCOL *This, UINT16 *DimmIds, UINT32 DimmIdCount, UINT8 SensorId, UINT16 Threshold, UINT8 EnabledState, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["SetAlarmThresholds"]++;
  P.AppendNodes (CommandStatus);
  if ((DimmIdCount != 1) || (SensorId != SENSOR_PERCENTAGE_REMAINING)) {
    return EFI_INVALID_PARAMETER;
  }

  P.ThresholdWrites.push_back ({ DimmIds[0], Threshold, EnabledState });
  if (P.ThresholdWriteFails.count (DimmIds[0])) {
    return EFI_DEVICE_ERROR;
  }

  P.Thresholds[DimmIds[0]] = { Threshold, EnabledState };
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetSmartAndHealth (NVM_DIMM_CONFIG_PROTOCOL *This, UINT16 DimmId, SMART_RECORD *Smart, VOID *R1, VOID *R2, VOID *R3, VOID *R4)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetSmartAndHealth"]++;
  if ((R1 != nullptr) || (R2 != nullptr) || (R3 != nullptr) || (R4 != nullptr)) {
    return EFI_INVALID_PARAMETER;
  }

  for (const FakeDimm &Dimm : P.Dimms) {
    if (Dimm.DimmId == DimmId) {
      if (Dimm.SmartFails) {
        return EFI_DEVICE_ERROR;
      }

      Smart->PercentageRemaining = Dimm.PercentageRemaining;
      return EFI_SUCCESS;
    }
  }

  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI
NvmGetGoalConfigs (NVM_DIMM_CONFIG_PROTOCOL *This, UINT16 *DimmIds, UINT32 DimmIdsCount, UINT16 *SocketIds, UINT32 SocketIdsCount, UINT32 GoalTableEntries, GOAL_RECORD *Goals, UINT32 *GoalCount, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetGoalConfigs"]++;
  P.AppendNodes (CommandStatus);
  if ((DimmIds != nullptr) || (DimmIdsCount != 0) || (SocketIds != nullptr) || (SocketIdsCount != 0) || (GoalTableEntries != GOAL_TABLE_ENTRIES)) {
    return EFI_INVALID_PARAMETER;
  }

  if (EFI_ERROR (P.GetGoalsStatus)) {
    CommandStatus->GeneralStatus = NVM_ERR_UNKNOWN;
    return P.GetGoalsStatus;
  }

  for (size_t Index = 0; Index < P.Goals.size (); Index++) {
    Goals[Index] = P.Goals[Index];
  }

  *GoalCount = static_cast<UINT32> (P.Goals.size ());
  CommandStatus->GeneralStatus = NVM_SUCCESS;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmCreateGoalConfig (NVM_DIMM_CONFIG_PROTOCOL *This, BOOLEAN Reserved, UINT16 *DimmIds, UINT32 DimmIdsCount, UINT16 *SocketIds, UINT32 SocketIdsCount, UINT8 PersistentMemType, UINT32 VolatilePercent, UINT32 ReservedPercent, UINT8 ReserveDimm, UINT16 LabelVersionMajor, UINT16 LabelVersionMinor, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["CreateGoalConfig"]++;
  GoalCreateCall Call{ Reserved, {}, {}, PersistentMemType, VolatilePercent, ReservedPercent, ReserveDimm, LabelVersionMajor, LabelVersionMinor };
  if (DimmIds != nullptr) {
    Call.DimmIds.assign (DimmIds, DimmIds + DimmIdsCount);
  }

  if (SocketIds != nullptr) {
    Call.SocketIds.assign (SocketIds, SocketIds + SocketIdsCount);
  }

  P.GoalCreates.push_back (Call);
  P.AppendNodes (CommandStatus);
  CommandStatus->GeneralStatus = P.CreateGoalAnswer.NvmStatus;
  return P.CreateGoalAnswer.Status;
}

EFI_STATUS EFIAPI
NvmDeleteGoalConfig (NVM_DIMM_CONFIG_PROTOCOL *This, UINT16 *DimmIds, UINT32 DimmIdsCount, UINT16 *SocketIds, UINT32 SocketIdsCount, COMMAND_STATUS *CommandStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["DeleteGoalConfig"]++;
  P.AppendNodes (CommandStatus);
  P.GoalDeletes.push_back ({ DimmIds == nullptr ? std::vector<UINT16> () : std::vector<UINT16> (DimmIds, DimmIds + DimmIdsCount),
                             SocketIds == nullptr ? std::vector<UINT16> () : std::vector<UINT16> (SocketIds, SocketIds + SocketIdsCount) });
  CommandStatus->GeneralStatus = NVM_SUCCESS;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
NvmGetARSStatus (NVM_DIMM_CONFIG_PROTOCOL *This, UINT8 *ArsStatus)
{
  (void)This;
  FakePlatform &P = Platform ();
  P.Calls["GetARSStatus"]++;
  *ArsStatus = P.ScrubInProgress () ? ARS_STATUS_IN_PROGRESS : ARS_STATUS_COMPLETED;
  return EFI_SUCCESS;
}

// Mailbox pass-through: the address range scrub feature only.

EFI_STATUS EFIAPI
FakePassThru (NVM_DIMM_PASS_THRU_PROTOCOL *This, UINT32 DimmHandle, NVM_PASS_THRU_INPUT *Input, NVM_PASS_THRU_OUTPUT *Output, UINT32 Timeout, UINT8 *MailboxStatus)
{
  FakePlatform &P = Platform ();
  P.Calls["PassThru"]++;
  *MailboxStatus = PT_MAILBOX_SUCCESS;
  if ((This != nullptr) || (Timeout != PT_TIMEOUT_DEFAULT) || (Input->SubOpcode != PT_SUBOPCODE_ADDRESS_RANGE_SCRUB) || !P.Scrub.count (DimmHandle)) {
    *MailboxStatus = PT_MAILBOX_INVALID_PARAMETER;
    return EFI_INVALID_PARAMETER;
  }

  ScrubState &State = P.Scrub[DimmHandle];
  NVM_ARS_PAYLOAD Payload{};
  if (Input->Opcode == PT_OPCODE_GET_FEATURES) {
    if (State.GetFails || (Output == nullptr) || (Output->OutputPayloadSize != PT_PAYLOAD_SIZE) || (Input->InputPayloadSize != 0)) {
      *MailboxStatus = PT_MAILBOX_INTERNAL_ERROR;
      return EFI_DEVICE_ERROR;
    }

    Payload.Enable            = State.Enabled;
    Payload.DpaStartAddress   = State.Start;
    Payload.DpaEndAddress     = State.End;
    Payload.DpaCurrentAddress = State.Current;
    std::memcpy (Output->OutputPayload, &Payload, sizeof (Payload));
    return EFI_SUCCESS;
  }

  if ((Input->Opcode != PT_OPCODE_SET_FEATURES) || (Input->InputPayloadSize != PT_PAYLOAD_SIZE)) {
    *MailboxStatus = PT_MAILBOX_INVALID_PARAMETER;
    return EFI_INVALID_PARAMETER;
  }

  std::memcpy (&Payload, Input->InputPayload, sizeof (Payload));
  P.ScrubWrites.push_back ({ DimmHandle, Payload.Enable, Payload.DpaStartAddress, Payload.DpaEndAddress, Payload.DpaCurrentAddress });
  State.Enabled = Payload.Enable;
  if (Payload.Enable != 0) {
    State.Start   = Payload.DpaStartAddress;
    State.End     = Payload.DpaEndAddress;
    State.Current = Payload.DpaStartAddress;
  }

  return EFI_SUCCESS;
}

// Controller command protocol: the audit log.

EFI_STATUS EFIAPI
FakeAddAuditLog (VESK_COMMANDS_PROTOCOL *This, UINT16 EventCode, CHAR8 *MessageText, CHAR8 *MessageId, UINT64 *CompletionCode, UINT8 Reserved)
{
  FakePlatform &P = Platform ();
  if ((This != &P.VeskCommands) || (CompletionCode == nullptr) || (*CompletionCode != 0) || (Reserved != 0)) {
    return EFI_INVALID_PARAMETER;
  }

  P.AuditEvents.push_back ({ EventCode, MessageText, MessageId });
  return P.AuditStatus;
}

}  // namespace

FakePlatform &
Platform ()
{
  return *gPlatform;
}

FakePlatform::FakePlatform ()
{
  BootServices.AllocatePool   = FakeAllocatePool;
  BootServices.FreePool       = FakeFreePool;
  BootServices.LocateProtocol = FakeLocateProtocol;
  SystemTable.BootServices    = &BootServices;
  SystemTable.RuntimeServices = &RuntimeServices;

  DebugSink.GetLevelMask = SinkGetLevelMask;
  DebugSink.Write        = SinkWrite;
  DebugSink.Assert       = SinkAssert;

  NvmDimmConfig.Version                = 0x10000;
  NvmDimmConfig.GetDimmCount           = NvmGetDimmCount;
  NvmDimmConfig.GetDimms               = NvmGetDimms;
  NvmDimmConfig.GetSockets             = NvmGetSockets;
  NvmDimmConfig.SetSecurityState       = NvmSetSecurityState;
  NvmDimmConfig.GetRegionCount         = NvmGetRegionCount;
  NvmDimmConfig.GetRegions             = NvmGetRegions;
  NvmDimmConfig.GetMemoryResourcesInfo = NvmGetMemoryResourcesInfo;
  NvmDimmConfig.GetAlarmThresholds     = NvmGetAlarmThresholds;
  NvmDimmConfig.SetAlarmThresholds     = NvmSetAlarmThresholds;
  NvmDimmConfig.GetSmartAndHealth      = NvmGetSmartAndHealth;
  NvmDimmConfig.GetGoalConfigs         = NvmGetGoalConfigs;
  NvmDimmConfig.CreateGoalConfig       = NvmCreateGoalConfig;
  NvmDimmConfig.DeleteGoalConfig       = NvmDeleteGoalConfig;
  NvmDimmConfig.GetARSStatus           = NvmGetARSStatus;
  PassThru.PassThru                    = FakePassThru;
  VeskCommands.AddAuditLog             = FakeAddAuditLog;

  gPlatform = this;
  ProcessCommonLibraryConstructors (reinterpret_cast<EFI_HANDLE> (0x1000), &SystemTable);
}

FakePlatform::~FakePlatform ()
{
  for (auto &Block : Live) {
    std::free (Block.first);
  }

  ProcessCommonLibraryConstructors (nullptr, nullptr);
  gPlatform = nullptr;
}

VOID *
FakePlatform::VendorAllocate (UINTN Size)
{
  VOID *Block = std::malloc (Size == 0 ? 1 : Size);
  // Fresh pool is not zero, so that a missing ZeroMem shows.
  std::memset (Block, 0xA5, Size);
  Live[Block] = Size;
  return Block;
}

void
FakePlatform::AppendNodes (COMMAND_STATUS *pCommandStatus)
{
  for (UINTN Count = 0; Count < NodesPerCommandStatus; Count++) {
    auto *Node = static_cast<OBJECT_STATUS_NODE *> (VendorAllocate (sizeof (OBJECT_STATUS_NODE)));
    Node->Header.Signature = OBJECT_STATUS_NODE_SIGNATURE;
    Node->ObjectId         = 0;
    Node->NvmStatus        = 0;
    LIST_ENTRY *Head = &pCommandStatus->ObjectStatusList;
    Node->Header.Link.ForwardLink = Head;
    Node->Header.Link.BackLink    = Head->BackLink;
    Head->BackLink->ForwardLink   = &Node->Header.Link;
    Head->BackLink                = &Node->Header.Link;
  }
}

DIMM_RECORD
FakePlatform::Record (size_t Index) const
{
  const FakeDimm &Dimm = Dimms[Index];
  DIMM_RECORD Record;
  std::memset (&Record, 0x5A, sizeof (Record));  // bytes the driver must not read
  PutText (Record, offsetof (DIMM_RECORD, DeviceLocator), Dimm.Locator);
  PutText (Record, offsetof (DIMM_RECORD, DimmUid), Dimm.Uid);
  Put (Record, offsetof (DIMM_RECORD, FwVersionMajor), Dimm.Fw[0]);
  Put (Record, offsetof (DIMM_RECORD, FwVersionMinor), Dimm.Fw[1]);
  Put (Record, offsetof (DIMM_RECORD, FwVersionHotfix), Dimm.Fw[2]);
  Put (Record, offsetof (DIMM_RECORD, FwVersionBuild), Dimm.FwBuild);
  Put (Record, offsetof (DIMM_RECORD, DimmId), Dimm.DimmId);
  Put (Record, offsetof (DIMM_RECORD, SocketId), Dimm.SocketId);
  Put (Record, offsetof (DIMM_RECORD, RawCapacity), Dimm.Raw);
  Put (Record, offsetof (DIMM_RECORD, VolatileCapacity), Dimm.Volatile);
  Put (Record, offsetof (DIMM_RECORD, SecurityState), Dimm.SecurityState);
  Put (Record, offsetof (DIMM_RECORD, AppDirectCapacity), Dimm.AppDirect);
  Put (Record, offsetof (DIMM_RECORD, UnconfiguredCapacity), Dimm.Unconfigured);
  Put (Record, offsetof (DIMM_RECORD, ReservedCapacity), Dimm.Reserved);
  Put (Record, offsetof (DIMM_RECORD, InaccessibleCapacity), Dimm.Inaccessible);
  Put (Record, offsetof (DIMM_RECORD, VendorId), Dimm.Vendor);
  Put (Record, offsetof (DIMM_RECORD, DeviceId), Dimm.Device);
  Put (Record, offsetof (DIMM_RECORD, SubsystemVendorId), Dimm.SubsystemVendor);
  Put (Record, offsetof (DIMM_RECORD, SubsystemDeviceId), Dimm.SubsystemDevice);
  Put (Record, offsetof (DIMM_RECORD, Configured), Dimm.Configured);
  Put (Record, offsetof (DIMM_RECORD, DimmHandle), Dimm.Handle);
  return Record;
}

bool
FakePlatform::ScrubInProgress () const
{
  for (auto &Entry : Scrub) {
    if (Entry.second.Enabled != 0) {
      return true;
    }
  }

  return false;
}

bool
FakePlatform::Logged (UINTN Level, const std::string &Text) const
{
  for (const LoggedLine &Line : Log) {
    if ((Line.Level == Level) && (Line.Text == Text)) {
      return true;
    }
  }

  return false;
}

UINTN
FakePlatform::CountLogged (const std::string &Text) const
{
  UINTN Count = 0;
  for (const LoggedLine &Line : Log) {
    Count += (Line.Text == Text) ? 1 : 0;
  }

  return Count;
}

bool
FakePlatform::AnyErrorLogged () const
{
  for (const LoggedLine &Line : Log) {
    if (Line.Level == DEBUG_ERROR) {
      return true;
    }
  }

  return false;
}

std::string
Utf8 (const CHAR16 *Text)
{
  std::string Narrow;
  for ( ; (Text != nullptr) && (*Text != 0); Text++) {
    Narrow.push_back (static_cast<char> (*Text));
  }

  return Narrow;
}
