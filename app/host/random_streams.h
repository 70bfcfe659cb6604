// The host's random numbers: one SplitMix64 stream per seed.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "host/services.h"

namespace qrvml {

/// SplitMix64 (Steele, Lea and Flood 2014, "Fast splittable pseudorandom number generators"): a
/// Weyl sequence with the golden-ratio increment, mixed by a variant of MurmurHash3's finaliser.
class SplitMix64 {
 public:
  explicit SplitMix64(std::uint64_t state) : state_(state) {}

  std::uint64_t Next() {
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }

 private:
  std::uint64_t state_;
};

/// A stream's state begins at its seed, sign-extended to 64 bits; a draw's upper 53 bits, times
/// 2^-53, are its number.
class RandomStreams final : public RandomServices {
 public:
  double rnd_(std::int32_t seed) override {
    const auto start = static_cast<std::uint64_t>(static_cast<std::int64_t>(seed));
    SplitMix64& stream = streams_.try_emplace(seed, start).first->second;
    return static_cast<double>(stream.Next() >> 11) * 0x1p-53;
  }
  /// Every seed starts its stream afresh.
  void Forget() { streams_.clear(); }

 private:
  std::unordered_map<std::int32_t, SplitMix64> streams_;
};

}  // namespace qrvml
