// The texts of a module beside the library override the built-in ones.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/bytes.h"
#include "utilities/utilitiesdll/number.h"
#include "utilities/utilitiesdll/textresourceloader.h"

namespace {

// The module is beside the library wherever the process goes.
class TextModule : public testing::Test {
protected:
    void SetUp() override { std::filesystem::current_path(std::filesystem::temp_directory_path()); }
};

TEST_F(TextModule, OverridesAndAddsTexts) {
    EXPECT_EQ(TextResourceLoader::GetText(35003), NV_TEXT("D\u00FCrfte nicht sein"));
    EXPECT_EQ(TextResourceLoader::GetText(40001), NV_TEXT("only in the module"));
}

TEST_F(TextModule, TextsThatItLacksAreTheBuiltInOnes) {
    EXPECT_FALSE(TextResourceLoader::GetText(35004).IsEmpty());
    CXString text(NV_TEXT("before"));
    EXPECT_FALSE(TextResourceLoader::LoadText(40002, text));
    EXPECT_TRUE(text.IsEmpty());
}

TEST_F(TextModule, NumbersHaveItsSigns) {
    constexpr double halvesUp = 0.499999;
    const CXString text = Number(-1234).GetStringValue(2, halvesUp, false, true);
    EXPECT_EQ(text, NV_TEXT("-1.234,00"));
    EXPECT_EQ(Number(text), Number(-1234));
}

}  // namespace
