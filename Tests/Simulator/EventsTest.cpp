#include <string>
#include <vector>

#include <Guid/EventGroup.h>

#include "SimTestSupport.hpp"

namespace carvex::sim::test {
namespace {

EFI_GUID gTestGroup = {0x1d2c3b4a, 0x5e6f, 0x4a7b, {0x8c, 0x9d, 0xae, 0xbf, 0xc0, 0xd1, 0xe2, 0xf3}};

// What a notify function saw: its own name, in call order, and the TPL it
// ran at. It may signal one further event.
struct Probe {
  std::string name;
  std::vector<std::string>* calls = nullptr;
  EFI_BOOT_SERVICES* bs = nullptr;
  EFI_EVENT signalNext = nullptr;
  EFI_TPL observedTpl = 0;
};

VOID EFIAPI RecordNotify(EFI_EVENT, VOID* context) {
  auto* probe = static_cast<Probe*>(context);
  // Raising to the current level returns it without changing anything.
  const EFI_TPL current = probe->bs->RaiseTPL(TPL_HIGH_LEVEL);
  probe->bs->RestoreTPL(current);
  probe->observedTpl = current;
  probe->calls->push_back(probe->name + ":begin");
  if (probe->signalNext != nullptr) {
    probe->bs->SignalEvent(probe->signalNext);
  }
  probe->calls->push_back(probe->name + ":end");
}

class EventsTest : public BootedMachine {
 protected:
  EFI_EVENT Create(Probe& probe, const char* name, EFI_TPL tpl, const EFI_GUID* group = nullptr) {
    probe.name = name;
    probe.calls = &calls_;
    probe.bs = bs_;
    EFI_EVENT event = nullptr;
    EXPECT_EQ(bs_->CreateEventEx(EVT_NOTIFY_SIGNAL, tpl, RecordNotify, &probe, group, &event),
              EFI_SUCCESS);
    return event;
  }

  std::vector<std::string> calls_;
};

struct TplCase {
  EFI_TPL callerTpl;
  EFI_TPL notifyTpl;
  bool runsInsideSignal;
};

void PrintTo(const TplCase& c, std::ostream* out) {
  *out << "caller" << c.callerTpl << "_notify" << c.notifyTpl;
}

class SignalAtTpl : public EventsTest, public ::testing::WithParamInterface<TplCase> {};

TEST_P(SignalAtTpl, NotifyRunsOnlyAboveCallerTpl_OtherwiseWhenTplDrops) {
  const TplCase& c = GetParam();
  Probe probe;
  EFI_EVENT event = Create(probe, "e", c.notifyTpl);

  const EFI_TPL old = bs_->RaiseTPL(c.callerTpl);
  bs_->SignalEvent(event);
  EXPECT_EQ(calls_.size(), c.runsInsideSignal ? 2u : 0u);
  bs_->RestoreTPL(old);

  EXPECT_EQ(calls_, (std::vector<std::string>{"e:begin", "e:end"}));
  EXPECT_EQ(probe.observedTpl, c.notifyTpl);
}

INSTANTIATE_TEST_SUITE_P(Tpls, SignalAtTpl,
                         ::testing::Values(TplCase{TPL_APPLICATION, TPL_CALLBACK, true},
                                           TplCase{TPL_APPLICATION, TPL_NOTIFY, true},
                                           TplCase{TPL_CALLBACK, TPL_NOTIFY, true},
                                           TplCase{TPL_CALLBACK, TPL_CALLBACK, false},
                                           TplCase{TPL_NOTIFY, TPL_CALLBACK, false},
                                           TplCase{TPL_HIGH_LEVEL, TPL_NOTIFY, false}));

TEST_F(EventsTest, PendingNotifies_RunHighestTplFirstThenInSignalOrder) {
  Probe a, b, c;
  EFI_EVENT callbackA = Create(a, "a", TPL_CALLBACK);
  EFI_EVENT notifyB = Create(b, "b", TPL_NOTIFY);
  EFI_EVENT callbackC = Create(c, "c", TPL_CALLBACK);

  const EFI_TPL old = bs_->RaiseTPL(TPL_HIGH_LEVEL);
  bs_->SignalEvent(callbackC);
  bs_->SignalEvent(callbackA);
  bs_->SignalEvent(notifyB);
  bs_->RestoreTPL(old);

  EXPECT_EQ(calls_, (std::vector<std::string>{"b:begin", "b:end", "c:begin", "c:end", "a:begin",
                                              "a:end"}));
}

TEST_F(EventsTest, SignalFromNotify_HigherRunsNestedLowerRunsAfter) {
  Probe outer, higher, lower;
  EFI_EVENT notifyHigher = Create(higher, "higher", TPL_NOTIFY);
  EFI_EVENT callbackLower = Create(lower, "lower", TPL_CALLBACK);
  EFI_EVENT middle = Create(outer, "outer", TPL_CALLBACK + 1);
  outer.signalNext = notifyHigher;
  higher.signalNext = callbackLower;

  bs_->SignalEvent(middle);

  EXPECT_EQ(calls_, (std::vector<std::string>{"outer:begin", "higher:begin", "higher:end",
                                              "outer:end", "lower:begin", "lower:end"}));
}

TEST_F(EventsTest, RepeatedSignalBeforeDispatch_RunsNotifyOnce) {
  Probe probe;
  EFI_EVENT event = Create(probe, "e", TPL_CALLBACK);

  const EFI_TPL old = bs_->RaiseTPL(TPL_NOTIFY);
  bs_->SignalEvent(event);
  bs_->SignalEvent(event);
  bs_->RestoreTPL(old);
  bs_->SignalEvent(event);

  EXPECT_EQ(calls_.size(), 4u);  // two dispatches of begin/end
}

TEST_F(EventsTest, SignalOneGroupMember_SignalsEveryMemberOnly) {
  Probe first, second, outsider;
  EFI_EVENT member = Create(first, "first", TPL_CALLBACK, &gTestGroup);
  Create(second, "second", TPL_NOTIFY, &gTestGroup);
  Create(outsider, "outsider", TPL_NOTIFY);

  bs_->SignalEvent(member);

  EXPECT_EQ(calls_, (std::vector<std::string>{"second:begin", "second:end", "first:begin",
                                              "first:end"}));
}

TEST_F(EventsTest, PlatformBootSignals_ReachOnlyTheirOwnGroup) {
  Probe ready, legacy;
  Create(ready, "ready", TPL_NOTIFY, &gEfiEventReadyToBootGuid);
  Create(legacy, "legacy", TPL_NOTIFY, &gEfiEventLegacyBootGuid);

  machine_->SignalReadyToBoot();
  EXPECT_EQ(calls_, (std::vector<std::string>{"ready:begin", "ready:end"}));
  machine_->SignalLegacyBoot();
  EXPECT_EQ(calls_.size(), 4u);
  EXPECT_EQ(calls_[2], "legacy:begin");
  // The platform's own member of each group is gone again.
  EXPECT_EQ(machine_->Events().GroupSize(gEfiEventReadyToBootGuid), 1u);
}

TEST_F(EventsTest, CloseEventWhileQueued_NotifyNeverRunsAndHandleIsStale) {
  Probe probe;
  EFI_EVENT event = Create(probe, "e", TPL_CALLBACK);

  const EFI_TPL old = bs_->RaiseTPL(TPL_NOTIFY);
  bs_->SignalEvent(event);
  EXPECT_EQ(bs_->CloseEvent(event), EFI_SUCCESS);
  bs_->RestoreTPL(old);

  EXPECT_TRUE(calls_.empty());
  EXPECT_EQ(bs_->SignalEvent(event), EFI_INVALID_PARAMETER);
  EXPECT_EQ(bs_->CloseEvent(event), EFI_INVALID_PARAMETER);
}

struct CreateCase {
  const char* what;
  UINT32 type;
  EFI_TPL tpl;
  bool withNotify;
  bool withGroup;
  bool withOut;
};

void PrintTo(const CreateCase& c, std::ostream* out) { *out << CaseName(c.what); }

class CreateEventArguments : public EventsTest, public ::testing::WithParamInterface<CreateCase> {};

TEST_P(CreateEventArguments, InvalidCombination_Refused) {
  const CreateCase& c = GetParam();
  Probe probe;
  probe.calls = &calls_;
  probe.bs = bs_;
  EFI_EVENT event = nullptr;
  EXPECT_EQ(bs_->CreateEventEx(c.type, c.tpl, c.withNotify ? RecordNotify : nullptr, &probe,
                               c.withGroup ? &gTestGroup : nullptr, c.withOut ? &event : nullptr),
            EFI_INVALID_PARAMETER)
      << c.what;
  EXPECT_EQ(machine_->OwnedBy("TestHost").events, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CreateEventArguments,
    ::testing::Values(CreateCase{"no notify", EVT_NOTIFY_SIGNAL, TPL_CALLBACK, false, false, true},
                      CreateCase{"application TPL", EVT_NOTIFY_SIGNAL, TPL_APPLICATION, true,
                                 false, true},
                      CreateCase{"high TPL", EVT_NOTIFY_SIGNAL, TPL_HIGH_LEVEL, true, false, true},
                      CreateCase{"unknown type", 0x00001234, TPL_CALLBACK, true, false, true},
                      CreateCase{"signal and wait", EVT_NOTIFY_SIGNAL | EVT_NOTIFY_WAIT,
                                 TPL_CALLBACK, true, false, true},
                      CreateCase{"exit boot services in a group", EVT_SIGNAL_EXIT_BOOT_SERVICES,
                                 TPL_CALLBACK, true, true, true},
                      CreateCase{"no event pointer", EVT_NOTIFY_SIGNAL, TPL_CALLBACK, true, false,
                                 false}));

VOID EFIAPI SignalSelf(EFI_EVENT event, VOID* context) {
  auto* bs = static_cast<EFI_BOOT_SERVICES*>(context);
  bs->SignalEvent(event);
}

VOID EFIAPI DoNothing(EFI_EVENT, VOID*) {}

TEST_F(EventsTest, CheckEvent_WaitNotifyDecidesReadiness) {
  EFI_EVENT ready = nullptr;
  EFI_EVENT idle = nullptr;
  EFI_EVENT signalType = nullptr;
  ASSERT_EQ(bs_->CreateEvent(EVT_NOTIFY_WAIT, TPL_CALLBACK, SignalSelf, bs_, &ready), EFI_SUCCESS);
  ASSERT_EQ(bs_->CreateEvent(EVT_NOTIFY_WAIT, TPL_CALLBACK, DoNothing, nullptr, &idle),
            EFI_SUCCESS);
  ASSERT_EQ(bs_->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, DoNothing, nullptr, &signalType),
            EFI_SUCCESS);

  EXPECT_EQ(bs_->CheckEvent(ready), EFI_SUCCESS);
  EXPECT_EQ(bs_->CheckEvent(idle), EFI_NOT_READY);
  EXPECT_EQ(bs_->CheckEvent(signalType), EFI_INVALID_PARAMETER);
  EFI_EVENT both[] = {idle, ready};
  UINTN index = 99;
  EXPECT_EQ(bs_->WaitForEvent(2, both, &index), EFI_SUCCESS);
  EXPECT_EQ(index, 1u);
}

TEST_F(EventsTest, RaiseTplBelowCurrent_ReportedAndIgnored) {
  const EFI_TPL old = bs_->RaiseTPL(TPL_NOTIFY);
  EXPECT_EQ(bs_->RaiseTPL(TPL_CALLBACK), static_cast<EFI_TPL>(TPL_NOTIFY));
  EXPECT_EQ(machine_->Events().CurrentTpl(), static_cast<EFI_TPL>(TPL_NOTIFY));
  bs_->RestoreTPL(old);

  ASSERT_EQ(machine_->Log().Reports().size(), 1u);
  EXPECT_EQ(machine_->Log().Reports()[0].kind, ReportKind::TplMisuse);
  EXPECT_EQ(machine_->Log().Reports()[0].image, "TestHost");
}

}  // namespace
}  // namespace carvex::sim::test
