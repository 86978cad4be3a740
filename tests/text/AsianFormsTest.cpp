#include "text/AsianForms.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

using Texts = std::array<std::string_view, 5>;
using Forms = std::array<std::string, 5>;

/// The form of a title of a song that has no other text, or "none".
std::string titleForm(std::string_view title) {
  const auto forms = asianForms({title});
  return forms ? (*forms)[0] : "none";
}

TEST(AsianFormsTest, textsWithoutAsianScriptHaveNone) {
  EXPECT_EQ(asianForms({"Motörhead", "Кино", "เมด อิน", "ＡＢＣ・ー", ""}), std::nullopt);
  EXPECT_EQ(asianForms({}), std::nullopt);
  EXPECT_EQ(asianForms({"\xE4\xB8", "\xFF"}), std::nullopt);
  EXPECT_EQ(asianForms({"Título"}, {"漢字"}), std::nullopt);
  const Forms mixed{"", "yi", "", "", ""};
  EXPECT_EQ(asianForms({"Motörhead", "一", "Live", "Pop", ""}), mixed);
}

TEST(AsianFormsTest, kanaBecomeHiragana) {
  EXPECT_EQ(titleForm("スピッツ"), "すぴっつ");
  EXPECT_EQ(titleForm("MFゴースト"), "mfごーすと");
  EXPECT_EQ(titleForm("涙のキッス"), "涙のきっす");
  EXPECT_EQ(titleForm("「ﾋﾟｱﾉ･ｶﾞｰﾙ」"), "ぴあの･がーる」");
  EXPECT_EQ(titleForm("か\u3099は\u309Aう\u3099あ\u3099ヴヽ"), "がぱゔあ\u3099ゔゝ");
}

TEST(AsianFormsTest, hangulStays) {
  EXPECT_EQ(titleForm("벚꽃  엔딩"), "벚꽃 엔딩");
  EXPECT_EQ(titleForm("愛 사랑"), "愛 사랑");
  EXPECT_EQ(titleForm("\u1112\u1161\u11AB\u1100\u1173\u11AF"), "한글");
}

TEST(AsianFormsTest, chineseBecomesPinyin) {
  EXPECT_EQ(titleForm("七里香"), "qi li xiang");
  EXPECT_EQ(titleForm("周杰倫"), "zhou jie lun");
  EXPECT_EQ(titleForm("  《倔强》　Ｌｉｖｅ"), "jue qiang》 live");
  EXPECT_EQ(titleForm("A周B，我2 你"), "a zhou b, wo2 ni");
  EXPECT_EQ(titleForm("㐀ㄅ"), "㐀ㄅ");
}

TEST(AsianFormsTest, wordsAndSurnamesHaveReadingsOfTheirOwn) {
  EXPECT_EQ(titleForm("长大的音乐长城"), "zhang da de yin yue chang cheng");
  EXPECT_EQ(titleForm("重慶，银行"), "chong qing, yin hang");
  const Forms named{"gai shi", "ge shi", "", "", "zeng yi ke"};
  EXPECT_EQ(asianForms({"盖世", "盖世", "", "", "曾轶可"}), named);
  const Forms single{"", "ceng", "", "", ""};
  EXPECT_EQ(asianForms({"", "曾"}), single);
}

TEST(AsianFormsTest, oneTextTellsTheLanguageOfAll) {
  const Forms japanese{"桜", "いきものがかり", "", "", ""};
  EXPECT_EQ(asianForms({"桜", "いきものがかり", "Best"}), japanese);
  const Forms korean{"愛", "가수", "", "", ""};
  EXPECT_EQ(asianForms({"愛", "가수"}), korean);
}

TEST(AsianFormsTest, sortTagsWithAsianScriptReplaceAsianTexts) {
  const Texts texts{"桜", "米津玄師", "Lemon", "", "米津玄師"};
  const Forms sorted{"さくら", "よねづけんし", "", "", "米津玄師"};
  EXPECT_EQ(asianForms(texts, {"サクラ", "ヨネヅケンシ", "レモン", "", "Yonezu, Kenshi"}), sorted);
}

}  // namespace
}  // namespace orvel
