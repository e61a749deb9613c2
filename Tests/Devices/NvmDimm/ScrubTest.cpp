// Address range scrub through the mailbox: a stop keeps the address reached
// and a start from it resumes there.
#include "NvmDimmBench.h"

#include <cstdlib>
#include <cstring>

namespace {

// The packed payload copied field by field into something tests can bind.
struct ScrubSettings {
  UINT8   Enable;
  UINT64  Start;
  UINT64  End;
  UINT64  Current;
};

class ScrubTest : public NvmDimmBench {
protected:
  ScrubTest () : PassThru (NvmDimmDevicePassThruProtocol ()) {}

  // A get request travels as its 16-byte header, exactly as the driver
  // allocates it: reading past it is a fault the sanitizers catch.
  EFI_STATUS Get (UINT32 Handle, ScrubSettings *Settings, UINT8 *Mailbox)
  {
    auto  *Input = static_cast<NVM_PASS_THRU_INPUT *> (std::calloc (1, PT_GET_INPUT_PACKET_SIZE));
    NVM_PASS_THRU_OUTPUT  Output{};
    Input->Opcode            = PT_OPCODE_GET_FEATURES;
    Input->SubOpcode         = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
    Output.OutputPayloadSize = PT_PAYLOAD_SIZE;
    EFI_STATUS  Status = PassThru->PassThru (nullptr, Handle, Input, &Output, PT_TIMEOUT_DEFAULT, Mailbox);
    NVM_ARS_PAYLOAD  Payload;
    std::memcpy (&Payload, Output.OutputPayload, sizeof (Payload));
    *Settings = { Payload.Enable, Payload.DpaStartAddress, Payload.DpaEndAddress, Payload.DpaCurrentAddress };
    std::free (Input);
    return Status;
  }

  EFI_STATUS Set (UINT32 Handle, UINT8 Enable, UINT64 Start, UINT64 End, UINT8 *Mailbox, UINT32 PayloadSize = PT_PAYLOAD_SIZE)
  {
    NVM_PASS_THRU_INPUT  Input{};
    NVM_ARS_PAYLOAD      Payload{};
    Payload.Enable          = Enable;
    Payload.DpaStartAddress = Start;
    Payload.DpaEndAddress   = End;
    Input.Opcode            = PT_OPCODE_SET_FEATURES;
    Input.SubOpcode         = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
    Input.InputPayloadSize  = PayloadSize;
    std::memcpy (Input.InputPayload, &Payload, sizeof (Payload));
    return PassThru->PassThru (nullptr, Handle, &Input, nullptr, PT_TIMEOUT_DEFAULT, Mailbox);
  }

  UINT8 ArsStatus ()
  {
    UINT8  Status = 0xFF;
    EXPECT_EQ (Config->GetARSStatus (Config, &Status), EFI_SUCCESS);
    return Status;
  }

  NVM_DIMM_PASS_THRU_PROTOCOL  *PassThru;
};

TEST_F (ScrubTest, StopThenStart_ResumesAtReachedAddress)
{
  const UINT64  Reached = 0x12345000;
  UINT32        Handle  = Dimms ()[2].DimmHandle;
  UINT8         Mailbox = 0xFF;
  ScrubSettings  Seen{};

  EXPECT_EQ (ArsStatus (), ARS_STATUS_NOT_STARTED);
  ASSERT_EQ (NvmModelStartScrub (Model.get (), 3), EFI_SUCCESS);
  Model->Dimms[2].ArsCurrent = Reached;
  EXPECT_EQ (ArsStatus (), ARS_STATUS_IN_PROGRESS);

  ASSERT_EQ (Get (Handle, &Seen, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (Mailbox, PT_MAILBOX_SUCCESS);
  EXPECT_EQ (Seen.Enable, 1);
  EXPECT_EQ (Seen.Current, Reached);
  EXPECT_EQ (Seen.End, 128 * GiB);

  ASSERT_EQ (Set (Handle, 0, Seen.Current, Seen.End, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (ArsStatus (), ARS_STATUS_ABORTED);
  ASSERT_EQ (Get (Handle, &Seen, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (Seen.Enable, 0);
  EXPECT_EQ (Seen.Current, Reached);

  ASSERT_EQ (Set (Handle, 1, Seen.Current, Seen.End, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (ArsStatus (), ARS_STATUS_IN_PROGRESS);
  ASSERT_EQ (Get (Handle, &Seen, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (Seen.Start, Reached);
  EXPECT_EQ (Seen.Current, Reached);
}

TEST_F (ScrubTest, StartOfEmptyRange_CompletesAtOnce)
{
  UINT8  Mailbox = 0xFF;

  // What a restart sends to a module that never scrubbed.
  ASSERT_EQ (Set (Dimms ()[0].DimmHandle, 1, 0, 0, &Mailbox), EFI_SUCCESS);
  EXPECT_EQ (ArsStatus (), ARS_STATUS_COMPLETED);
  EXPECT_EQ (Security ({ 1 }, SECURITY_OPERATION_SECURE_ERASE, u"").Nvm, NVM_SUCCESS);
}

TEST_F (ScrubTest, BadRequests_MailboxSaysWhy)
{
  UINT32  Handle = Dimms ()[0].DimmHandle;
  struct Case {
    const char  *Name;
    UINT8       Enable;
    UINT64      Start;
    UINT64      End;
    UINT32      PayloadSize;
    EFI_STATUS  Status;
    UINT8       Mailbox;
  } Cases[] = {
    { "start after end", 1, 2 * GiB, GiB, PT_PAYLOAD_SIZE, EFI_DEVICE_ERROR, PT_MAILBOX_INVALID_PARAMETER },
    { "end past the module", 1, 0, 129 * GiB, PT_PAYLOAD_SIZE, EFI_DEVICE_ERROR, PT_MAILBOX_INVALID_PARAMETER },
    { "no payload", 1, 0, GiB, 0, EFI_INVALID_PARAMETER, PT_MAILBOX_INVALID_PARAMETER },
  };
  for (const auto &Case : Cases) {
    UINT8  Mailbox = 0xFF;
    EXPECT_EQ (Set (Handle, Case.Enable, Case.Start, Case.End, &Mailbox, Case.PayloadSize), Case.Status) << Case.Name;
    EXPECT_EQ (Mailbox, Case.Mailbox) << Case.Name;
  }
  EXPECT_EQ (ArsStatus (), ARS_STATUS_NOT_STARTED);

  NVM_PASS_THRU_INPUT  Input{};
  UINT8                Mailbox = 0xFF;
  Input.Opcode    = 0x09;
  Input.SubOpcode = PT_SUBOPCODE_ADDRESS_RANGE_SCRUB;
  EXPECT_EQ (PassThru->PassThru (nullptr, Handle, &Input, nullptr, PT_TIMEOUT_DEFAULT, &Mailbox), EFI_UNSUPPORTED);
  EXPECT_EQ (Mailbox, PT_MAILBOX_UNSUPPORTED);
}

TEST_F (ScrubTest, PowerCycle_EndsScrubAsAborted)
{
  ASSERT_EQ (NvmModelStartScrub (Model.get (), 1), EFI_SUCCESS);
  Reboot ();
  EXPECT_EQ (ArsStatus (), ARS_STATUS_ABORTED);
  EXPECT_EQ (Security ({ 1 }, SECURITY_OPERATION_SECURE_ERASE, u"").Nvm, NVM_SUCCESS);
}

}  // namespace
