// The board's platform data as the driver's library reads it from the
// board configuration database: published values, the network flag, the
// controller's LAN-setting update, and the DIMM map lookup.
#include <gtest/gtest.h>

#include <cstring>

#include "../FakePlatform.h"
#include <Board/BoardModel.h>
#include <Library/UbaPlatformDataLib/UbaPlatformDataLib.h>

namespace {

// A board configuration database over a model the test changes.
struct Board {
  explicit Board (FakePlatform &Fake)
  {
    BoardModelDefault (&Model);
    BoardDeviceBind (&Model);
    Fake.ExtraProtocols.push_back ({ gUbaConfigDatabaseProtocolGuid, BoardDeviceDatabaseProtocol () });
  }

  ~Board () { BoardDeviceBind (nullptr); }

  void Slots (std::initializer_list<std::pair<UINT8, UINT8>> LabelsAndCpus)
  {
    BoardModelInitialize (&Model);
    for (auto [Label, Cpu] : LabelsAndCpus) {
      DIMM_MAP_ENTRY  Entry{};
      Entry.CpuIndex        = Cpu;
      Entry.SilkScreenLabel = Label;
      BoardModelAddSlot (&Model, &Entry);
    }
  }

  BOARD_MODEL  Model;
};

DIMM_SLOT_LOCATION Lookup (UINT8 Label, EFI_STATUS *Status)
{
  DIMM_SLOT_LOCATION  Location;
  std::memset (&Location, 0xAA, sizeof (Location));
  Location.Found   = 0;
  Location.DimmNum = Label;
  *Status          = MapSilkScreenLabelToChipsetDimmAddress (&Location);
  return Location;
}

TEST (UbaPlatformDataLib, EmbeddedBoard_ValuesFlagAndLocation)
{
  FakePlatform  Fake;
  Board         B (Fake);
  EXPECT_EQ (UbaPlatformDataLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (MaxSocketPerSystem, 2u);
  EXPECT_EQ (MaxDimmPerSocket, 6u);
  EXPECT_EQ (MaxDimmPerCpuNode, 12u);
  EXPECT_TRUE (gPlatformLomAndPhySupported);
  EXPECT_TRUE (Fake.Logged (DEBUG_INFO, "UbaPlatformDataDxeLib - UbaPlatformDataLibConstructor\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_INFO, "GetUbaPlatformData:Dxe DimmMap TableLength = 13\n"));
  ASSERT_EQ (Fake.LanTablesGiven.size (), 1u);
  EXPECT_EQ (Fake.LanTablesGiven[0].size (), 2u);

}

TEST (UbaPlatformDataLib, MapLookup_FilledBytesAndUntouchedBytes)
{
  FakePlatform  Fake;
  Board         B (Fake);
  B.Model.DimmMap[7].SlotData[0] = 0x31;
  B.Model.DimmMap[7].SlotData[2] = 0x33;
  B.Model.DimmMap[7].Unused      = 0x44;
  ASSERT_EQ (GetUbaPlatformData (), EFI_SUCCESS);
  // Label 8: processor 1, controller 0, channel 1. The board changing its
  // table later does not reach the kept copy.
  B.Model.DimmMap[7].ImcNum = 9;

  EFI_STATUS                Status;
  const DIMM_SLOT_LOCATION  Location = Lookup (8, &Status);
  ASSERT_EQ (Status, EFI_SUCCESS);
  const UINT8  *Bytes = reinterpret_cast<const UINT8 *> (&Location);
  const UINT8  Expected[14] = {
    1,       // found
    0,       // DIMM number
    8,       // label
    0x31, 0, 0x33,
    0xAA,    // left as it was
    1,       // channel byte
    1,       // channel number
    0xAA, 0xAA, 0xAA,
    0,       // memory controller
    1        // processor
  };
  EXPECT_EQ (std::memcmp (Bytes, Expected, sizeof (Expected)), 0);

  // A label the map lacks leaves the record as it was.
  const DIMM_SLOT_LOCATION  Missing = Lookup (13, &Status);
  EXPECT_EQ (Status, EFI_NOT_FOUND);
  EXPECT_EQ (Missing.Found, 0);
  EXPECT_EQ (Missing.CpuIndex, 0xAA);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "MapSilkScreenLabelToChipsetDimmAddress: Not Found for Planar DIMM 13\n"));
}

TEST (UbaPlatformDataLib, MapShapes_TerminatorDuplicatesAndLength)
{
  FakePlatform  Fake;
  Board         B (Fake);
  struct Case {
    const char  *Name;
    void        (*Shape)(BOARD_MODEL &);
    UINT8       Label;
    EFI_STATUS  Status;
    UINT8       Cpu;
  } Cases[] = {
    { "empty map", [] (BOARD_MODEL &M) { BoardModelInitialize (&M); }, 1, EFI_NOT_FOUND, 0 },
    { "first of two entries with one label wins", [] (BOARD_MODEL &M) {
        BoardModelInitialize (&M);
        DIMM_MAP_ENTRY  E{};
        E.SilkScreenLabel = 5;
        E.CpuIndex        = 3;
        BoardModelAddSlot (&M, &E);
        E.CpuIndex = 4;
        BoardModelAddSlot (&M, &E);
      }, 5, EFI_SUCCESS, 3 },
    { "entries after the terminator are not read", [] (BOARD_MODEL &M) {
        BoardModelDefault (&M);
        M.DimmMap[2].CpuIndex = DIMM_MAP_TERMINATOR;
      }, 4, EFI_NOT_FOUND, 0 },
    // 300 entries and no terminator: the walk stops after 255.
    { "255th entry of a map without terminator", [] (BOARD_MODEL &M) {
        BoardModelInitialize (&M);
        for (UINTN Index = 0; Index < BOARD_MAX_MAP_ENTRIES; Index++) {
          M.DimmMap[Index]                 = DIMM_MAP_ENTRY{};
          M.DimmMap[Index].CpuIndex        = 2;
          M.DimmMap[Index].SilkScreenLabel = static_cast<UINT8> (Index < 254 ? 1 : Index < 255 ? 254 : 255);
        }
        M.DimmMapCount = BOARD_MAX_MAP_ENTRIES;
      }, 254, EFI_SUCCESS, 2 },
    { "entry beyond 255 of a map without terminator", [] (BOARD_MODEL &M) {
        BoardModelInitialize (&M);
        for (UINTN Index = 0; Index < BOARD_MAX_MAP_ENTRIES; Index++) {
          M.DimmMap[Index]                 = DIMM_MAP_ENTRY{};
          M.DimmMap[Index].CpuIndex        = 2;
          M.DimmMap[Index].SilkScreenLabel = static_cast<UINT8> (Index < 255 ? 1 : 77);
        }
        M.DimmMapCount = BOARD_MAX_MAP_ENTRIES;
      }, 77, EFI_NOT_FOUND, 0 },
    { "a count that ends before the terminator", [] (BOARD_MODEL &M) {
        BoardModelDefault (&M);
        M.DimmMapCount = 3;
      }, 4, EFI_NOT_FOUND, 0 },
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Name);
    C.Shape (B.Model);
    // Each fetch replaces the kept copy.
    ASSERT_EQ (GetUbaPlatformData (), EFI_SUCCESS);
    EFI_STATUS                Status;
    const DIMM_SLOT_LOCATION  Location = Lookup (C.Label, &Status);
    EXPECT_EQ (Status, C.Status);
    if (C.Status == EFI_SUCCESS) {
      EXPECT_EQ (Location.CpuIndex, C.Cpu);
    }
  }
}

TEST (UbaPlatformDataLib, NetworkTable_FlagAndControllerReplacement)
{
  FakePlatform  Fake;
  Board         B (Fake);
  struct Case {
    std::vector<std::pair<UINT32, UINT8>>  Entries;  // kind, present
    bool                                   Flag;
  } Cases[] = {
    { { { 2, 1 }, { 4, 1 } }, true },
    { { { 4, 1 }, { 7, 0 }, { 2, 1 } }, true },
    { { { 2, 1 }, { 4, 0 } }, false },
    { { { 2, 1 } }, false },
    { { { 4, 1 } }, false },
    { {}, false },
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE (std::to_string (C.Entries.size ()) + " entries");
    B.Model.NetworkCount = static_cast<UINT32> (C.Entries.size ());
    for (size_t Index = 0; Index < C.Entries.size (); Index++) {
      B.Model.Network[Index]         = NETWORK_SETTING_ENTRY{};
      B.Model.Network[Index].Kind    = C.Entries[Index].first;
      B.Model.Network[Index].Present = C.Entries[Index].second;
    }
    ASSERT_EQ (GetUbaPlatformData (), EFI_SUCCESS);
    EXPECT_EQ (gPlatformLomAndPhySupported != FALSE, C.Flag);
  }

  // The controller answers with a table of its own: the flag follows it.
  NETWORK_SETTING_ENTRY  Lom{}, Phy{};
  Lom.Kind    = 2;
  Lom.Present = 1;
  Phy.Kind    = 4;
  Phy.Present = 1;
  UINT64  Replacement[2];
  std::memcpy (&Replacement[0], &Lom, 8);
  std::memcpy (&Replacement[1], &Phy, 8);
  Fake.LanReplacement.assign (Replacement, Replacement + 2);
  B.Model.NetworkCount = 0;
  ASSERT_EQ (GetUbaPlatformData (), EFI_SUCCESS);
  EXPECT_TRUE (gPlatformLomAndPhySupported);
  EXPECT_TRUE (Fake.Logged (DEBUG_INFO, "GetUbaPlatformData:Dxe NetworkSetting TableLength = 2\n"));

  // Without the controller the board's table is used as it is.
  Fake.PublishVeskCommands = false;
  ASSERT_EQ (GetUbaPlatformData (), EFI_SUCCESS);
  EXPECT_FALSE (gPlatformLomAndPhySupported);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "TavrilUpdateLanSettingTable: Could not locate VESK commands protocol.  Not Found\n"));
}

TEST (UbaPlatformDataLib, MissingOrFailingDatabase_ConstructorSucceedsLookupFails)
{
  FakePlatform        Fake;
  EFI_STATUS          Status;
  DIMM_SLOT_LOCATION  Location;

  // No database at all.
  EXPECT_EQ (UbaPlatformDataLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetUbaPlatformData:Dxe Locate gUbaConfigDatabaseProtocolGuid failed\n"));
  Location = Lookup (1, &Status);
  EXPECT_EQ (Status, EFI_NOT_FOUND);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "DimmMap Table Not Found!\n"));

  // The database refuses the record, then the map.
  Board  B (Fake);
  B.Model.GetDataStatus = EFI_DEVICE_ERROR;
  Location              = Lookup (1, &Status);
  EXPECT_EQ (Status, EFI_DEVICE_ERROR);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetUbaPlatformData:Dxe Get gPlatformDataDxeGuid failed\n"));
  B.Model.GetDataStatus = EFI_SUCCESS;
  B.Model.DimmMapStatus = EFI_NOT_READY;
  Location              = Lookup (1, &Status);
  EXPECT_EQ (Status, EFI_NOT_FOUND) << "a fetch without a map gives nothing to walk";
  EXPECT_EQ (Location.Found, 0);

  // The lookup fetches again once the map can be read.
  B.Model.DimmMapStatus = EFI_SUCCESS;
  Location              = Lookup (12, &Status);
  EXPECT_EQ (Status, EFI_SUCCESS);
  EXPECT_EQ (Location.CpuIndex, 1);
  EXPECT_EQ (B.Model.CallCount[BOARD_CALL_GET_DATA], 3u);
}

TEST (UbaPlatformDataLib, ForeignSignatureOrVersion_AssertedButUsed)
{
  FakePlatform  Fake;
  Board         B (Fake);
  B.Model.RecordSignature = SIGNATURE_32 ('X', 'D', 'A', 'T');
  B.Model.RecordVersion   = 2;
  ASSERT_EQ (GetUbaPlatformData (), EFI_SUCCESS);
  EXPECT_EQ (MaxDimmPerCpuNode, 12u);
  EFI_STATUS  Status;
  Lookup (3, &Status);
  EXPECT_EQ (Status, EFI_SUCCESS);
#ifdef CARVEX_ASSERTS_ENABLED
  size_t  Asserts = 0;
  for (const LoggedLine &Line : Fake.Log) {
    Asserts += Line.Text.rfind ("ASSERT ", 0) == 0 &&
               (Line.Text.find (": TavrilPlatformData.Signature == ((('P') | ('D' << 8)) | ((('A') | ('T' << 8)) << 16))") != std::string::npos ||
                Line.Text.find (": TavrilPlatformData.Version == 01") != std::string::npos);
  }
  EXPECT_EQ (Asserts, 2u);
#endif
}

}  // namespace
