// Module details from the protocol's raw records, the module count and the
// sockets.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/DimmInventory.h>
#include <NvmDimmConfig/Security.h>
#include <Library/MemoryAllocationLib.h>

namespace {

FakeDimm
FullyDescribedDimm ()
{
  FakeDimm Dimm = MakeDimm (0x21, 1, u"CPU1_DIMM_B1", DIMM_SECURITY_STATE_FROZEN);
  Dimm.Handle          = 0x00012345;
  Dimm.Uid             = u"8089-A2-1234-00000001";
  Dimm.Fw[0]           = 1;
  Dimm.Fw[1]           = 2;
  Dimm.Fw[2]           = 0;
  Dimm.FwBuild         = 5355;
  Dimm.Raw             = 0x1111111111;
  Dimm.Volatile        = 0x2222222222;
  Dimm.AppDirect       = 0x3333333333;
  Dimm.Unconfigured    = 0x4444444444;
  Dimm.Reserved        = 0x5555555555;
  Dimm.Inaccessible    = 0x6666666666;
  Dimm.Vendor          = 0x8089;
  Dimm.Device          = 0x097A;
  Dimm.SubsystemVendor = 0x8086;
  Dimm.SubsystemDevice = 0x097B;
  Dimm.Configured      = 1;
  Dimm.PercentageRemaining = 87;
  return Dimm;
}

TEST (GetDimmDetails, RawRecord_EveryFieldFromItsOwnPlace)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (0x01, 0, u"CPU0_DIMM_A1"), FullyDescribedDimm () };

  DIMM_DETAILS *Dimms = nullptr;
  UINT32 Count = 0;
  ASSERT_EQ (GetDimmDetails (&Dimms, &Count), EFI_SUCCESS);
  ASSERT_EQ (Count, 2u);

  EXPECT_EQ (Utf8 (Dimms[0].FwVer), "N/A");
  const DIMM_DETAILS &D = Dimms[1];
  EXPECT_EQ (Utf8 (D.DeviceLocator), "CPU1_DIMM_B1");
  EXPECT_EQ (Utf8 (D.FwVer), "01.02.00.5355");
  EXPECT_EQ (Utf8 (D.DimmUid), "8089-A2-1234-00000001");
  EXPECT_EQ (D.VendorId, 0x8089);
  EXPECT_EQ (D.DeviceId, 0x097A);
  EXPECT_EQ (D.SubsystemVendorId, 0x8086);
  EXPECT_EQ (D.SubsystemDeviceId, 0x097B);
  EXPECT_EQ (D.SocketId, 1);
  EXPECT_EQ (D.Capacity, 0x1111111111u);
  EXPECT_EQ (D.VolatileCapacity, 0x2222222222u);
  EXPECT_EQ (D.AppDirectCapacity, 0x3333333333u);
  EXPECT_EQ (D.UnconfiguredCapacity, 0x4444444444u);
  EXPECT_EQ (D.ReservedCapacity, 0x5555555555u);
  EXPECT_EQ (D.InaccessibleCapacity, 0x6666666666u);
  EXPECT_EQ (D.Configured, 1);
  EXPECT_EQ (D.DimmID, 0x21);
  EXPECT_EQ (D.DimmHandle, 0x2345);  // the handle's low 16 bits
  EXPECT_EQ (D.PercentageRemaining, 87);
  EXPECT_EQ (D.SecurityState, DIMM_SECURITY_STATE_FROZEN);
  // Before any automatic unlock has run.
  EXPECT_EQ (D.AutoUnlockState, AUTO_UNLOCK_STATE_NOT_APPLICABLE);
  EXPECT_EQ (Dimms[0].AutoUnlockState, AUTO_UNLOCK_STATE_NOT_APPLICABLE);

  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "GetDimmDetails:DimmHandle:0x2345:0x12345\n"));
  FreePool (Dimms);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (GetDimmDetails, NoModules_SuccessWithOutputsUntouched)
{
  FakePlatform Fake;
  DIMM_DETAILS *Dimms = nullptr;
  UINT32 Count = 0;
  EXPECT_EQ (GetDimmDetails (&Dimms, &Count), EFI_SUCCESS);
  EXPECT_EQ (Dimms, nullptr);
  EXPECT_EQ (Count, 0u);
  EXPECT_EQ (GetDimmCount (), 0u);
  EXPECT_EQ (Fake.Calls["GetDimms"], 0u);
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "GetDimmDetails:There is no Intel Optane DCPMM\n"));
}

TEST (GetDimmDetails, HealthQueryFails_ArrayHandedOverAndStatusReturned)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1"), MakeDimm (2, 0, u"A2"), MakeDimm (3, 0, u"A3") };
  Fake.Dimms[1].SmartFails = true;
  Fake.Dimms[1].PercentageRemaining = 50;

  DIMM_DETAILS *Dimms = nullptr;
  UINT32 Count = 0;
  EXPECT_EQ (GetDimmDetails (&Dimms, &Count), EFI_DEVICE_ERROR);
  ASSERT_NE (Dimms, nullptr);
  ASSERT_EQ (Count, 3u);
  EXPECT_EQ (Dimms[0].PercentageRemaining, 100);
  EXPECT_EQ (Dimms[0].AutoUnlockState, AUTO_UNLOCK_STATE_NOT_APPLICABLE);
  // The failing module has its record fields but no health or unlock state.
  EXPECT_EQ (Dimms[1].DimmID, 2);
  EXPECT_EQ (Dimms[1].PercentageRemaining, 0);
  EXPECT_EQ (Dimms[1].AutoUnlockState, 0);
  // Later modules stay zero.
  EXPECT_EQ (Dimms[2].DimmID, 0);
  EXPECT_EQ (Fake.Calls["GetSmartAndHealth"], 2u);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetDimmDetails:GetSmartAndHealth failure:Device Error\n"));
  FreePool (Dimms);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (GetDimmCount, CountCachedForDetails_GetDimmsAlwaysAsks)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1"), MakeDimm (2, 0, u"A2") };
  EXPECT_EQ (GetDimmCount (), 2u);
  Fake.Dimms.push_back (MakeDimm (3, 1, u"B1"));

  // The details keep the count of the first query for the boot.
  DIMM_DETAILS *Details = nullptr;
  UINT32 Count = 0;
  EXPECT_EQ (GetDimmDetails (&Details, &Count), EFI_SUCCESS);
  EXPECT_EQ (Count, 2u);
  EXPECT_EQ (Fake.Calls["GetDimmCount"], 1u);
  FreePool (Details);

  DIMM_RECORD *Records = nullptr;
  EXPECT_EQ (GetDimms (&Records, &Count), EFI_SUCCESS);
  EXPECT_EQ (Count, 3u);
  EXPECT_EQ (Fake.Calls["GetDimmCount"], 2u);
  FreePool (Records);

  Fake.DimmCountStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ (GetDimmCount (), 0u);
  EXPECT_EQ (GetDimms (&Records, &Count), EFI_DEVICE_ERROR);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (GetDimms, ProtocolAbsent_LocateStatusAndRetriedNextTime)
{
  FakePlatform Fake;
  Fake.PublishNvmDimmConfig = false;
  DIMM_RECORD *Records = nullptr;
  UINT32 Count = 0;
  EXPECT_EQ (GetDimms (&Records, &Count), EFI_NOT_FOUND);
  EXPECT_EQ (GetDimmCount (), 0u);
  EXPECT_EQ (Fake.CountLogged ("LocateCarvexConfigProtocol:Fail to locate the NVM DIMM config protocol:Not Found\n"), 2u);

  Fake.PublishNvmDimmConfig = true;
  Fake.Dimms = { MakeDimm (1, 0, u"A1") };
  EXPECT_EQ (GetDimmCount (), 1u);
}

TEST (GetSockets, RoomForAllOrTooLittle_IdsOrBufferTooSmall)
{
  FakePlatform Fake;
  Fake.Sockets = { 0, 1 };

  UINT16 Ids[MAX_SOCKETS] = { 0xEEEE, 0xEEEE, 0xEEEE };
  UINT32 Count = MAX_SOCKETS;
  EXPECT_EQ (GetSockets (Ids, &Count), EFI_SUCCESS);
  EXPECT_EQ (Count, 2u);
  EXPECT_EQ (Ids[0], 0);
  EXPECT_EQ (Ids[1], 1);
  EXPECT_EQ (Ids[2], 0xEEEE);

  UINT16 One[1] = { 0xEEEE };
  Count = 1;
  EXPECT_EQ (GetSockets (One, &Count), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ (Count, 1u);
  EXPECT_EQ (One[0], 0xEEEE);
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "GetSockets:SocketCount:1, 2\n"));

  // A failing protocol's array is freed as well.
  Fake.SocketsStatus = EFI_DEVICE_ERROR;
  Count = MAX_SOCKETS;
  EXPECT_EQ (GetSockets (Ids, &Count), EFI_DEVICE_ERROR);
  EXPECT_EQ (Count, static_cast<UINT32> (MAX_SOCKETS));
  EXPECT_TRUE (Fake.Live.empty ());
}

}  // namespace
