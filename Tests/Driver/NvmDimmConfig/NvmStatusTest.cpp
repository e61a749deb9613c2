// Command status objects: their initial state, that every node the protocol
// appended goes with them, and the trace lines that name file and function.
#include <gtest/gtest.h>

#include <string>

#include <NvmDimmRecords.h>
#include <Library/BaseLib.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/NvmStatus.h>
#include <NvmDimmConfig/Utility.h>

namespace {

OBJECT_STATUS_NODE *AppendNode (FakePlatform &Platform, COMMAND_STATUS *pCommandStatus)
{
  auto *pNode = static_cast<OBJECT_STATUS_NODE *>(Platform.VendorAllocate (sizeof (OBJECT_STATUS_NODE)));
  pNode->Header.Signature = OBJECT_STATUS_NODE_SIGNATURE;
  InsertTailList (&pCommandStatus->ObjectStatusList, &pNode->Header.Link);
  return pNode;
}

TEST (NvmStatusTest, Fresh_ReadsInitialValuesWithEmptyList)
{
  FakePlatform    Platform;
  COMMAND_STATUS  *pCommandStatus = nullptr;

  ASSERT_EQ (InitializeCommandStatus (&pCommandStatus), EFI_SUCCESS);
  ASSERT_NE (pCommandStatus, nullptr);
  EXPECT_EQ (pCommandStatus->GeneralStatus, 2);
  EXPECT_EQ (pCommandStatus->Kind, 4u);
  EXPECT_EQ (pCommandStatus->ObjectCount, 0);
  EXPECT_TRUE (IsListEmpty (&pCommandStatus->ObjectStatusList));

  FreeCommandStatus (&pCommandStatus);
  EXPECT_EQ (pCommandStatus, nullptr);
  EXPECT_TRUE (Platform.Live.empty ());
}

TEST (NvmStatusTest, NodesAppended_FreedWithTheObject)
{
  FakePlatform    Platform;
  COMMAND_STATUS  *pCommandStatus = nullptr;

  ASSERT_EQ (InitializeCommandStatus (&pCommandStatus), EFI_SUCCESS);
  for (int Index = 0; Index < 3; Index++) {
    AppendNode (Platform, pCommandStatus);
  }
  ASSERT_EQ (Platform.Live.size (), 4u);

  FreeCommandStatus (&pCommandStatus);
  EXPECT_EQ (pCommandStatus, nullptr);
  EXPECT_TRUE (Platform.Live.empty ());
  EXPECT_EQ (Platform.BadFrees, 0u);
  EXPECT_EQ (Platform.CountLogged ("CR has Bad Signature"), 0u);
}

TEST (NvmStatusTest, NullArguments_NoActionAndInvalidParameter)
{
  FakePlatform    Platform;
  COMMAND_STATUS  *pNull = nullptr;

  EXPECT_EQ (InitializeCommandStatus (nullptr), EFI_INVALID_PARAMETER);
  FreeCommandStatus (nullptr);
  FreeCommandStatus (&pNull);
  EXPECT_EQ (Platform.BadFrees, 0u);
  EXPECT_EQ (Platform.Allocations, 0u);
}

TEST (NvmStatusTest, AllocationFails_OutOfResourcesTraced)
{
  FakePlatform    Platform;
  COMMAND_STATUS  *pCommandStatus = nullptr;

  Platform.FailAllocationAt = 1;
  EXPECT_EQ (InitializeCommandStatus (&pCommandStatus), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (pCommandStatus, nullptr);
  EXPECT_TRUE (Platform.Logged (DEBUG_VERBOSE, "NVDIMM-VERB:Exiting NvmStatus.cpp::InitializeCommandStatus(): 0x8000000000000009\n"));
}

TEST (NvmStatusTest, Trace_NamesFileAndFunctionAtVerbose)
{
  FakePlatform    Platform;
  COMMAND_STATUS  *pCommandStatus = nullptr;

  ASSERT_EQ (InitializeCommandStatus (&pCommandStatus), EFI_SUCCESS);
  FreeCommandStatus (&pCommandStatus);
  EXPECT_TRUE (Platform.Logged (DEBUG_VERBOSE, "NVDIMM-VERB:Entering NvmStatus.cpp::InitializeCommandStatus()\n"));
  EXPECT_TRUE (Platform.Logged (DEBUG_VERBOSE, "NVDIMM-VERB:Exiting NvmStatus.cpp::InitializeCommandStatus(): 0x0\n"));
  EXPECT_TRUE (Platform.Logged (DEBUG_VERBOSE, "NVDIMM-VERB:Entering NvmStatus.cpp::FreeCommandStatus()\n"));
  EXPECT_TRUE (Platform.Logged (DEBUG_VERBOSE, "NVDIMM-VERB:Exiting NvmStatus.cpp::FreeCommandStatus()\n"));
}

TEST (NvdimmTraceTest, BaseName_SplitsAtEitherSeparator)
{
  struct Case {
    const CHAR16  *Path;
    const CHAR16  *Base;
  };
  for (const Case &Item : { Case{ u"c:\\build\\Driver\\Convert.c", u"Convert.c" },
                            Case{ u"/src/Driver/NvmDimmConfig/Convert.cpp", u"Convert.cpp" },
                            Case{ u"d:\\mixed/dir\\a/b.cpp", u"b.cpp" },
                            Case{ u"NoDirectory.cpp", u"NoDirectory.cpp" },
                            Case{ u"trailing/", u"" } })
  {
    EXPECT_EQ (std::u16string (NvdimmFileBaseName (Item.Path)), std::u16string (Item.Base));
  }
}

TEST (NvdimmTraceTest, FunctionNameTooLong_EmptyText)
{
  std::string  Name (NVDIMM_FUNCTION_NAME_CHARS, 'f');
  EXPECT_EQ (std::u16string (NvdimmFunctionName (Name.c_str ())), u"");
  Name.pop_back ();  // exactly fills the buffer with its terminator
  EXPECT_EQ (std::u16string (NvdimmFunctionName (Name.c_str ())).size (), NVDIMM_FUNCTION_NAME_CHARS - 1);
}

}  // namespace
