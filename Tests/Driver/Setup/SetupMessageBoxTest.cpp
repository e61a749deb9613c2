// Message boxes of the setup pages: titles, the two-choice box asked again
// until it gets a clear answer, and what is shown when strings or the
// platform's box are missing.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include "FakeHiiBox.h"
#include <Setup/CarvexSetup.h>

namespace {

// Lines of the debug log that contain Text.
size_t
CountContaining (const FakePlatform &Fake, const std::string &Text)
{
  size_t Count = 0;
  for (const LoggedLine &Line : Fake.Log) {
    Count += Line.Text.find (Text) != std::string::npos;
  }

  return Count;
}

constexpr UINT16 kMessage = 0x00B7;

struct BoxWorld {
  FakePlatform  Fake;
  FakeHiiBox    Box;

  BoxWorld ()
  {
    Box.Texts[{ "en-US", 0x0247 }]  = u"Error";
    Box.Texts[{ "en-US", 0x0248 }]  = u"Warning";
    Box.Texts[{ "en-US", 0x0249 }]  = u"Info";
    Box.Texts[{ "en-US", kMessage }] = u"All free capacity";
  }

  size_t TitleReads (UINT16 Id) const
  {
    size_t Count = 0;
    for (const auto &Read : Box.Reads) {
      Count += Read.second == Id;
    }

    return Count;
  }
};

TEST (DisplayMessageBox, AskBox_AskedAgainUntilYesOrNo)
{
  struct Case {
    const char          *Name;
    std::vector<UINT8>  Answers;
    size_t              Shown;
    UINT8               Selection;
  };
  const Case Cases[] = {
    { "YesAtOnce", { 0 }, 1, 0 },
    { "NoAtOnce", { 1 }, 1, 1 },
    { "UnclearThenNo", { 7, 0xFF, 2, 1 }, 4, 1 },
    { "UnclearThenYes", { 0xFE, 0 }, 2, 0 },
  };
  BoxWorld World;
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Name);
    World.Box.Boxes.clear ();
    World.Box.Answers = C.Answers;
    UINT8 Selection   = 0x55;
    DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_WARNING, kMessage, SETUP_MESSAGE_BOX_ASK, &Selection);
    ASSERT_EQ (World.Box.Boxes.size (), C.Shown);
    EXPECT_EQ (Selection, C.Selection);
    for (const auto &Shown : World.Box.Boxes) {
      EXPECT_EQ (Shown.BoxType, POST_MESSAGE_BOX_ASK);
      EXPECT_EQ (Shown.Title, u"Warning");
      EXPECT_EQ (Shown.Message, u"All free capacity");
    }
  }

}

TEST (DisplayMessageBox, AskBoxServiceFails_AnswerIsDoNotGoAhead)
{
  struct Case {
    const char               *Name;
    std::vector<UINT8>       Answers;
    std::vector<EFI_STATUS>  Statuses;
    size_t                   Shown;
  };
  const Case Cases[] = {
    { "FailsAtOnce", {}, { EFI_DEVICE_ERROR }, 1 },
    { "FailsAfterAnUnclearAnswer", { 7 }, { EFI_SUCCESS, EFI_NOT_READY }, 2 },
  };
  BoxWorld World;
  // Nothing to ask with at all.
  World.Box.PublishPostMessage = false;
  UINT8 Unasked = SETUP_MESSAGE_SELECTION_YES;
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_WARNING, kMessage, SETUP_MESSAGE_BOX_ASK, &Unasked);
  EXPECT_EQ (Unasked, SETUP_MESSAGE_SELECTION_NO);
  World.Box.PublishPostMessage = true;

  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Name);
    World.Box.Boxes.clear ();
    World.Box.Answers  = C.Answers;
    World.Box.Statuses = C.Statuses;
    // A caller that did not preset its selection must still read "no".
    UINT8 Selection = SETUP_MESSAGE_SELECTION_YES;
    DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_WARNING, kMessage, SETUP_MESSAGE_BOX_ASK, &Selection);
    EXPECT_EQ (World.Box.Boxes.size (), C.Shown);
    EXPECT_EQ (Selection, SETUP_MESSAGE_SELECTION_NO);
  }
}

TEST (DisplayMessageBox, MessageTypes_TitleFetchedOnceAndKept)
{
  BoxWorld World;
  struct Case {
    UINT32          Type;
    bool            HasTitle;
    std::u16string  Title;
  };
  const Case Cases[] = {
    { SETUP_MESSAGE_TYPE_ERROR, true, u"Error" },
    { SETUP_MESSAGE_TYPE_WARNING, true, u"Warning" },
    { SETUP_MESSAGE_TYPE_INFO, true, u"Info" },
    { 7, false, u"" },
    { SETUP_MESSAGE_TYPE_ERROR, true, u"Error" },
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Type);
    World.Box.Boxes.clear ();
    UINT8 Untouched = 0x33;
    DisplayMessageBox (kFakeHiiHandle, C.Type, kMessage, SETUP_MESSAGE_BOX_REPORT, &Untouched);
    ASSERT_EQ (World.Box.Boxes.size (), 1u);
    EXPECT_EQ (World.Box.Boxes[0].BoxType, POST_MESSAGE_BOX_REPORT);
    EXPECT_EQ (World.Box.Boxes[0].HasTitle, C.HasTitle);
    EXPECT_EQ (World.Box.Boxes[0].Title, C.Title);
    EXPECT_EQ (Untouched, 0x33) << "a report box returns no selection";
  }

  // Changing the text afterwards does not change a kept title.
  World.Box.Texts[{ "en-US", 0x0247 }] = u"Changed";
  World.Box.Boxes.clear ();
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_ERROR, kMessage, SETUP_MESSAGE_BOX_REPORT, nullptr);
  ASSERT_EQ (World.Box.Boxes.size (), 1u);
  EXPECT_EQ (World.Box.Boxes[0].Title, u"Error");
  EXPECT_EQ (World.TitleReads (0x0247), 1u);
  EXPECT_EQ (World.Box.PostMessageLocates, 1u) << "the protocol is located once";

  // Another box type shows nothing.
  World.Box.Boxes.clear ();
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_INFO, kMessage, 2, nullptr);
  EXPECT_TRUE (World.Box.Boxes.empty ());
  EXPECT_EQ (World.Fake.Live.size (), 3u) << "the message texts are freed, the three titles kept";
}

TEST (DisplayMessageBox, CurrentLanguageLacksText_EnglishIsUsed)
{
  BoxWorld World;
  World.Box.Languages = { "fr-FR", "en-US" };  // the first language is the current one here
  World.Box.Texts[{ "fr-FR", 0x0249 }] = u"Info (fr)";
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_INFO, kMessage, SETUP_MESSAGE_BOX_REPORT, nullptr);
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_ERROR, kMessage, SETUP_MESSAGE_BOX_REPORT, nullptr);
  ASSERT_EQ (World.Box.Boxes.size (), 2u);
  EXPECT_EQ (World.Box.Boxes[0].Title, u"Info (fr)");
  EXPECT_EQ (World.Box.Boxes[0].Message, u"All free capacity");
  EXPECT_EQ (World.Box.Boxes[1].Title, u"Error");
}

TEST (DisplayMessageBox, MissingStringsOrProtocol_ShownWithoutTitleOrNotAtAll)
{
  BoxWorld World;
  World.Box.PublishPostMessage = false;
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_INFO, kMessage, SETUP_MESSAGE_BOX_REPORT, nullptr);
  EXPECT_TRUE (World.Box.Boxes.empty ());
  EXPECT_EQ (CountContaining (World.Fake, "Fail to locate the platform POST message protocol"), 1u);

  // Located on a later call once it is there.
  World.Box.PublishPostMessage = true;
  World.Box.Texts.erase ({ "en-US", 0x0248 });
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_WARNING, kMessage, SETUP_MESSAGE_BOX_REPORT, nullptr);
  ASSERT_EQ (World.Box.Boxes.size (), 1u);
  EXPECT_FALSE (World.Box.Boxes[0].HasTitle);
  EXPECT_EQ (CountContaining (World.Fake, "Fail to get string for STR_SETUP_MSG_WARNING"), 1u);

  World.Box.Boxes.clear ();
  DisplayMessageBox (kFakeHiiHandle, SETUP_MESSAGE_TYPE_INFO, 0x0ABC, SETUP_MESSAGE_BOX_REPORT, nullptr);
  EXPECT_TRUE (World.Box.Boxes.empty ());
  EXPECT_EQ (CountContaining (World.Fake, "Fail to get string for 0x0ABC"), 1u);
}

}  // namespace
