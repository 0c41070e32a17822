#include "app/find_text.h"

#include <gtest/gtest.h>

namespace zelkor::app {
namespace {

constexpr FindOptions kForwards{};
constexpr FindOptions kBackwards{.matchCase = false, .backwards = true};

void ExpectFound(const std::optional<Found>& found, std::size_t at, bool wrapped) {
  ASSERT_TRUE(found);
  EXPECT_EQ(found->at, at);
  EXPECT_EQ(found->wrapped, wrapped);
}

TEST(FindText, GoesFromPlaceToPlaceAndRound) {
  constexpr std::wstring_view kText = L"one two one";
  ExpectFound(FindText(kText, L"one", 0, 0, kForwards), 0, false);
  ExpectFound(FindText(kText, L"one", 0, 3, kForwards), 8, false);
  ExpectFound(FindText(kText, L"one", 8, 11, kForwards), 0, true);
}

TEST(FindText, GoesBackAndRound) {
  constexpr std::wstring_view kText = L"one two one";
  ExpectFound(FindText(kText, L"one", 8, 11, kBackwards), 0, false);
  ExpectFound(FindText(kText, L"one", 0, 3, kBackwards), 8, true);
  ExpectFound(FindText(kText, L"one", 5, 5, kBackwards), 0, false);
}

TEST(FindText, FindsTheOnlyPlaceAgain) {
  ExpectFound(FindText(L"a one", L"one", 2, 5, kForwards), 2, true);
  ExpectFound(FindText(L"a one", L"one", 2, 5, kBackwards), 2, true);
}

TEST(FindText, SaysWhenThereIsNone) {
  EXPECT_FALSE(FindText(L"one", L"two", 0, 0, kForwards));
  EXPECT_FALSE(FindText(L"one", L"ones", 0, 0, kBackwards));
  EXPECT_FALSE(FindText(L"", L"one", 0, 0, kForwards));
  EXPECT_FALSE(FindText(L"one", L"", 0, 0, kForwards)) << "nothing is wanted";
}

TEST(FindText, FoldsCaseAlsoOfLettersBeyondAscii) {
  ExpectFound(FindText(L"stra\x00DF"
                       L"e \x00C4pfel \x0160",
                       L"\x00E4PFEL \x0161", 0, 0, kForwards),
              7, false);
}

TEST(FindText, KeepsCaseApartOnRequest) {
  EXPECT_FALSE(FindText(L"One", L"one", 0, 0, {.matchCase = true, .backwards = false}));
  ExpectFound(FindText(L"One one", L"one", 0, 0, {.matchCase = true, .backwards = false}), 4, false);
  ExpectFound(FindText(L"one One", L"one", 4, 4, {.matchCase = true, .backwards = true}), 0, false);
}

}  // namespace
}  // namespace zelkor::app
