// List helpers over records that embed their link, walked as the driver
// walks them.
#include <gtest/gtest.h>

#include <vector>

#include <Library/BaseLib.h>

namespace {

struct Record {
  UINT32      Value;
  LIST_ENTRY  Link;
};

std::vector<UINT32>
Walk (LIST_ENTRY *Head)
{
  std::vector<UINT32>  Values;
  for (LIST_ENTRY *Node = GetFirstNode (Head); !IsNull (Head, Node); Node = GetNextNode (Head, Node)) {
    Values.push_back (BASE_CR (Node, Record, Link)->Value);
  }

  // The back links must describe the same list in reverse.
  std::vector<UINT32>  Backward;
  for (LIST_ENTRY *Node = Head->BackLink; Node != Head; Node = Node->BackLink) {
    Backward.insert (Backward.begin (), BASE_CR (Node, Record, Link)->Value);
  }

  EXPECT_EQ (Values, Backward);
  EXPECT_EQ (GetListLength (Head), Values.size ());
  return Values;
}

TEST (LinkedListTest, InsertsAndRemovals_KeepOrderBothWays)
{
  LIST_ENTRY  Head = INITIALIZE_LIST_HEAD_VARIABLE (Head);
  Record      Records[4] = { { 1, {} }, { 2, {} }, { 3, {} }, { 4, {} } };

  EXPECT_TRUE (IsListEmpty (&Head));
  InsertTailList (&Head, &Records[1].Link);
  InsertTailList (&Head, &Records[2].Link);
  InsertHeadList (&Head, &Records[0].Link);
  InsertTailList (&Head, &Records[3].Link);
  EXPECT_FALSE (IsListEmpty (&Head));
  EXPECT_EQ (Walk (&Head), (std::vector<UINT32>{ 1, 2, 3, 4 }));

  EXPECT_EQ (RemoveEntryList (&Records[1].Link), &Records[2].Link);
  EXPECT_EQ (RemoveEntryList (&Records[3].Link), &Head);
  EXPECT_EQ (Walk (&Head), (std::vector<UINT32>{ 1, 3 }));

  RemoveEntryList (&Records[0].Link);
  RemoveEntryList (&Records[2].Link);
  EXPECT_TRUE (IsListEmpty (&Head));
  EXPECT_EQ (Walk (&Head), std::vector<UINT32>{});
}

// Removing while walking, the way free-all loops do it.
TEST (LinkedListTest, RemoveDuringWalk_VisitsEveryNode)
{
  LIST_ENTRY  Head;
  Record      Records[3] = { { 1, {} }, { 2, {} }, { 3, {} } };
  InitializeListHead (&Head);
  for (Record &R : Records) {
    InsertTailList (&Head, &R.Link);
  }

  std::vector<UINT32>  Seen;
  while (!IsListEmpty (&Head)) {
    LIST_ENTRY  *Node = GetFirstNode (&Head);
    Seen.push_back (BASE_CR (Node, Record, Link)->Value);
    RemoveEntryList (Node);
  }

  EXPECT_EQ (Seen, (std::vector<UINT32>{ 1, 2, 3 }));
}

}  // namespace
