#include <algorithm>
#include <string>
#include <vector>

#include <Guid/EventGroup.h>
#include <Library/DebugLib.h>
#include <Protocol/DebugSink.h>
#include <Protocol/Pcd.h>
#include <Protocol/PlatformEvent.h>
#include <Protocol/SetupEnter.h>

#include "SimTestSupport.hpp"

namespace carvex::sim::test {
namespace {

// A stand-in driver in host code: publishes the platform event protocol
// and records the order of the platform's calls.
struct FakeDriver {
  std::vector<std::string> calls;
  EFI_RUNTIME_SERVICES* rt = nullptr;
  bool requestPostReset = false;
  bool resetInSlot0 = false;
  EFI_RESET_TYPE resetType = EfiResetCold;
  EFI_STATUS slotStatus[PLATFORM_EVENT_SLOT_COUNT] = {};
};

FakeDriver* gDriver = nullptr;
CHAR16 gPostResetReq[] = u"PostResetReq";

EFI_STATUS Slot(unsigned slot) {
  gDriver->calls.push_back("slot" + std::to_string(slot));
  if (slot == 0 && gDriver->resetInSlot0) {
    gDriver->rt->ResetSystem(gDriver->resetType, EFI_SUCCESS, 0, nullptr);
  }
  if (slot == 2 && gDriver->requestPostReset) {
    UINT8 one = 1;
    gDriver->rt->SetVariable(gPostResetReq, &gPostResetReqGuid, kPlatformVariableAttributes, 1,
                             &one);
  }
  return gDriver->slotStatus[slot];
}

EFI_STATUS EFIAPI Slot0() { return Slot(0); }
EFI_STATUS EFIAPI Slot1() { return Slot(1); }
EFI_STATUS EFIAPI Slot2() { return Slot(2); }
EFI_STATUS EFIAPI Slot3() { return Slot(3); }
EFI_STATUS EFIAPI Slot4() { return Slot(4); }
EFI_STATUS EFIAPI Slot5() { return Slot(5); }

PLATFORM_EVENT_PROTOCOL gEventProtocol = {Slot0, Slot1, Slot2, Slot3, Slot4, Slot5};

class MachineTest : public ::testing::Test {
 protected:
  void SetUp() override { gDriver = &driver_; }
  void TearDown() override {
    machine_.reset();
    gDriver = nullptr;
  }

  // Every boot, once the images are in, the fake driver installs its protocol.
  Machine& Build(PlatformSettings settings = {}) {
    machine_ = std::make_unique<Machine>(state_.Path(), settings);
    machine_->OnStage(BootStage::ImagesLoaded, [this](Machine& machine) {
      const HostImage driver = machine.AttachHostImage("FakeDriver");
      driver_.rt = driver.runtimeServices;
      EFI_HANDLE handle = nullptr;
      driver.bootServices->InstallProtocolInterface(&handle, &gTavrilEventProtocolGuid,
                                                    EFI_NATIVE_INTERFACE, &gEventProtocol);
    });
    machine_->OnStage(BootStage::BeforePostComplete,
                      [this](Machine&) { driver_.calls.push_back("configuration manager"); });
    return *machine_;
  }

  ScratchDirectory state_;
  FakeDriver driver_;
  std::unique_ptr<Machine> machine_;
};

// Profiles by value (0 BW Optimized, 1 Latency Optimized, 2 Balanced).
class FirstBootProfile : public MachineTest, public ::testing::WithParamInterface<int> {};

TEST_P(FirstBootProfile, SocketMemoryConfigCreatedOnceFromSettings) {
  PlatformSettings settings;
  settings.performanceProfile = static_cast<PerformanceProfile>(GetParam());
  Machine& machine = Build(settings);
  machine.StartBoot();
  auto config = machine.Variables().Find(kSocketMemoryConfigName, gSocketMemoryConfigGuid);
  ASSERT_TRUE(config);
  EXPECT_EQ(config->attributes, 3u);
  ASSERT_EQ(config->data.size(), 477u);
  EXPECT_EQ(config->data[364], static_cast<UINT8>(GetParam()));
  EXPECT_EQ(config->data[237], 0);
  EXPECT_GT(std::count_if(config->data.begin(), config->data.end(), [](UINT8 b) { return b != 0; }),
            100);

  // Later boots keep what is there, changes included.
  config->data[10] ^= 0x5A;
  machine.Variables().Put(kSocketMemoryConfigName, gSocketMemoryConfigGuid, 3, config->data);
  machine.Reboot();
  EXPECT_EQ(machine.Variables().Data(kSocketMemoryConfigName, gSocketMemoryConfigGuid),
            config->data);
}

INSTANTIATE_TEST_SUITE_P(Profiles, FirstBootProfile,
                         ::testing::Values(0, 1, 2));

TEST_F(MachineTest, PcdProtocol_AnswersCapabilityMaskOnly) {
  for (std::uint64_t mask : {0x0ULL, 0x10ULL, 0x30ULL, 0x8000000000000020ULL}) {
    PlatformSettings settings;
    settings.capabilityMask = mask;
    Machine& machine = Build(settings);
    machine.StartBoot();
    const HostImage image = machine.AttachHostImage("Reader");
    VOID* interface = nullptr;
    ASSERT_EQ(image.bootServices->LocateProtocol(&gPcdProtocolGuid, nullptr, &interface),
              EFI_SUCCESS);
    auto* pcd = static_cast<PCD_PROTOCOL*>(interface);
    EXPECT_EQ(pcd->Get64(PCD_TOKEN_PLATFORM_CAPABILITY_MASK), mask);
    EXPECT_EQ(pcd->Get64(111), 0u);
    EXPECT_EQ(pcd->Get32(PCD_TOKEN_PLATFORM_CAPABILITY_MASK), static_cast<UINT32>(mask));
    machine_.reset();
  }
}

TEST_F(MachineTest, DebugSink_JoinsFragmentsPerImageAndRecordsAssertions) {
  Machine& machine = Build();
  machine.StartBoot();
  const HostImage first = machine.AttachHostImage("First");
  const HostImage second = machine.AttachHostImage("Second");
  VOID* interface = nullptr;
  ASSERT_EQ(first.bootServices->LocateProtocol(&gCarvexDebugSinkProtocolGuid, nullptr, &interface),
            EFI_SUCCESS);
  auto* sink = static_cast<CARVEX_DEBUG_SINK_PROTOCOL*>(interface);

  EXPECT_EQ(sink->GetLevelMask(sink, first.handle), 0xFFFFFFFFu);
  sink->Write(sink, first.handle, DEBUG_WARN, "Enter");
  sink->Write(sink, second.handle, DEBUG_ERROR, "other line\n");
  sink->Write(sink, first.handle, DEBUG_INFO, ":more\nnext");
  sink->Assert(sink, second.handle, "File.cpp", 42, "x != 0");
  machine.EndBoot();  // flushes the unfinished "next"

  std::vector<LogLine> images;
  for (const LogLine& line : machine.Log().Lines()) {
    if (line.source != LogSource::Platform) {
      images.push_back(line);
    }
  }
  ASSERT_EQ(images.size(), 4u);
  EXPECT_EQ(images[0].image, "Second");
  EXPECT_EQ(images[0].text, "other line");
  EXPECT_EQ(images[1].image, "First");
  EXPECT_EQ(images[1].text, "Enter:more");
  EXPECT_EQ(images[1].level, static_cast<UINTN>(DEBUG_WARN));
  EXPECT_EQ(images[2].source, LogSource::Assert);
  EXPECT_EQ(images[3].text, "next");
  ASSERT_EQ(machine.Debug().Assertions().size(), 1u);
  EXPECT_EQ(machine.Debug().Assertions()[0].line, 42u);
  EXPECT_EQ(machine.Debug().Assertions()[0].image, "Second");
}

TEST_F(MachineTest, EndOfPost_CallsSlotsInOrderWithHookBeforePostComplete) {
  driver_.slotStatus[1] = EFI_NOT_FOUND;
  Machine& machine = Build();
  machine.StartBoot();
  const std::vector<SlotCall> calls = machine.EndOfPost();

  EXPECT_EQ(driver_.calls,
            (std::vector<std::string>{"slot0", "slot1", "configuration manager", "slot2"}));
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[1].slot, 1u);
  EXPECT_EQ(calls[1].status, EFI_NOT_FOUND);
  EXPECT_FALSE(machine.PendingReset());
}

struct ExitCase {
  SetupExit exit;
  const char* slot;
};

void PrintTo(const ExitCase& c, std::ostream* out) { *out << c.slot; }

class LeaveSetup : public MachineTest, public ::testing::WithParamInterface<ExitCase> {};

TEST_P(LeaveSetup, EachExitCallsItsSlot) {
  Machine& machine = Build();
  machine.StartBoot();
  machine.EnterSetup();
  driver_.calls.clear();
  EXPECT_EQ(machine.LeaveSetup(GetParam().exit), EFI_SUCCESS);
  EXPECT_EQ(driver_.calls, (std::vector<std::string>{GetParam().slot}));
}

INSTANTIATE_TEST_SUITE_P(Exits, LeaveSetup,
                         ::testing::Values(ExitCase{SetupExit::Save, "slot3"},
                                           ExitCase{SetupExit::Discard, "slot4"},
                                           ExitCase{SetupExit::Defaults, "slot5"}));

TEST_F(MachineTest, WithoutPlatformEventProtocol_NoSlotIsCalled) {
  machine_ = std::make_unique<Machine>(state_.Path());
  machine_->StartBoot();
  EXPECT_TRUE(machine_->EndOfPost().empty());
  EXPECT_EQ(machine_->LeaveSetup(SetupExit::Save), std::nullopt);
  EXPECT_FALSE(machine_->CurrentBoot().platformEventProtocolFound);
}

VOID EFIAPI CountNotify(EFI_EVENT, VOID* context) { ++*static_cast<int*>(context); }

TEST_F(MachineTest, EnterSetup_InstallsProtocolThatWakesRegisteredNotify) {
  Machine& machine = Build();
  machine.StartBoot();
  const HostImage image = machine.AttachHostImage("Waiter");
  int notified = 0;
  EFI_EVENT event = nullptr;
  VOID* registration = nullptr;
  ASSERT_EQ(image.bootServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, CountNotify, &notified,
                                            &event),
            EFI_SUCCESS);
  ASSERT_EQ(image.bootServices->RegisterProtocolNotify(&gSetupEnterProtocolGuid, event,
                                                       &registration),
            EFI_SUCCESS);
  EXPECT_EQ(notified, 0);
  machine.EnterSetup();
  EXPECT_EQ(notified, 1);
  EXPECT_TRUE(machine.IsInstalled(gSetupEnterProtocolGuid));
}

TEST_F(MachineTest, PostResetRequest_DeletedAndAnsweredWithOneMoreBoot) {
  driver_.requestPostReset = true;
  Machine& machine = Build();
  machine.OnStage(BootStage::EndOfPost, [this](Machine&) { driver_.requestPostReset = false; });

  const BootSummary summary = machine.RunBoot();

  ASSERT_EQ(summary.boots.size(), 2u);
  EXPECT_EQ(summary.resets, 1u);
  ASSERT_TRUE(summary.boots[0].reset);
  EXPECT_EQ(summary.boots[0].reset->source, "PostResetReq");
  EXPECT_FALSE(summary.boots[1].reset);
  EXPECT_FALSE(machine.Variables().Find(kPostResetReqName, gPostResetReqGuid));
  EXPECT_FALSE(summary.resetLoop);
  EXPECT_TRUE(summary.reports.empty());
}

TEST_F(MachineTest, ResetEveryBoot_StopsAfterThreeResetsAndReports) {
  driver_.requestPostReset = true;
  Machine& machine = Build();
  const BootSummary summary = machine.RunBoot();

  EXPECT_EQ(summary.boots.size(), 4u);
  EXPECT_EQ(summary.resets, 3u);
  EXPECT_TRUE(summary.resetLoop);
  ASSERT_EQ(summary.reports.size(), 1u);
  EXPECT_EQ(summary.reports[0].kind, ReportKind::ResetLoop);
}

struct ResetCase {
  EFI_RESET_TYPE type;
  std::size_t boots;
};

void PrintTo(const ResetCase& c, std::ostream* out) { *out << "type" << c.type; }

class ResetSystemInSlot0 : public MachineTest, public ::testing::WithParamInterface<ResetCase> {};

TEST_P(ResetSystemInSlot0, EndsTheBootAtOnce) {
  driver_.resetInSlot0 = true;
  driver_.resetType = GetParam().type;
  Machine& machine = Build();
  machine.OnStage(BootStage::EndOfPost, [this](Machine&) { driver_.resetInSlot0 = false; });
  BootOptions options;
  options.enterSetup = true;

  const BootSummary summary = machine.RunBoot(options);

  ASSERT_EQ(summary.boots.size(), GetParam().boots);
  EXPECT_EQ(summary.boots[0].slots.size(), 1u);  // slots 1 and 2 never ran
  EXPECT_FALSE(summary.boots[0].setupEntered);
  EXPECT_EQ(summary.boots[0].reset->source, "FakeDriver");
  EXPECT_EQ(summary.boots[0].reset->type, GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(Types, ResetSystemInSlot0,
                         ::testing::Values(ResetCase{EfiResetCold, 2}, ResetCase{EfiResetWarm, 2},
                                           ResetCase{EfiResetShutdown, 1}));

TEST_F(MachineTest, RunBoot_SetupAndBootEventsInPlatformOrder) {
  Machine& machine = Build();
  int readyToBoot = 0;
  machine.OnStage(BootStage::ImagesLoaded, [&readyToBoot](Machine& m) {
    const HostImage image = m.AttachHostImage("Booter");
    EFI_EVENT event = nullptr;
    image.bootServices->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, CountNotify, &readyToBoot,
                                      &gEfiEventReadyToBootGuid, &event);
    image.bootServices->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, CountNotify, &readyToBoot,
                                      &gEfiEventLegacyBootGuid, &event);
  });
  BootOptions options;
  options.enterSetup = true;
  options.setupExit = SetupExit::Discard;
  options.legacyBoot = true;
  options.inSetup = [this](Machine&) { driver_.calls.push_back("browser"); };

  const BootSummary summary = machine.RunBoot(options);

  EXPECT_EQ(driver_.calls, (std::vector<std::string>{"slot0", "slot1", "configuration manager",
                                                     "slot2", "browser", "slot4"}));
  EXPECT_EQ(readyToBoot, 2);
  ASSERT_EQ(summary.boots.size(), 1u);
  EXPECT_TRUE(summary.Last().setupEntered);
  EXPECT_EQ(summary.Last().SlotStatus(4), EFI_SUCCESS);
  EXPECT_FALSE(machine.BootActive());
}

TEST_F(MachineTest, StepsOutOfOrder_RefusedByTheHostApi) {
  Machine& machine = Build();
  EXPECT_THROW(machine.EndOfPost(), std::logic_error);
  EXPECT_THROW(machine.EndBoot(), std::logic_error);
  machine.StartBoot();
  EXPECT_THROW(machine.StartBoot(), std::logic_error);
  EXPECT_THROW(machine.RunBoot(), std::logic_error);
}

}  // namespace
}  // namespace carvex::sim::test
