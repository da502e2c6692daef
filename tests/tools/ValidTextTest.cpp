// SPDX-License-Identifier: Apache-2.0
#include "tools/ValidText.h"

#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szReplaced = "\uFFFD";

TEST(ValidText, KeepsUtf8)
{
    const std::string strText = "plain \u00f1 \u96fb \U0001F4DE \U0010FFFF";
    EXPECT_EQ(validText(strText), strText);
    EXPECT_EQ(validText(""), "");
}

TEST(ValidText, KeepsTheFirstAndTheLastCharacterOfEachLength)
{
    const std::string strText = "\u0001\u007f\u00a0\u00bf\u00c0\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff";
    EXPECT_EQ(validText(strText), strText);
}

TEST(ValidText, ReplacesEachByteThatIsNone)
{
    const std::string strTwo = std::string(s_szReplaced) + s_szReplaced;
    EXPECT_EQ(validText("a\xFF"
                        "b"),
              std::string("a") + s_szReplaced + "b");
    EXPECT_EQ(validText("\xC3"), s_szReplaced) << "cut off";
    EXPECT_EQ(validText("\xC3("), std::string(s_szReplaced) + "(");
    EXPECT_EQ(validText("\xC0\xAF"), strTwo) << "longer than needed";
    EXPECT_EQ(validText("\xE0\x80\xAF"), strTwo + s_szReplaced) << "longer than needed";
    EXPECT_EQ(validText("\xED\xA0\x80"), strTwo + s_szReplaced) << "half of a surrogate pair";
    EXPECT_EQ(validText("\xF4\x90\x80\x80"), strTwo + strTwo) << "beyond Unicode";
    EXPECT_EQ(validText("\x80"), s_szReplaced);
}

TEST(ValidText, ReplacesWhatSteersText)
{
    for (const char* szText : {"\u0080", "\u0085", "\u009f"})
        EXPECT_EQ(validText(szText), s_szReplaced);
    EXPECT_EQ(validText("\u2028\u2029"), std::string(s_szReplaced) + s_szReplaced);
}

} // namespace
} // namespace Corvana::Tools
