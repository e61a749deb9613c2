// A small fake platform for the module management client's tests: boot
// services with pool accounting and n-th allocation failure, a debug sink
// that keeps every line, and fakes of the NVM DIMM config protocol, the
// mailbox pass-through and the controller command protocol whose answers a
// test fills in.
//
// The driver keeps module-wide state (the located protocol, caches, the
// auto-unlock outcomes) exactly as one boot does, and has no reset: every
// TEST builds one FakePlatform and relies on running in its own process,
// which ctest gives each test discovered by gtest_discover_tests.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <Uefi.h>
#include <NvmDimmRecords.h>
#include <Protocol/DebugSink.h>
#include <Protocol/NvmDimmConfig.h>
#include <Protocol/NvmDimmPassThru.h>
#include <Protocol/VeskCommands.h>
#include <Library/DebugLib.h>

struct LoggedLine {
  UINTN        Level;
  std::string  Text;
};

// One module as a test describes it; turned into a 688-byte record.
struct FakeDimm {
  UINT16          DimmId = 0;
  UINT16          SocketId = 0;
  UINT32          Handle = 0;
  std::u16string  Locator;
  std::u16string  Uid;
  UINT8           SecurityState = DIMM_SECURITY_STATE_DISABLED;
  UINT8           Fw[3] = { 0, 0, 0 };
  UINT16          FwBuild = 0;
  UINT64          Raw = 0, Volatile = 0, AppDirect = 0, Unconfigured = 0, Reserved = 0, Inaccessible = 0;
  UINT16          Vendor = 0, Device = 0, SubsystemVendor = 0, SubsystemDevice = 0;
  UINT8           Configured = 0;
  UINT8           PercentageRemaining = 100;
  bool            SmartFails = false;
};

struct SecurityCall {
  std::vector<UINT16>  DimmIds;
  UINT16               Operation = 0;
  bool                 HasPassphrase = false;
  std::u16string       Passphrase;
  bool                 HasNewPassphrase = false;
  std::u16string       NewPassphrase;
};

struct SecurityAnswer {
  EFI_STATUS  Status = EFI_SUCCESS;
  UINT16      NvmStatus = NVM_SUCCESS;
};

struct ThresholdWrite {
  UINT16  DimmId;
  UINT16  Threshold;
  UINT8   Enabled;
};

struct GoalCreateCall {
  BOOLEAN              Reserved;
  std::vector<UINT16>  DimmIds;
  std::vector<UINT16>  SocketIds;
  UINT8                PersistentMemType;
  UINT32               VolatilePercent;
  UINT32               ReservedPercent;
  UINT8                ReserveDimm;
  UINT16               LabelMajor;
  UINT16               LabelMinor;
};

struct ScrubState {
  UINT8   Enabled = 0;
  UINT64  Start = 0, End = 0, Current = 0;
  bool    GetFails = false;
};

struct ScrubWrite {
  UINT32  Handle;
  UINT8   Enable;
  UINT64  Start, End, Current;
};

struct AuditEvent {
  UINT16       EventCode;
  std::string  MessageText;
  std::string  MessageId;
};

class FakePlatform {
public:
  FakePlatform ();
  ~FakePlatform ();
  FakePlatform (const FakePlatform &) = delete;
  FakePlatform &operator= (const FakePlatform &) = delete;

  // Protocols published; a test may withdraw one before the driver looks.
  bool  PublishNvmDimmConfig = true;
  bool  PublishPassThru = true;
  bool  PublishVeskCommands = true;

  // Pool: blocks alive now, and failure injection on the driver's calls.
  std::map<VOID *, UINTN>  Live;
  UINTN  Allocations = 0;        // the driver's allocation calls so far
  UINTN  FailAllocationAt = 0;   // 1-based; 0 never fails
  UINTN  FailedAllocations = 0;
  UINTN  BadFrees = 0;           // FreePool of a block that is not alive
  // Pool the vendor's driver hands to the caller (nodes, socket arrays):
  // never failed, but the driver must free it.
  VOID  *VendorAllocate (UINTN Size);

  // Debug output at every level.
  std::vector<LoggedLine>  Log;
  bool   Logged (UINTN Level, const std::string &Text) const;
  UINTN  CountLogged (const std::string &Text) const;
  bool   AnyErrorLogged () const;

  // NVM DIMM config protocol contents.
  std::vector<FakeDimm>  Dimms;
  EFI_STATUS  DimmCountStatus = EFI_SUCCESS;
  EFI_STATUS  GetDimmsStatus = EFI_SUCCESS;
  std::vector<UINT16>  Sockets;
  EFI_STATUS  SocketsStatus = EFI_SUCCESS;
  MEMORY_RESOURCES_RECORD  Resources{};
  EFI_STATUS  ResourcesStatus = EFI_SUCCESS;
  std::vector<REGION_RECORD>  Regions;
  EFI_STATUS  RegionCountStatus = EFI_SUCCESS;
  EFI_STATUS  GetRegionsStatus = EFI_SUCCESS;
  std::vector<GOAL_RECORD>  Goals;
  EFI_STATUS  GetGoalsStatus = EFI_SUCCESS;
  SecurityAnswer  CreateGoalAnswer;
  std::vector<GoalCreateCall>  GoalCreates;
  std::vector<std::pair<std::vector<UINT16>, std::vector<UINT16>>>  GoalDeletes;  // modules, sockets
  std::vector<SecurityCall>  SecurityCalls;
  // Answers SetSecurityState; by default every call succeeds.
  std::function<SecurityAnswer (const SecurityCall &)>  OnSetSecurityState;
  std::map<UINT16, std::pair<UINT16, UINT8>>  Thresholds;  // DimmId: threshold, enabled
  std::set<UINT16>  ThresholdReadFails;
  std::set<UINT16>  ThresholdWriteFails;
  std::vector<ThresholdWrite>  ThresholdWrites;
  std::map<std::string, UINTN>  Calls;  // protocol calls by operation name
  // Per-object status nodes appended to every command status handed over.
  UINTN  NodesPerCommandStatus = 1;

  // Mailbox pass-through: scrub per module handle. GetARSStatus reports a
  // scrub in progress while any module's scrub is enabled.
  std::map<UINT32, ScrubState>  Scrub;
  std::vector<ScrubWrite>  ScrubWrites;
  bool  ScrubInProgress () const;

  // Further protocols a test publishes (GUID, interface).
  std::vector<std::pair<EFI_GUID, VOID *>>  ExtraProtocols;

  // Controller command protocol.
  std::vector<AuditEvent>  AuditEvents;
  EFI_STATUS  AuditStatus = EFI_SUCCESS;

  // The record the protocol returns for Dimms[Index].
  DIMM_RECORD  Record (size_t Index) const;
  void  AppendNodes (COMMAND_STATUS *pCommandStatus);

  NVM_DIMM_CONFIG_PROTOCOL     NvmDimmConfig{};
  NVM_DIMM_PASS_THRU_PROTOCOL  PassThru{};
  VESK_COMMANDS_PROTOCOL       VeskCommands{};
  CARVEX_DEBUG_SINK_PROTOCOL   DebugSink{};
  EFI_BOOT_SERVICES            BootServices{};
  EFI_RUNTIME_SERVICES         RuntimeServices{};
  EFI_SYSTEM_TABLE             SystemTable{};
};

// The instance the EFIAPI entry points talk to.
FakePlatform &Platform ();

// A CHAR16 text narrowed for assertions (the tests use ASCII only).
std::string Utf8 (const CHAR16 *Text);

// A module with the identity most tests need; the rest stays default.
inline FakeDimm
MakeDimm (UINT16 DimmId, UINT16 SocketId, const std::u16string &Locator, UINT8 SecurityState = DIMM_SECURITY_STATE_DISABLED)
{
  FakeDimm Dimm;
  Dimm.DimmId        = DimmId;
  Dimm.SocketId      = SocketId;
  Dimm.Handle        = 0x1000u + DimmId;
  Dimm.Locator       = Locator;
  Dimm.Uid           = u"8089-A2-0000-" + std::u16string (1, static_cast<char16_t> (u'0' + DimmId % 10));
  Dimm.SecurityState = SecurityState;
  return Dimm;
}
