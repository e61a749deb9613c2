#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "SimTestSupport.hpp"

namespace carvex::sim::test {
namespace {

EFI_GUID gVendor = {0x0c0ffee0, 0x1234, 0x4321, {0x9a, 0xbc, 0xde, 0xf0, 0x12, 0x34, 0x56, 0x78}};
constexpr UINT32 kNvBs = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINT32 kBs = EFI_VARIABLE_BOOTSERVICE_ACCESS;

CHAR16 gName[] = u"Answer";
CHAR16 gOther[] = u"Other";
CHAR16 gEmpty[] = u"";

class VariableStoreTest : public BootedMachine {
 protected:
  EFI_STATUS Set(CHAR16* name, UINT32 attributes, std::vector<UINT8> data) {
    return rt_->SetVariable(name, &gVendor, attributes, data.size(),
                            data.empty() ? nullptr : data.data());
  }
};

struct SetCase {
  const char* what;
  CHAR16* name;
  bool withGuid;
  UINT32 attributes;
  UINTN size;
  bool withData;
  EFI_STATUS expected;
};

void PrintTo(const SetCase& c, std::ostream* out) { *out << CaseName(c.what); }

class SetVariableArguments : public VariableStoreTest,
                             public ::testing::WithParamInterface<SetCase> {};

TEST_P(SetVariableArguments, RefusedWithoutWriting) {
  const SetCase& c = GetParam();
  UINT8 data[4] = {1, 2, 3, 4};
  EXPECT_EQ(rt_->SetVariable(c.name, c.withGuid ? &gVendor : nullptr, c.attributes, c.size,
                             c.withData ? data : nullptr),
            c.expected)
      << c.what;
  EXPECT_FALSE(machine_->Variables().Find(u"Answer", gVendor)) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SetVariableArguments,
    ::testing::Values(
        SetCase{"no name", nullptr, true, kNvBs, 4, true, EFI_INVALID_PARAMETER},
        SetCase{"empty name", gEmpty, true, kNvBs, 4, true, EFI_INVALID_PARAMETER},
        SetCase{"no GUID", gName, false, kNvBs, 4, true, EFI_INVALID_PARAMETER},
        SetCase{"size without data", gName, true, kNvBs, 4, false, EFI_INVALID_PARAMETER},
        SetCase{"runtime without boot service", gName, true,
                EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_RUNTIME_ACCESS, 4, true,
                EFI_INVALID_PARAMETER},
        SetCase{"unknown attribute", gName, true, kNvBs | 0x100, 4, true, EFI_INVALID_PARAMETER},
        SetCase{"authenticated write", gName, true, kNvBs | 0x20, 4, true, EFI_UNSUPPORTED},
        SetCase{"delete by size of a missing variable", gName, true, kNvBs, 0, false,
                EFI_NOT_FOUND},
        SetCase{"delete by attributes of a missing variable", gName, true, 0, 4, true,
                EFI_NOT_FOUND}));

TEST_F(VariableStoreTest, GetVariable_SizesAndArgumentsFollowUefi) {
  ASSERT_EQ(Set(gName, kNvBs, {7, 8, 9}), EFI_SUCCESS);
  UINT8 buffer[8] = {};
  UINT32 attributes = 0;

  UINTN size = 2;
  EXPECT_EQ(rt_->GetVariable(gName, &gVendor, &attributes, &size, buffer), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(attributes, kNvBs);
  EXPECT_EQ(buffer[0], 0);

  size = 3;
  ASSERT_EQ(rt_->GetVariable(gName, &gVendor, nullptr, &size, buffer), EFI_SUCCESS);
  EXPECT_EQ(std::vector<UINT8>(buffer, buffer + 3), (std::vector<UINT8>{7, 8, 9}));

  size = sizeof buffer;
  EXPECT_EQ(rt_->GetVariable(gName, &gVendor, nullptr, &size, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(rt_->GetVariable(gName, &gVendor, nullptr, nullptr, buffer), EFI_INVALID_PARAMETER);
  EXPECT_EQ(rt_->GetVariable(nullptr, &gVendor, nullptr, &size, buffer), EFI_INVALID_PARAMETER);
  EXPECT_EQ(rt_->GetVariable(gName, nullptr, nullptr, &size, buffer), EFI_INVALID_PARAMETER);
  EXPECT_EQ(rt_->GetVariable(gOther, &gVendor, nullptr, &size, buffer), EFI_NOT_FOUND);
}

TEST_F(VariableStoreTest, RewriteWithOtherAttributes_RefusedAndDataKept) {
  ASSERT_EQ(Set(gName, kNvBs, {1}), EFI_SUCCESS);
  EXPECT_EQ(Set(gName, kBs, {2}), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(gName, kBs, {}), EFI_INVALID_PARAMETER);  // a delete with other attributes too
  // No access attributes would delete, but the attributes differ first.
  EXPECT_EQ(Set(gName, EFI_VARIABLE_NON_VOLATILE, {2}), EFI_INVALID_PARAMETER);
  EXPECT_EQ(machine_->Variables().Data(u"Answer", gVendor), (std::vector<UINT8>{1}));

  EXPECT_EQ(Set(gName, kNvBs, {3, 4}), EFI_SUCCESS);
  EXPECT_EQ(machine_->Variables().Data(u"Answer", gVendor), (std::vector<UINT8>{3, 4}));
}

struct DeleteCase {
  const char* what;
  UINT32 attributes;
  UINTN size;
};

void PrintTo(const DeleteCase& c, std::ostream* out) { *out << CaseName(c.what); }

class DeleteVariable : public VariableStoreTest, public ::testing::WithParamInterface<DeleteCase> {};

TEST_P(DeleteVariable, SizeZeroOrNoAccessAttributes_Deletes) {
  ASSERT_EQ(Set(gName, kNvBs, {1, 2}), EFI_SUCCESS);
  UINT8 data[2] = {5, 6};
  EXPECT_EQ(rt_->SetVariable(gName, &gVendor, GetParam().attributes, GetParam().size, data),
            EFI_SUCCESS);
  EXPECT_FALSE(machine_->Variables().Find(u"Answer", gVendor));
  // Gone from the file as well.
  std::ifstream file(machine_->Variables().File());
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str().find("Answer"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Cases, DeleteVariable,
                         ::testing::Values(DeleteCase{"size zero", kNvBs, 0},
                                           DeleteCase{"attributes zero", 0, 2}));

TEST_F(VariableStoreTest, NonVolatileSurvive_VolatileVanish_AcrossRebootAndRestart) {
  ASSERT_EQ(Set(gName, kNvBs, {0xAB, 0xCD}), EFI_SUCCESS);
  ASSERT_EQ(Set(gOther, kBs, {1}), EFI_SUCCESS);

  RebootAndAttach();
  EXPECT_EQ(machine_->Variables().Data(u"Answer", gVendor), (std::vector<UINT8>{0xAB, 0xCD}));
  EXPECT_FALSE(machine_->Variables().Find(u"Other", gVendor));
  ASSERT_EQ(Set(gOther, kBs, {1}), EFI_SUCCESS);

  machine_->EndBoot();
  machine_.reset();
  Machine restarted(state_.Path(), settings_);
  auto kept = restarted.Variables().Find(u"Answer", gVendor);
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->attributes, kNvBs);
  EXPECT_EQ(kept->data, (std::vector<UINT8>{0xAB, 0xCD}));
  EXPECT_FALSE(restarted.Variables().Find(u"Other", gVendor));
}

TEST_F(VariableStoreTest, StateFile_IsReadableJson) {
  ASSERT_EQ(Set(gName, kNvBs, {0xAB, 0x01}), EFI_SUCCESS);
  std::ifstream file(state_.Path() / "variables.json");
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_NE(text.str().find("\"name\": \"Answer\""), std::string::npos) << text.str();
  EXPECT_NE(text.str().find("\"guid\": \"0C0FFEE0-1234-4321-9ABC-DEF012345678\""),
            std::string::npos);
  EXPECT_NE(text.str().find("\"data\": \"ab01\""), std::string::npos);
  EXPECT_NE(text.str().find("\"attributes\": 3"), std::string::npos);
}

TEST_F(VariableStoreTest, CorruptStateFile_RefusedAtStartup) {
  ScratchDirectory other;
  std::filesystem::create_directories(other.Path());
  std::ofstream(other.Path() / "variables.json") << "{\"variables\": [{\"name\": \"X\"}]}";
  EXPECT_THROW(Machine(other.Path(), settings_), std::runtime_error);
}

TEST_F(VariableStoreTest, GetNextVariableName_WalksEveryVariableOnce) {
  ASSERT_EQ(Set(gName, kNvBs, {1}), EFI_SUCCESS);
  ASSERT_EQ(Set(gOther, kBs, {2}), EFI_SUCCESS);

  std::set<std::u16string> walked;
  CHAR16 name[64] = {};
  EFI_GUID guid{};
  UINTN size = sizeof(CHAR16);  // room for the empty name only
  EFI_STATUS status = rt_->GetNextVariableName(&size, name, &guid);
  ASSERT_EQ(status, EFI_BUFFER_TOO_SMALL);
  EXPECT_GT(size, sizeof(CHAR16));
  for (;;) {
    size = sizeof name;
    status = rt_->GetNextVariableName(&size, name, &guid);
    if (status != EFI_SUCCESS) {
      break;
    }
    EXPECT_EQ(size, (std::u16string(name).size() + 1) * sizeof(CHAR16));
    EXPECT_TRUE(walked.insert(name).second) << "seen twice";
  }
  EXPECT_EQ(status, EFI_NOT_FOUND);
  // The platform's own variables and the two above.
  EXPECT_EQ(walked, (std::set<std::u16string>{u"SocketMemoryConfig", u"CarvekConfigVar", u"Answer", u"Other"}));

  CHAR16 unknown[] = u"Nope";
  size = sizeof unknown;
  EXPECT_EQ(rt_->GetNextVariableName(&size, unknown, &gVendor), EFI_INVALID_PARAMETER);
  CHAR16 unterminated[] = {u'A', u'n'};
  size = sizeof unterminated;
  EXPECT_EQ(rt_->GetNextVariableName(&size, unterminated, &gVendor), EFI_INVALID_PARAMETER);
}

TEST_F(VariableStoreTest, InjectedWriteFault_FailsWithoutWritingThenClears) {
  machine_->Faults().FailVariableWrite(u"Answer", EFI_DEVICE_ERROR, 1);
  EXPECT_EQ(Set(gName, kNvBs, {1}), EFI_DEVICE_ERROR);
  EXPECT_FALSE(machine_->Variables().Find(u"Answer", gVendor));
  EXPECT_EQ(Set(gOther, kNvBs, {1}), EFI_SUCCESS);  // another name is unaffected
  EXPECT_EQ(Set(gName, kNvBs, {1}), EFI_SUCCESS);
  EXPECT_EQ(machine_->Faults().InjectedVariableFailures(), 1u);
}

TEST_F(VariableStoreTest, Log_RecordsCallerOperationSizeAndStatus) {
  machine_->Variables().ClearLog();
  Set(gName, kNvBs, {1, 2});
  UINTN size = 0;
  rt_->GetVariable(gName, &gVendor, nullptr, &size, nullptr);
  Set(gName, kNvBs, {});

  const auto entries = machine_->Variables().LogFor(u"Answer");
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].op, VariableOp::Set);
  EXPECT_EQ(entries[0].size, 2u);
  EXPECT_EQ(entries[0].image, "TestHost");
  EXPECT_EQ(entries[1].op, VariableOp::Get);
  EXPECT_EQ(entries[1].status, EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(entries[1].size, 2u);
  EXPECT_EQ(entries[2].op, VariableOp::Delete);
  EXPECT_EQ(entries[2].status, EFI_SUCCESS);
}

}  // namespace
}  // namespace carvex::sim::test
