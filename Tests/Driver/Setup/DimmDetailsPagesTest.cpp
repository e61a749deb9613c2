// The slot number a processor page orders its module blocks by.
#include <gtest/gtest.h>

#include <string>

#include "../FakePlatform.h"
#include <Setup/DimmDetailsPages.h>

namespace {

TEST (LocatorSlotNumber, DigitsAfterTheFifthCharacter)
{
  struct Case {
    std::u16string  Locator;
    UINT64          Number;
  };
  const Case Cases[] = {
    { u"DIMM 7",                7                 },
    { u"DIMM 12",               12                },
    { u"DIMM_  0042x9",         42                },  // blanks and zeros skipped, stops at the first other character
    { u"DIMM\t\t3",             3                 },  // tabs after the prefix count as blanks
    { u"CPU0_DIMM_A2",          0                 },  // no digit right after the prefix
    { u"DIMM ",                 0                 },
    { u"DIM",                   0                 },
    { u"",                      0                 },
    { u"DIMM 99999999999999999999999", 0xFFFFFFFFFFFFFFFFull },  // saturates instead of wrapping
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE (Utf8 (reinterpret_cast<const CHAR16 *> (C.Locator.c_str ())));
    EXPECT_EQ (LocatorSlotNumber (C.Locator.c_str (), C.Locator.size () + 1), C.Number);
  }
}

TEST (LocatorSlotNumber, FieldWithoutTerminator_ReadsOnlyItsLength)
{
  // A locator that fills its field: digits run to the end of the field and
  // what follows it is never read.
  CHAR16  Field[11] = { u'D', u'I', u'M', u'M', u' ', u'1', u'2', u'3', u'4', u'5', u'6' };

  EXPECT_EQ (LocatorSlotNumber (Field, 10), 12345u);
  EXPECT_EQ (LocatorSlotNumber (Field, 7), 12u);
}

}  // namespace
