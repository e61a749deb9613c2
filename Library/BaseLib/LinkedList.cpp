/** @file
  Circular doubly linked lists whose head is a node linked to itself.
**/
#include <Library/BaseLib.h>

LIST_ENTRY *
EFIAPI
InitializeListHead (
  IN OUT LIST_ENTRY *ListHead
  )
{
  ListHead->ForwardLink = ListHead;
  ListHead->BackLink    = ListHead;
  return ListHead;
}

LIST_ENTRY *
EFIAPI
InsertHeadList (
  IN OUT LIST_ENTRY *ListHead,
  IN OUT LIST_ENTRY *Entry
  )
{
  Entry->ForwardLink            = ListHead->ForwardLink;
  Entry->BackLink               = ListHead;
  Entry->ForwardLink->BackLink  = Entry;
  ListHead->ForwardLink         = Entry;
  return ListHead;
}

LIST_ENTRY *
EFIAPI
InsertTailList (
  IN OUT LIST_ENTRY *ListHead,
  IN OUT LIST_ENTRY *Entry
  )
{
  Entry->ForwardLink           = ListHead;
  Entry->BackLink              = ListHead->BackLink;
  Entry->BackLink->ForwardLink = Entry;
  ListHead->BackLink           = Entry;
  return ListHead;
}

LIST_ENTRY *
EFIAPI
GetFirstNode (
  IN CONST LIST_ENTRY *List
  )
{
  return List->ForwardLink;
}

LIST_ENTRY *
EFIAPI
GetNextNode (
  IN CONST LIST_ENTRY *List,
  IN CONST LIST_ENTRY *Node
  )
{
  (VOID)List;
  return Node->ForwardLink;
}

BOOLEAN
EFIAPI
IsListEmpty (
  IN CONST LIST_ENTRY *ListHead
  )
{
  return (BOOLEAN)(ListHead->ForwardLink == ListHead);
}

BOOLEAN
EFIAPI
IsNull (
  IN CONST LIST_ENTRY *List,
  IN CONST LIST_ENTRY *Node
  )
{
  return (BOOLEAN)(Node == List);
}

// Unlinks Entry from its neighbours (Entry's own links are left as they
// were) and returns the node that followed it.
LIST_ENTRY *
EFIAPI
RemoveEntryList (
  IN CONST LIST_ENTRY *Entry
  )
{
  Entry->ForwardLink->BackLink = Entry->BackLink;
  Entry->BackLink->ForwardLink = Entry->ForwardLink;
  return Entry->ForwardLink;
}

UINTN
EFIAPI
GetListLength (
  IN CONST LIST_ENTRY *ListHead
  )
{
  UINTN  Count;

  Count = 0;
  for (CONST LIST_ENTRY *Node = ListHead->ForwardLink; Node != ListHead; Node = Node->ForwardLink) {
    Count++;
  }

  return Count;
}
