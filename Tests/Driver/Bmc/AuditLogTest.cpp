// Known audit events reach the controller; others are dropped.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <Bmc/AuditLog.h>

namespace {

TEST (AuditLog, KnownAndUnknownEvents_SentOrDropped)
{
  FakePlatform Fake;
  EXPECT_EQ (AuditLog (0xFB00, 0x05), EFI_SUCCESS);
  EXPECT_EQ (AuditLog (0xFB01, 0x03), EFI_SUCCESS);
  EXPECT_TRUE (Fake.AuditEvents.empty ());

  EXPECT_EQ (AuditLog (0xFB00, 0x03), EFI_SUCCESS);
  EXPECT_EQ (AuditLog (0xFB00, 0x04), EFI_SUCCESS);
  ASSERT_EQ (Fake.AuditEvents.size (), 2u);
  EXPECT_EQ (Fake.AuditEvents[0].EventCode, 0xFB03);
  EXPECT_EQ (Fake.AuditEvents[0].MessageId, "WJHSFMA0038K");
  EXPECT_EQ (Fake.AuditEvents[0].MessageText, "All Intel Optane DCPMM could not be auto unlocked because of no passphrase.");
  EXPECT_EQ (Fake.AuditEvents[1].EventCode, 0xFB04);
  EXPECT_EQ (Fake.AuditEvents[1].MessageId, "WJHSFMA0039K");
  EXPECT_EQ (Fake.AuditEvents[1].MessageText, "One or more Intel Optane DCPMMs could not be auto unlocked because of invalid passphrase.");
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "AuditLog:LogType 0xFB00, LogId 0x04\n"));
}

TEST (AuditLog, ControllerAbsentOrFailing_StatusReturned)
{
  FakePlatform Fake;
  Fake.AuditStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ (AuditLog (0xFB00, 0x03), EFI_DEVICE_ERROR);
  Fake.PublishVeskCommands = false;
  EXPECT_EQ (AuditLog (0xFB00, 0x04), EFI_NOT_FOUND);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "AuditLog:Not Found:Fail to locate gTavrilVeskCommandsProtocolGuid\n"));
  EXPECT_EQ (Fake.AuditEvents.size (), 1u);
}

}  // namespace
