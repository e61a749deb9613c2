// The embedded board as the driver reads it, and the per-module thresholds.
#include "NvmDimmBench.h"

#include <set>
#include <string>

#include <Library/MemoryAllocationLib.h>

namespace {

std::u16string Text (const CHAR16 *Characters, size_t Max)
{
  std::u16string  Result;
  for (size_t Index = 0; Index < Max && Characters[Index] != 0; Index++) {
    Result.push_back (Characters[Index]);
  }
  return Result;
}

std::u16string Wide (const std::string &Narrow)
{
  return std::u16string (Narrow.begin (), Narrow.end ());
}

using InventoryTest = NvmDimmBench;

TEST_F (InventoryTest, DefaultBoard_TwelveConfiguredAppDirectModules)
{
  auto                   Records = Dimms ();
  std::set<UINT16>       Ids;
  std::set<UINT32>       Handles;
  std::set<std::u16string>  Uids;

  ASSERT_EQ (Records.size (), 12u);
  for (size_t Index = 0; Index < Records.size (); Index++) {
    const DIMM_RECORD  &Record = Records[Index];
    SCOPED_TRACE (Index);
    EXPECT_EQ (Record.SocketId, Index / 6);
    EXPECT_EQ (Text (Record.DeviceLocator, DIMM_DEVICE_LOCATOR_LENGTH), Wide ("DIMM " + std::to_string (Index + 1)));
    EXPECT_EQ (Record.RawCapacity, 128 * GiB);
    EXPECT_EQ (Record.AppDirectCapacity, 128 * GiB);
    EXPECT_EQ (Record.VolatileCapacity + Record.UnconfiguredCapacity + Record.ReservedCapacity + Record.InaccessibleCapacity, 0u);
    EXPECT_EQ (Record.Configured, 1);
    EXPECT_EQ (Record.SecurityState, DIMM_SECURITY_STATE_DISABLED);
    EXPECT_LE (Record.DimmHandle, 0xFFFFu);
    EXPECT_EQ (Text (Record.DimmUid, DIMM_UID_LENGTH).size (), 21u);
    EXPECT_NE (Record.FwVersionMajor | Record.FwVersionMinor | Record.FwVersionBuild, 0);
    Ids.insert (Record.DimmId);
    Handles.insert (Record.DimmHandle);
    Uids.insert (Text (Record.DimmUid, DIMM_UID_LENGTH));
  }
  EXPECT_EQ (Ids.size (), 12u);
  EXPECT_EQ (Handles.size (), 12u);
  EXPECT_EQ (Uids.size (), 12u);
  // A driver that confused the two identifiers would address the wrong module.
  EXPECT_EQ (Ids.count (static_cast<UINT16> (Records[1].DimmHandle)), 0u);
}

TEST_F (InventoryTest, DefaultBoard_OneInterleavedRegionPerSocket)
{
  auto  All = Regions ();

  ASSERT_EQ (All.size (), 2u);
  for (UINT16 Socket = 0; Socket < 2; Socket++) {
    const REGION_RECORD  *Region = RegionOnSocket (All, Socket);
    ASSERT_NE (Region, nullptr);
    EXPECT_EQ (Region->RegionType, REGION_TYPE_APP_DIRECT);
    EXPECT_EQ (Region->Capacity, 6 * 128 * GiB);
    EXPECT_EQ (Region->FreeCapacity, 6 * 128 * GiB);
    EXPECT_EQ (Region->AppDirNamespaceMinSize, 6 * GiB);
    EXPECT_EQ (Region->DimmCount, 6);
  }
}

TEST_F (InventoryTest, Totals_AddUpModules)
{
  MEMORY_RESOURCES_RECORD  Totals;

  ASSERT_EQ (CreateGoal ({ 1 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 50).Status, EFI_SUCCESS);
  Reboot ();
  ASSERT_EQ (Config->GetMemoryResourcesInfo (Config, &Totals), EFI_SUCCESS);
  EXPECT_EQ (Totals.RawCapacity, 12 * 128 * GiB);
  EXPECT_EQ (Totals.VolatileCapacity, 64 * GiB);
  EXPECT_EQ (Totals.AppDirectCapacity, 11 * 128 * GiB + 64 * GiB);
}

TEST_F (InventoryTest, Sockets_PoolArrayThatCallerFrees)
{
  UINT32         Count   = 0;
  SOCKET_RECORD  *Array  = nullptr;

  ASSERT_EQ (Config->GetSockets (Config, &Count, &Array), EFI_SUCCESS);
  ASSERT_EQ (Count, 2u);
  EXPECT_EQ (Array[0].SocketId, 0);
  EXPECT_EQ (Array[1].SocketId, 1);
  EXPECT_TRUE (Platform.Live.count (Array));
  FreePool (Array);
}

TEST_F (InventoryTest, SocketsWithoutPool_OutOfResources)
{
  UINT32         Count  = 7;
  SOCKET_RECORD  *Array = nullptr;

  Platform.FailAllocation = 1;
  EXPECT_EQ (Config->GetSockets (Config, &Count, &Array), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (Array, nullptr);
}

TEST_F (InventoryTest, HandleVariant_UpperBitsReachRecordsAndMailbox)
{
  NVM_PLATFORM_DESCRIPTION  Board = DefaultBoard ();
  Board.HandleUpperBits           = 0x00010000;
  Boot (Board);

  auto  Records = Dimms ();
  EXPECT_EQ (Records[0].DimmHandle & 0xFFFF0000u, 0x00010000u);

  NVM_PASS_THRU_INPUT   Input{};
  NVM_PASS_THRU_OUTPUT  Output{};
  UINT8                 Mailbox = 0xFF;
  Input.Opcode             = PT_OPCODE_GET_FEATURES;
  Input.SubOpcode          = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
  Output.OutputPayloadSize = PT_PAYLOAD_SIZE;
  auto  *PassThru = NvmDimmDevicePassThruProtocol ();
  EXPECT_EQ (PassThru->PassThru (nullptr, Records[0].DimmHandle, &Input, &Output, PT_TIMEOUT_DEFAULT, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (PassThru->PassThru (nullptr, Records[0].DimmHandle & 0xFFFF, &Input, &Output, PT_TIMEOUT_DEFAULT, &Mailbox), EFI_INVALID_PARAMETER);
}

TEST_F (InventoryTest, AlarmThreshold_SetForListedModulesOnly)
{
  UINT16            Ids[] = { 2, 3 };
  UINT16            Threshold;
  UINT8             Enabled;
  CommandStatusBox  Set;

  ASSERT_EQ (Config->SetAlarmThresholds (Config, Ids, 2, SENSOR_PERCENTAGE_REMAINING, 10, 0, &Set), EFI_SUCCESS);
  EXPECT_EQ (Set.Objects ().size (), 2u);
  for (UINT16 DimmId : { 1, 2, 3 }) {
    CommandStatusBox  Get;
    ASSERT_EQ (Config->GetAlarmThresholds (Config, DimmId, SENSOR_PERCENTAGE_REMAINING, &Threshold, &Enabled, &Get), EFI_SUCCESS);
    EXPECT_EQ (Threshold, DimmId == 1 ? 50 : 10) << DimmId;
    EXPECT_EQ (Enabled, DimmId == 1 ? 1 : 0) << DimmId;
  }
}

TEST_F (InventoryTest, AlarmThresholdRefusals_LeaveModulesUnchanged)
{
  struct Case {
    UINT16      DimmId;
    UINT8       Sensor;
    UINT16      Threshold;
    EFI_STATUS  Status;
    UINT16      Nvm;
  } Cases[] = {
    { 99, SENSOR_PERCENTAGE_REMAINING, 10, EFI_INVALID_PARAMETER, NVM_ERR_DIMM_NOT_FOUND },
    { 1, 4, 10, EFI_UNSUPPORTED, NVM_ERR_SENSOR_NOT_SUPPORTED },
    { 1, SENSOR_PERCENTAGE_REMAINING, 101, EFI_INVALID_PARAMETER, NVM_ERR_THRESHOLD_OUT_OF_RANGE },
  };
  for (const auto &Case : Cases) {
    CommandStatusBox  Status;
    UINT16            Id = Case.DimmId;
    EXPECT_EQ (Config->SetAlarmThresholds (Config, &Id, 1, Case.Sensor, Case.Threshold, 1, &Status), Case.Status);
    EXPECT_EQ (Status.General (), Case.Nvm);
  }
  EXPECT_EQ (Model->Dimms[0].AlarmThreshold, 50);
}

TEST_F (InventoryTest, SmartRecord_CarriesPercentageRemaining)
{
  SMART_RECORD  Smart;

  Model->Dimms[4].PercentageRemaining = 7;
  ASSERT_EQ (Config->GetSmartAndHealth (Config, 5, &Smart, nullptr, nullptr, nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (reinterpret_cast<const UINT8 *> (&Smart)[10], 7);
  EXPECT_EQ (Config->GetSmartAndHealth (Config, 77, &Smart, nullptr, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

}  // namespace
