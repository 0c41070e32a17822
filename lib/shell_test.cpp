#include "lib/shell.h"

#include <gtest/gtest.h>

namespace zelkor::lib {
namespace {

TEST(WebAddress, GetsTheSchemeThatItLacks) { EXPECT_EQ(WebAddress("www.example.org"), "http://www.example.org"); }

TEST(WebAddress, KeepsTheSchemeThatItHas) { EXPECT_EQ(WebAddress("http://example.org"), "http://example.org"); }

TEST(WebAddress, ComparesTheSchemeWithRegardToCase) {
  EXPECT_EQ(WebAddress("HTTP://example.org"), "http://HTTP://example.org");
  EXPECT_EQ(WebAddress("https://example.org"), "http://https://example.org");
  EXPECT_EQ(WebAddress(""), "http://");
}

}  // namespace
}  // namespace zelkor::lib
