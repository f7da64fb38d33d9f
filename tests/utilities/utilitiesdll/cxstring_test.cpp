// CXString: sharing, text operations and 8-bit conversion.
#include "utilities/utilitiesdll/cxstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "support/bytes.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/crc32.h"

namespace {

CXString Text(const WChar* text) {
    return text;
}

const WChar* Characters(const CXString& text) {
    return text;
}

TEST(CXStringTest, CopyIsSharedUntilOneSideIsModified) {
    const CXString original(NV_TEXT("abc"));
    CXString copy(original);
    CXString third;
    third = copy;
    EXPECT_EQ(original.GetData()->refs, 3);
    EXPECT_EQ(Characters(copy), Characters(original));

    copy.SetAt(1, NV_TEXT('x'));
    EXPECT_EQ(copy, NV_TEXT("axc"));
    EXPECT_EQ(original, NV_TEXT("abc"));
    EXPECT_EQ(third, NV_TEXT("abc"));
    EXPECT_EQ(original.GetData()->refs, 2);
}

TEST(CXStringTest, EveryModificationLeavesCopiesAlone) {
    const std::vector<std::pair<const char*, void (*)(CXString&)>> modifications = {
        {"+=", [](CXString& text) { text += NV_TEXT("x"); }},
        {"=", [](CXString& text) { text = NV_TEXT("x"); }},
        {"= narrow", [](CXString& text) { text = "x"; }},
        {"Empty", [](CXString& text) { text.Empty(); }},
        {"MakeUpper", [](CXString& text) { text.MakeUpper(); }},
        {"MakeLower", [](CXString& text) { text.MakeLower(); }},
        {"MakeReverse", [](CXString& text) { text.MakeReverse(); }},
        {"Replace character", [](CXString& text) { text.Replace(NV_TEXT('b'), NV_TEXT('x')); }},
        {"Replace text", [](CXString& text) { text.Replace(NV_TEXT("b"), NV_TEXT("xyz")); }},
        {"Remove", [](CXString& text) { text.Remove(NV_TEXT('b')); }},
        {"Insert", [](CXString& text) { text.Insert(1, NV_TEXT("x")); }},
        {"Delete", [](CXString& text) { text.Delete(1); }},
        {"TrimLeft", [](CXString& text) { text.TrimLeft(); }},
        {"TrimRight", [](CXString& text) { text.TrimRight(); }},
        {"GetBuffer", [](CXString& text) { text.GetBuffer(1)[0] = NV_TEXT('x'); }},
        {"GetBufferSetLength", [](CXString& text) { text.GetBufferSetLength(1); }},
        {"ReleaseBuffer", [](CXString& text) { text.ReleaseBuffer(1); }},
        {"LockBuffer", [](CXString& text) { text.LockBuffer()[0] = NV_TEXT('x'); }},
        {"Format", [](CXString& text) { text.Format(NV_TEXT("%d"), 1); }},
    };
    for (const auto& [name, modify] : modifications) {
        CXString text(NV_TEXT(" aBc "));
        const CXString copy(text);
        modify(text);
        EXPECT_EQ(copy, NV_TEXT(" aBc ")) << name;
    }
}

TEST(CXStringTest, LockedBufferIsNotShared) {
    CXString text(NV_TEXT("abc"));
    const WChar* locked = text.LockBuffer();
    const CXString copy(text);
    EXPECT_NE(Characters(copy), locked);
    text = Text(NV_TEXT("xy"));
    EXPECT_EQ(Characters(text), locked);
    EXPECT_EQ(copy, NV_TEXT("abc"));

    text.UnlockBuffer();
    const CXString sharer(text);
    EXPECT_EQ(Characters(sharer), locked);
}

TEST(CXStringTest, ConstructorsAcceptNullAndNegativeCounts) {
    const WChar* const noText = nullptr;
    const char* const noNarrowText = nullptr;
    for (const CXString& text :
         {CXString(noText), CXString(noNarrowText), CXString(noText, 5), CXString(noNarrowText, 5),
          CXString(NV_TEXT("abc"), -1), CXString("abc", -1), CXString(NV_TEXT('x'), -1), CXString() + noText})
        EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(CXString(NV_TEXT('x'), 3), NV_TEXT("xxx"));
    EXPECT_EQ(CXString(NV_TEXT("a\0b"), 3).GetLength(), 3);
}

TEST(CXStringTest, TextMayBeItsOwnArgument) {
    CXString text(NV_TEXT("bc"));
    text = NV_TEXT('a') + text;
    const CXString& same = text;
    text = same;
    text += same;
    EXPECT_EQ(text, NV_TEXT("abcabc"));
    text = Characters(text) + 2;
    EXPECT_EQ(text, NV_TEXT("cabc"));
    text.Insert(1, Characters(text) + 2);
    EXPECT_EQ(text, NV_TEXT("cbcabc"));
    text.Replace(Characters(text) + 5, text);
    EXPECT_EQ(text, NV_TEXT("cbcabcbcbcabcabcbcabc"));
    text.TrimRight(text);
    EXPECT_TRUE(text.IsEmpty());

    CXString roomy(NV_TEXT("abcdef"));
    roomy.GetBuffer(100);
    roomy.ReleaseBuffer();
    roomy.Insert(2, Characters(roomy) + 1);
    EXPECT_EQ(roomy, NV_TEXT("abbcdefcdef"));
    roomy += Characters(roomy) + 9;
    EXPECT_EQ(roomy, NV_TEXT("abbcdefcdefef"));
}

TEST(CXStringTest, TooLongTextIsOutOfMemory) {
    CXString text(NV_TEXT("abc"));
    EXPECT_THROW(text.GetBuffer(INT_MAX), ExceptionOutOfMemory);
    EXPECT_THROW(text.GetBufferSetLength(CXString::maxLength + 1), ExceptionOutOfMemory);
    EXPECT_THROW(CXString(NV_TEXT('x'), INT_MAX), ExceptionOutOfMemory);
    CXString many(NV_TEXT('x'), 100000);
    const CXString replacement(NV_TEXT('y'), 100000);
    EXPECT_THROW(many.Replace(NV_TEXT("x"), replacement), ExceptionOutOfMemory);
    EXPECT_EQ(text, NV_TEXT("abc"));
}

TEST(CXStringTest, AppendingPieceByPieceGrowsSeldom) {
    CXString text;
    int moves = 0;
    for (int i = 0; i < 10000; ++i) {
        const WChar* before = text;
        text += NV_TEXT('x');
        moves += Characters(text) != before ? 1 : 0;
    }
    EXPECT_EQ(text.GetLength(), 10000);
    EXPECT_LT(moves, 40);
}

TEST(CXStringTest, ComparesCodeUnits) {
    EXPECT_LT(Text(NV_TEXT("ab")).Compare(NV_TEXT("b")), 0);
    EXPECT_GT(Text(NV_TEXT("a")).Compare(NV_TEXT("A")), 0);
    EXPECT_GT(Text(NV_TEXT("ab")).Compare(NV_TEXT("a")), 0);
    EXPECT_GT(Text(NV_TEXT("\xFFFD")).Compare(NV_TEXT("\xD800")), 0);
    EXPECT_EQ(Text(NV_TEXT("")).Compare(nullptr), 0);
    EXPECT_EQ(Text(NV_TEXT("ab")).compare(NV_TEXT("ab")), 0);

    const CXString embedded(NV_TEXT("a\0b"), 3);
    EXPECT_EQ(embedded.Compare(NV_TEXT("a")), 0);
    EXPECT_GT(embedded.Compare(Text(NV_TEXT("a"))), 0);
    EXPECT_NE(embedded, CXString(NV_TEXT("a\0c"), 3));

    EXPECT_EQ(Text(NV_TEXT("Letter")).CompareNoCase(NV_TEXT("lETTER")), 0);
    EXPECT_LT(Text(NV_TEXT("Letter")).CompareNoCase(NV_TEXT("lettera")), 0);
    EXPECT_GT(Text(NV_TEXT("a")).CompareNoCase(nullptr), 0);
}

TEST(CXStringTest, TakesParts) {
    const CXString text(NV_TEXT("abcde"));
    EXPECT_EQ(text.Mid(3, 10), NV_TEXT("de"));
    EXPECT_EQ(text.Mid(7, 1), NV_TEXT(""));
    EXPECT_EQ(text.Mid(-1, 2), NV_TEXT("ab"));
    EXPECT_EQ(text.Mid(1, -1), NV_TEXT(""));
    EXPECT_EQ(text.Mid(2, INT_MAX), NV_TEXT("cde"));
    EXPECT_EQ(text.Mid(INT_MAX, INT_MAX), NV_TEXT(""));
    EXPECT_EQ(text.Mid(2), NV_TEXT("cde"));
    EXPECT_EQ(text.Left(2), NV_TEXT("ab"));
    EXPECT_EQ(text.Right(2), NV_TEXT("de"));
    EXPECT_EQ(text.Right(INT_MIN), NV_TEXT(""));
    EXPECT_EQ(Characters(text.Mid(0, 5)), Characters(text));
    EXPECT_EQ(text.SpanIncluding(NV_TEXT("cab")), NV_TEXT("abc"));
    EXPECT_EQ(text.SpanExcluding(NV_TEXT("dc")), NV_TEXT("ab"));
    EXPECT_EQ(text.SpanIncluding(nullptr), NV_TEXT(""));
    EXPECT_EQ(text.SpanExcluding(nullptr), text);
}

TEST(CXStringTest, PositionsOutsideReadAsZeroAndAreNotWritten) {
    CXString text(NV_TEXT("abc"));
    for (const int position : {-1, INT_MIN, 3, 4, INT_MAX}) {
        EXPECT_EQ(text[position], 0) << position;
        text.SetAt(position, NV_TEXT('x'));
    }
    EXPECT_EQ(text, NV_TEXT("abc"));
}

TEST(CXStringTest, ChangesInPlace) {
    CXString text(NV_TEXT("one two one"));
    EXPECT_EQ(text.Replace(NV_TEXT("one"), NV_TEXT("three")), 2);
    EXPECT_EQ(text, NV_TEXT("three two three"));
    EXPECT_EQ(text.Replace(NV_TEXT("three"), nullptr), 2);
    EXPECT_EQ(text, NV_TEXT(" two "));
    EXPECT_EQ(text.Replace(NV_TEXT(""), NV_TEXT("x")), 0);
    EXPECT_EQ(text.Replace(NV_TEXT('t'), NV_TEXT('T')), 1);
    EXPECT_EQ(text.Remove(NV_TEXT(' ')), 2);
    EXPECT_EQ(text, NV_TEXT("Two"));
    EXPECT_EQ(text.Insert(-5, NV_TEXT('<')), 4);
    EXPECT_EQ(text.Insert(99, NV_TEXT(">")), 5);
    EXPECT_EQ(text, NV_TEXT("<Two>"));
    EXPECT_EQ(text.Delete(1, INT_MAX), 1);
    EXPECT_EQ(text.Delete(-3, -3), 1);
    EXPECT_EQ(text, NV_TEXT("<"));
    text = NV_TEXT("aBc\x00E4");
    text.MakeUpper();
    EXPECT_EQ(text.Left(3), NV_TEXT("ABC"));
    text.MakeReverse();
    EXPECT_EQ(text.Right(3), NV_TEXT("CBA"));
    EXPECT_EQ(Text(NV_TEXT("aaa")).Replace(NV_TEXT("aa"), NV_TEXT("b")), 1);
}

TEST(CXStringTest, TrimsWhiteSpaceCharactersAndSets) {
    const auto trimmed = [](auto... what) {
        CXString text(NV_TEXT("\t \x00A0xx yx \x3000\r\n"));
        text.TrimLeft();
        text.TrimRight();
        text.TrimLeft(what...);
        text.TrimRight(what...);
        return text;
    };
    EXPECT_EQ(trimmed(), NV_TEXT("xx yx"));
    EXPECT_EQ(trimmed(NV_TEXT('x')), NV_TEXT(" y"));
    EXPECT_EQ(trimmed(NV_TEXT(" x")), NV_TEXT("y"));
    EXPECT_EQ(trimmed(NV_TEXT("xy ")), NV_TEXT(""));
    EXPECT_EQ(trimmed(static_cast<const WChar*>(nullptr)), NV_TEXT("xx yx"));
}

TEST(CXStringTest, Finds) {
    const CXString text(NV_TEXT("abcabc"));
    EXPECT_EQ(text.Find(NV_TEXT('c')), 2);
    EXPECT_EQ(text.Find(NV_TEXT('c'), 3), 5);
    EXPECT_EQ(text.Find(NV_TEXT('c'), 6), -1);
    EXPECT_EQ(text.Find(NV_TEXT('a'), -9), 0);
    EXPECT_EQ(text.Find(NV_TEXT("ca")), 2);
    EXPECT_EQ(text.Find(NV_TEXT("bc"), 2), 4);
    EXPECT_EQ(text.Find(NV_TEXT("bc"), INT_MAX), -1);
    EXPECT_EQ(text.Find(static_cast<const WChar*>(nullptr), 3), 3);
    EXPECT_EQ(text.ReverseFind(NV_TEXT('b')), 4);
    EXPECT_EQ(text.ReverseFind(NV_TEXT('x')), -1);
}

TEST(CXStringTest, TellsBlankAndNumericText) {
    EXPECT_TRUE(CXString().IsBlank());
    EXPECT_TRUE(Text(NV_TEXT("  ")).IsBlank());
    EXPECT_FALSE(Text(NV_TEXT(" \t")).IsBlank());
    EXPECT_FALSE(Text(NV_TEXT(" x")).IsBlank());
    EXPECT_TRUE(CXString(NV_TEXT(" \0x"), 3).IsBlank());
    EXPECT_FALSE(CXString().IsContainNumericCharsOnly());
    EXPECT_TRUE(Text(NV_TEXT("0129")).IsContainNumericCharsOnly());
    EXPECT_FALSE(Text(NV_TEXT("12.5")).IsContainNumericCharsOnly());
    EXPECT_FALSE(Text(NV_TEXT("1\x0661")).IsContainNumericCharsOnly());
}

TEST(CXStringTest, TokenizeKeepsEmptyPiecesAndTheText) {
    const CXString text(NV_TEXT("a,,b,"));
    const CXString copy(text);
    const std::vector<CXString> expected = {NV_TEXT("a"), NV_TEXT(""), NV_TEXT("b"), NV_TEXT("")};
    EXPECT_EQ(text.Tokenize(NV_TEXT(',')), expected);
    EXPECT_EQ(copy, NV_TEXT("a,,b,"));
    EXPECT_EQ(CXString().Tokenize(NV_TEXT(',')), std::vector<CXString>(1));
    EXPECT_EQ(text.Tokenize(NV_TEXT(';')), std::vector<CXString>(1, text));
}

TEST(CXStringTest, GivesDirectAccessToTheBuffer) {
    CXString text(NV_TEXT("abc"));
    const WChar* before = text;
    EXPECT_EQ(text.GetBuffer(2), before);
    WChar* buffer = text.GetBuffer(10);
    EXPECT_EQ(text.GetAllocLength(), 10);
    EXPECT_EQ(Text(buffer), NV_TEXT("abc"));
    buffer[3] = NV_TEXT('d');
    buffer[4] = 0;
    text.ReleaseBuffer();
    EXPECT_EQ(text, NV_TEXT("abcd"));
    text.ReleaseBuffer(99);
    EXPECT_EQ(text.GetLength(), 10);
    text.ReleaseBuffer(2);
    text.FreeExtra();
    EXPECT_EQ(text, NV_TEXT("ab"));
    EXPECT_EQ(text.GetAllocLength(), 2);

    CXString empty;
    empty.GetBuffer(-1)[0] = 0;
    empty.ReleaseBuffer();
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(CXString()[0], 0);
}

TEST(CXStringTest, ConvertsToTheAnsiCodePage) {
    const CXString text(NV_TEXT("abc"));
    char buffer[8] = {};
    EXPECT_EQ(text.GetAsMultiByte(nullptr, 0), 4);
    EXPECT_EQ(text.GetAsMultiByte(buffer, 4), 4);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(text.GetAsMultiByte(buffer, 3), 0);
    EXPECT_EQ(text.GetAsMultiByte(buffer, 0), 0);
    EXPECT_EQ(text.GetAsMultiByte(buffer, -1), 0);
    EXPECT_EQ(text.GetAsMultiByte(nullptr, 4), 0);
    EXPECT_EQ(CXString().GetAsMultiByte(), std::vector<char>(1));
}

// Code page 1252: the Windows build is tested where it is the system's, the native one has it by default.
TEST(CXStringTest, MapsCodePage1252BothWays) {
    const auto expect = [](const char* bytes, const WChar* text) {
        EXPECT_EQ(CXString(bytes), text);
        EXPECT_STREQ(Text(text).GetAsMultiByte().data(), bytes);
    };
    expect("\x80 \x82\x8C\x99\x9F", NV_TEXT("\x20AC \x201A\x0152\x2122\x0178"));
    expect("\xA0\xE4\xFF", NV_TEXT("\x00A0\x00E4\x00FF"));
    expect("\x81\x8D\x8F\x90\x9D", NV_TEXT("\x0081\x008D\x008F\x0090\x009D"));
    EXPECT_EQ(std::string(Text(NV_TEXT("a\x4E2D\xD83D\xDE00z")).GetAsMultiByte().data()), "a???z");
    // What the code page lacks becomes a character that looks like it, if there is one.
    EXPECT_EQ(std::string(Text(NV_TEXT("\x0141\x2010\xFF0F\x0416")).GetAsMultiByte().data()), "L-/?");
    CXString all(NV_TEXT('\1'), 0xFFFF);
    for (int unit = 1; unit <= 0xFFFF; ++unit)
        all.SetAt(unit - 1, static_cast<WChar>(unit));
    const std::vector<char> bytes = all.GetAsMultiByte();
    EXPECT_EQ(Crc32::GetCrc(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size())),
              0x5BDB4537U);
    EXPECT_EQ(CXString("a\0b", 3), CXString(NV_TEXT("a\0b"), 3));
    CXString assigned(NV_TEXT("long text before"));
    assigned = "\xE4";
    EXPECT_EQ(assigned, NV_TEXT("\x00E4"));
}

}  // namespace
