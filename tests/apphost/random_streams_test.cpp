#include "host/random_streams.h"

#include <gtest/gtest.h>

namespace qrvml {
namespace {

TEST(SplitMix64Generator, GivesThePublishedDraws) {
  // First outputs of the reference implementation (S. Vigna, splitmix64.c) for two states.
  SplitMix64 zero(0);
  EXPECT_EQ(zero.Next(), 0xE220A8397B1DCDAFu);
  EXPECT_EQ(zero.Next(), 0x6E789E6AA1B965F4u);
  EXPECT_EQ(zero.Next(), 0x06C45D188009454Fu);
  EXPECT_EQ(zero.Next(), 0xF88BB8A8724C81ECu);
  SplitMix64 other(1234567);
  for (const std::uint64_t draw : {6457827717110365317u, 3203168211198807973u, 9817491932198370423u,
                                   4593380528125082431u, 16408922859458223821u})
    EXPECT_EQ(other.Next(), draw);
}

TEST(RandomStreams, ADrawIsTheUpper53BitsAsAFraction) {
  RandomStreams random;
  EXPECT_EQ(random.rnd_(1234567),
            static_cast<double>(6457827717110365317u >> 11) / 9007199254740992.0);
  for (int i = 0; i < 10000; ++i) {
    const double value = random.rnd_(-3);
    ASSERT_GE(value, 0.0);
    ASSERT_LT(value, 1.0);
  }
}

TEST(RandomStreams, EachSeedHasAStreamOfItsOwnUntilAllAreForgotten) {
  RandomStreams random;
  const double a1 = random.rnd_(1), a2 = random.rnd_(1);
  const double b1 = random.rnd_(2);
  const double a3 = random.rnd_(1);
  EXPECT_NE(a1, a2);
  EXPECT_NE(a1, b1);

  RandomStreams alone;
  EXPECT_EQ(alone.rnd_(1), a1);
  EXPECT_EQ(alone.rnd_(1), a2);
  EXPECT_EQ(alone.rnd_(1), a3);

  random.Forget();
  EXPECT_EQ(random.rnd_(2), b1);
  EXPECT_EQ(random.rnd_(1), a1);
}

}  // namespace
}  // namespace qrvml
