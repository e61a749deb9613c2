// The protocol tables, fault injection and call counts, the vendor image's
// start, and the checks on descriptions and stored models.
#include "NvmDimmBench.h"

#include <cstring>
#include <functional>
#include <set>

#include "NvmDimm/NvmDimmPlatform.h"
#include "NvmDimm/NvmDimmVendor.h"

namespace {

// Offsets the driver's side fixes, restated from its point of view.
static_assert (offsetof (DIMM_RECORD, DimmHandle) == 628);
static_assert (offsetof (SMART_RECORD, PercentageRemaining) == 10);
static_assert (offsetof (NAMESPACE_INFO, BlockCount) == 288);
static_assert (offsetof (NVM_DIMM_PASS_THRU_PROTOCOL, PassThru) == 16);
static_assert (sizeof (NVM_PASS_THRU_INPUT) == 144 && sizeof (NVM_PASS_THRU_OUTPUT) == 144);
static_assert (offsetof (NVM_ARS_PAYLOAD, DpaCurrentAddress) == 20);

using DeviceTest = NvmDimmBench;

TEST_F (DeviceTest, ConfigTable_OnlyServedSlotsFilled)
{
  const std::set<size_t>  Served = { 1, 2, 6, 14, 16, 17, 19, 23, 24, 25, 26, 28, 29, 33, 34, 35, 36, 43 };
  VOID                    *Slots[44];

  std::memcpy (Slots, Config, sizeof (Slots));
  for (size_t Slot = 1; Slot < 44; Slot++) {
    EXPECT_EQ (Slots[Slot] != nullptr, Served.count (Slot) == 1) << "slot " << Slot;
  }
  // Called through its raw position, slot 1 answers the module count.
  UINT32  Count = 0;
  auto    GetDimmCount = reinterpret_cast<NVM_GET_DIMM_COUNT> (Slots[1]);
  EXPECT_EQ (GetDimmCount (Config, &Count), EFI_SUCCESS);
  EXPECT_EQ (Count, 12u);
}

TEST_F (DeviceTest, Faults_FailChosenCallsAndCountEveryCall)
{
  UINT32  Count;

  ASSERT_EQ (NvmModelSetFault (Model.get (), NVM_SLOT_GET_DIMM_COUNT, NvmFaultTimes, 1, 2, EFI_DEVICE_ERROR, 0), EFI_SUCCESS);
  const EFI_STATUS  Expected[] = { EFI_SUCCESS, EFI_DEVICE_ERROR, EFI_DEVICE_ERROR, EFI_SUCCESS, EFI_SUCCESS };
  for (EFI_STATUS Status : Expected) {
    EXPECT_EQ (Config->GetDimmCount (Config, &Count), Status);
  }
  EXPECT_EQ (Model->CallCount[NVM_SLOT_GET_DIMM_COUNT], 5u);
  EXPECT_EQ (Model->CallCount[NVM_SLOT_GET_DIMMS], 0u);
}

TEST_F (DeviceTest, FaultOnChange_WritesNvmStatusAndChangesNothing)
{
  ASSERT_EQ (NvmModelSetFault (Model.get (), NVM_SLOT_CREATE_GOAL_CONFIG, NvmFaultAlways, 0, 0, EFI_ABORTED, NVM_ERR_CREATE_GOAL_NOT_ALLOWED), EFI_SUCCESS);
  for (int Attempt = 0; Attempt < 3; Attempt++) {
    auto  Result = CreateGoal ({}, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 0);
    EXPECT_EQ (Result.Status, EFI_ABORTED);
    EXPECT_EQ (Result.Nvm, NVM_ERR_CREATE_GOAL_NOT_ALLOWED);
  }
  EXPECT_TRUE (Goals ().empty ());
  EXPECT_EQ (Model->CallCount[NVM_SLOT_CREATE_GOAL_CONFIG], 3u);

  NvmModelClearFaults (Model.get ());
  EXPECT_EQ (CreateGoal ({}, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 0).Status, EFI_SUCCESS);
}

TEST_F (DeviceTest, FaultOnMailbox_MailboxStatusReported)
{
  NVM_PASS_THRU_INPUT   Input{};
  NVM_PASS_THRU_OUTPUT  Output{};
  UINT8                 Mailbox = 0;

  ASSERT_EQ (NvmModelSetFault (Model.get (), NVM_SLOT_PASS_THRU, NvmFaultTimes, 0, 1, EFI_TIMEOUT, 0), EFI_SUCCESS);
  Input.Opcode             = PT_OPCODE_GET_FEATURES;
  Input.SubOpcode          = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
  Output.OutputPayloadSize = PT_PAYLOAD_SIZE;
  auto  *PassThru          = NvmDimmDevicePassThruProtocol ();
  EXPECT_EQ (PassThru->PassThru (nullptr, Dimms ()[0].DimmHandle, &Input, &Output, PT_TIMEOUT_DEFAULT, &Mailbox), EFI_TIMEOUT);
  EXPECT_EQ (Mailbox, PT_MAILBOX_INTERNAL_ERROR);
  EXPECT_EQ (PassThru->PassThru (nullptr, Dimms ()[0].DimmHandle, &Input, &Output, PT_TIMEOUT_DEFAULT, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (Model->CallCount[NVM_SLOT_PASS_THRU], 2u);
}

TEST_F (DeviceTest, SetFaultRefusals_Table)
{
  EXPECT_EQ (NvmModelSetFault (Model.get (), NVM_SLOT_COUNT, NvmFaultAlways, 0, 0, EFI_ABORTED, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ (NvmModelSetFault (Model.get (), 1, NvmFaultTimes, 0, 0, EFI_ABORTED, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ (NvmModelSetFault (Model.get (), 1, static_cast<NVM_FAULT_MODE> (7), 0, 1, EFI_ABORTED, 0), EFI_INVALID_PARAMETER);
}

TEST_F (DeviceTest, NoModelBound_NotReady)
{
  UINT32  Count;

  NvmDimmDeviceBind (nullptr);
  EXPECT_EQ (Config->GetDimmCount (Config, &Count), EFI_NOT_READY);
}

TEST_F (DeviceTest, DescriptionsTheModelCannotHold_Refused)
{
  struct Case {
    const char                                        *Name;
    std::function<void (NVM_PLATFORM_DESCRIPTION &)>  Change;
  } Cases[] = {
    { "no socket", [](auto &Board) { Board.SocketCount = 0; } },
    { "nine sockets", [](auto &Board) { Board.SocketCount = 9; } },
    { "module on an absent socket", [](auto &Board) { Board.Dimms[0].SocketId = 2; } },
    { "slot used twice", [](auto &Board) { Board.Dimms[1].SlotNumber = 1; } },
    { "security without passphrase", [](auto &Board) { Board.Dimms[0].SecurityEnabled = 1; } },
    { "under a gibibyte", [](auto &Board) { Board.Dimms[0].RawCapacity = GiB - 1; } },
    { "thirteen modules on one socket", [](auto &Board) {
        Board.DimmCount = 13;
        for (UINT32 Index = 0; Index < 13; Index++) {
          Board.Dimms[Index] = Board.Dimms[0];
          Board.Dimms[Index].SlotNumber = static_cast<UINT16> (Index + 1);
        }
      } },
  };
  for (const auto &Case : Cases) {
    NVM_PLATFORM_DESCRIPTION  Board = DefaultBoard ();
    Case.Change (Board);
    NVM_MODEL  Scratch;
    EXPECT_EQ (NvmModelInitialize (&Scratch, &Board), EFI_INVALID_PARAMETER) << Case.Name;
  }
}

TEST_F (DeviceTest, CorruptStoredModel_Rejected)
{
  struct Case {
    const char                         *Name;
    EFI_STATUS                         Status;
    std::function<void (NVM_MODEL &)>  Change;
  } Cases[] = {
    { "intact", EFI_SUCCESS, [](NVM_MODEL &) {} },
    { "other version", EFI_INCOMPATIBLE_VERSION, [](NVM_MODEL &M) { M.Version++; } },
    { "other size", EFI_INCOMPATIBLE_VERSION, [](NVM_MODEL &M) { M.Size--; } },
    { "too many modules", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) { M.DimmCount = NVM_MAX_DIMMS + 1; } },
    { "module on absent socket", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) { M.Dimms[0].SocketId = 5; } },
    { "locator without end", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) {
        for (auto &Character : M.Dimms[0].DeviceLocator) { Character = u'x'; }
      } },
    { "capacities not adding up", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) { M.Dimms[0].AppDirectCapacity += GiB; } },
    { "duplicate module id", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) { M.Dimms[1].DimmId = M.Dimms[0].DimmId; } },
    { "region over a missing module", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) { M.Regions[0].DimmIds[0] = 99; } },
    { "region count past its array", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) { M.Regions[0].DimmCount = REGION_MAX_DIMMS + 1; } },
    { "namespace in no region", EFI_VOLUME_CORRUPTED, [](NVM_MODEL &M) {
        M.Namespaces[0].Present     = 1;
        M.Namespaces[0].NamespaceId = 1;
        M.Namespaces[0].RegionId    = 40;
        M.Namespaces[0].BlockSize   = 1;
      } },
  };
  for (const auto &Case : Cases) {
    auto  Stored = std::make_unique<NVM_MODEL> (*Model);
    Case.Change (*Stored);
    EXPECT_EQ (NvmModelValidate (Stored.get ()), Case.Status) << Case.Name;
  }
}

// The vendor image's start, without the bench's bound model.
struct VendorStart : public ::testing::Test {
  ~VendorStart () override { NvmDimmDeviceBind (nullptr); }

  DeviceFakePlatform  Platform;
};

TEST_F (VendorStart, NoHostModel_EmbeddedBoardServed)
{
  ASSERT_EQ (NvmDimmVendorEntryPoint (nullptr, nullptr), EFI_SUCCESS);
  auto  *Config = static_cast<NVM_DIMM_CONFIG_PROTOCOL *> (Platform.Installed (gNvmDimmConfigProtocolGuid));
  ASSERT_NE (Config, nullptr);
  EXPECT_NE (Platform.Installed (gNvmDimmPassThruProtocolGuid), nullptr);
  UINT32  Count = 0;
  EXPECT_EQ (Config->GetDimmCount (Config, &Count), EFI_SUCCESS);
  EXPECT_EQ (Count, 12u);
  EXPECT_EQ (Config->Version, NVM_DIMM_CONFIG_PROTOCOL_VERSION);
}

TEST_F (VendorStart, FreshHostModel_BuiltFromHostDescriptionAndPoweredUp)
{
  NVM_PLATFORM_DESCRIPTION    Board = DefaultBoard ();
  auto                        Host  = std::make_unique<NVM_MODEL> ();
  NVM_DIMM_PLATFORM_PROTOCOL  Hand  = { NVM_DIMM_PLATFORM_REVISION, NVM_DIMM_PLATFORM_POWER_UP_AT_ENTRY, Host.get (), &Board };

  Board.DimmCount = 2;
  Platform.Publish (gNvmDimmPlatformProtocolGuid, &Hand);
  ASSERT_EQ (NvmDimmVendorEntryPoint (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (Host->DimmCount, 2u);
  EXPECT_EQ (Host->BootCount, 1u);

  // The next boot keeps the host's state and powers it up again.
  ASSERT_EQ (NvmDimmVendorEntryPoint (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (Host->BootCount, 2u);
}

TEST_F (VendorStart, CorruptHostModel_NothingPublished)
{
  auto                        Host = std::make_unique<NVM_MODEL> ();
  NVM_DIMM_PLATFORM_PROTOCOL  Hand = { NVM_DIMM_PLATFORM_REVISION, 0, Host.get (), nullptr };

  ASSERT_EQ (NvmModelInitialize (Host.get (), NvmModelDefaultPlatform ()), EFI_SUCCESS);
  Host->Regions[0].DimmIds[0] = 77;
  Platform.Publish (gNvmDimmPlatformProtocolGuid, &Hand);
  EXPECT_EQ (NvmDimmVendorEntryPoint (nullptr, nullptr), EFI_VOLUME_CORRUPTED);
  EXPECT_TRUE (Platform.Installs.empty ());
}

}  // namespace
