// TextResourceLoader: the built-in texts.
#include "utilities/utilitiesdll/textresourceloader.h"

#include <gtest/gtest.h>

#include "support/bytes.h"

namespace {

TEST(TextResourceLoaderTest, EveryTextOfADisplayedExceptionIsThere) {
    for (unsigned id = 35003; id <= 35012; ++id)
        EXPECT_FALSE(TextResourceLoader::GetText(id).IsEmpty()) << id;
    EXPECT_EQ(TextResourceLoader::GetText(34606), NV_TEXT("."));
    EXPECT_EQ(TextResourceLoader::GetText(34607), NV_TEXT(","));
}

TEST(TextResourceLoaderTest, UnknownIdentifierEmptiesTheText) {
    for (const unsigned id : {0U, 34605U, 35002U, 35013U, 0xFFFFFFFFU}) {
        CXString text(NV_TEXT("before"));
        EXPECT_FALSE(text.LoadStringW(id)) << id;
        EXPECT_TRUE(text.IsEmpty()) << id;
    }
    CXString title;
    EXPECT_TRUE(title.LoadStringW(35003));
    EXPECT_EQ(title, TextResourceLoader::GetText(35003));
}

}  // namespace
