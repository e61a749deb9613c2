// DebugPrint through a recording sink: level mask asked once, text and image
// handle passed on, disabled levels and a missing sink stay silent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <Library/DebugLib.h>
#include <Protocol/DebugSink.h>

#include "../FakeBootServices.h"

namespace {

struct SinkLine {
  EFI_HANDLE   Image;
  UINTN        Level;
  std::string  Text;
};

struct RecordingSink;

// The protocol first, so that This leads back to its recorder.
struct SinkInterface {
  CARVEX_DEBUG_SINK_PROTOCOL  Protocol;
  RecordingSink               *Recorder;
};

struct RecordingSink {
  SinkInterface               Interface;
  UINT32                      Mask = 0;
  UINTN                       MaskQueries = 0;
  EFI_HANDLE                  AskedFor = nullptr;
  std::vector<SinkLine>       Lines;
  std::vector<std::string>    Asserts;
};

RecordingSink *
Owner (CARVEX_DEBUG_SINK_PROTOCOL *This)
{
  return reinterpret_cast<SinkInterface *> (This)->Recorder;
}

UINT32 EFIAPI
SinkGetLevelMask (CARVEX_DEBUG_SINK_PROTOCOL *This, EFI_HANDLE ImageHandle)
{
  Owner (This)->MaskQueries++;
  Owner (This)->AskedFor = ImageHandle;
  return Owner (This)->Mask;
}

VOID EFIAPI
SinkWrite (CARVEX_DEBUG_SINK_PROTOCOL *This, EFI_HANDLE ImageHandle, UINTN ErrorLevel, const CHAR8 *Text)
{
  Owner (This)->Lines.push_back ({ ImageHandle, ErrorLevel, Text });
}

VOID EFIAPI
SinkAssert (CARVEX_DEBUG_SINK_PROTOCOL *This, EFI_HANDLE ImageHandle, const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  (void)ImageHandle;
  Owner (This)->Asserts.push_back (std::string (FileName) + ":" + std::to_string (LineNumber) + ":" + Description);
}

class DebugPrintTest : public ::testing::Test {
protected:
  void
  SetUp () override
  {
    Sink.Interface = { { 1, SinkGetLevelMask, SinkWrite, SinkAssert }, &Sink };
    Sink.Mask      = DEBUG_ERROR | DEBUG_INFO;
    Fake.AddProtocol (gCarvexDebugSinkProtocolGuid, &Sink.Interface);
    Fake.RunConstructors (Image);
  }

  FakeBootServices  Fake;
  RecordingSink     Sink;
  EFI_HANDLE        Image = reinterpret_cast<EFI_HANDLE> (0xD00D);
};

TEST_F (DebugPrintTest, EnabledLevels_ReachSinkFormatted)
{
  DEBUG ((DEBUG_INFO, "%a has %d modules: %r\n", "socket", (INT32)6, (EFI_STATUS)EFI_NOT_READY));
  DEBUG ((DEBUG_VERBOSE, "not wanted\n"));
  DEBUG ((DEBUG_WARN, "not wanted either\n"));
  DEBUG ((DEBUG_ERROR, "failed\n"));

  ASSERT_EQ (Sink.Lines.size (), 2u);
  EXPECT_EQ (Sink.Lines[0].Text, "socket has 6 modules: Not Ready\n");
  EXPECT_EQ (Sink.Lines[0].Level, (UINTN)DEBUG_INFO);
  EXPECT_EQ (Sink.Lines[0].Image, Image);
  EXPECT_EQ (Sink.Lines[1].Level, (UINTN)DEBUG_ERROR);
  EXPECT_EQ (Sink.MaskQueries, 1u);
  EXPECT_EQ (Sink.AskedFor, Image);
}

TEST_F (DebugPrintTest, LevelEnabled_FollowsTheSinksMask)
{
  EXPECT_TRUE (DebugPrintLevelEnabled (DEBUG_ERROR));
  EXPECT_TRUE (DebugPrintLevelEnabled (DEBUG_INFO));
  EXPECT_FALSE (DebugPrintLevelEnabled (DEBUG_WARN));
  EXPECT_FALSE (DebugPrintLevelEnabled (DEBUG_VERBOSE));
}

TEST_F (DebugPrintTest, LongLine_TruncatedToTheBuffer)
{
  std::string  Long (3000, 'x');
  DebugPrint (DEBUG_ERROR, "%a", Long.c_str ());
  ASSERT_EQ (Sink.Lines.size (), 1u);
  EXPECT_EQ (Sink.Lines[0].Text, std::string (1023, 'x'));
}

TEST_F (DebugPrintTest, Assert_GoesToTheSink)
{
  DebugAssert ("Driver.cpp", 42, "Count > 0");
  ASSERT_EQ (Sink.Asserts.size (), 1u);
  EXPECT_EQ (Sink.Asserts[0], "Driver.cpp:42:Count > 0");
}

TEST (DebugPrintWithoutSinkTest, NoSink_SilentAndDisabled)
{
  FakeBootServices  Fake;
  DEBUG ((DEBUG_ERROR, "dropped %d\n", (INT32)1));
  DebugAssert ("File.cpp", 1, "dropped");
  EXPECT_FALSE (DebugPrintLevelEnabled (DEBUG_ERROR));
}

// A new boot runs the constructor again: the sink of the last boot must not
// linger.
TEST (DebugPrintWithoutSinkTest, ConstructorRerun_ForgetsOldSink)
{
  FakeBootServices  Fake;
  RecordingSink     Sink;
  Sink.Interface = { { 1, SinkGetLevelMask, SinkWrite, SinkAssert }, &Sink };
  Sink.Mask      = DEBUG_ERROR;
  Fake.AddProtocol (gCarvexDebugSinkProtocolGuid, &Sink.Interface);
  Fake.RunConstructors ();

  FakeBootServices  NextBoot;
  DEBUG ((DEBUG_ERROR, "after reboot\n"));
  EXPECT_TRUE (Sink.Lines.empty ());
}

}  // namespace
