// The source of the kernels, included once by the file of each processor level.
//
// Everything here has internal linkage and nothing of the standard library is instantiated: code
// compiled for a newer processor must not be shared with the rest of the library by the linker.
#pragma once

#include <immintrin.h>

#include "knn/kernels/neighbour_kernel.h"

namespace {

using qrvml::FilterChunk;
using qrvml::FilterQuery;
using qrvml::FilterShape;
using qrvml::FilterTerm;
using qrvml::kBoxGroup;
using qrvml::kLanes;
using qrvml::kTile;

#if defined(__AVX512F__)
using Vector = __m512;
constexpr int kWidth = 16;
constexpr int kVectors = 3;  // vectors of prototypes in a register tile
inline Vector Load(const float* p) { return _mm512_loadu_ps(p); }
inline void Store(float* p, Vector v) { _mm512_storeu_ps(p, v); }
inline Vector Spread(float x) { return _mm512_set1_ps(x); }
// The unmasked forms make g++ 12 warn about its own header.
inline Vector Greater(Vector a, Vector b) { return _mm512_maskz_max_ps(0xFFFF, a, b); }
inline Vector Smaller(Vector a, Vector b) { return _mm512_maskz_min_ps(0xFFFF, a, b); }
inline Vector Absolute(Vector a) { return _mm512_abs_ps(a); }
inline Vector AddSquare(Vector sum, Vector t) { return _mm512_fmadd_ps(t, t, sum); }
inline Vector WhereDifferent(Vector a, Vector b, Vector x) {
  return _mm512_maskz_mov_ps(_mm512_cmp_ps_mask(a, b, _CMP_NEQ_UQ), x);
}
inline Vector WhereOutside(Vector low, Vector high, Vector a, Vector x) {
  return _mm512_maskz_mov_ps(
      _mm512_cmp_ps_mask(a, low, _CMP_LT_OQ) | _mm512_cmp_ps_mask(a, high, _CMP_GT_OQ), x);
}
inline unsigned NotAbove(Vector a, Vector limit) {
  return _mm512_cmp_ps_mask(a, limit, _CMP_LE_OQ);
}
using Words = __m512i;
inline Words LoadWords(const float* p) { return _mm512_loadu_si512(p); }
inline Words SpreadWord(std::int32_t x) { return _mm512_set1_epi32(x); }
inline Words Plus(Words a, Words b) { return _mm512_add_epi32(a, b); }
inline Words MinusProducts(Words sum, Words a, Words b) {
  return _mm512_sub_epi32(sum, _mm512_madd_epi16(a, b));
}
inline Words Bits(Vector a) { return _mm512_castps_si512(a); }
inline Vector BitsOfVector(Words a) { return _mm512_castsi512_ps(a); }
inline Vector Numbers(Words a) { return _mm512_maskz_cvtepi32_ps(0xFFFF, a); }
inline unsigned NotAbove(Words a, Words limit) { return _mm512_cmple_epi32_mask(a, limit); }
#elif defined(__AVX2__)
using Vector = __m256;
constexpr int kWidth = 8;
constexpr int kVectors = 2;
inline Vector Load(const float* p) { return _mm256_loadu_ps(p); }
inline void Store(float* p, Vector v) { _mm256_storeu_ps(p, v); }
inline Vector Spread(float x) { return _mm256_set1_ps(x); }
inline Vector Greater(Vector a, Vector b) { return _mm256_max_ps(a, b); }
inline Vector Smaller(Vector a, Vector b) { return _mm256_min_ps(a, b); }
inline Vector Absolute(Vector a) { return _mm256_andnot_ps(_mm256_set1_ps(-0.0F), a); }
inline Vector AddSquare(Vector sum, Vector t) { return _mm256_fmadd_ps(t, t, sum); }
inline Vector WhereDifferent(Vector a, Vector b, Vector x) {
  return _mm256_and_ps(_mm256_cmp_ps(a, b, _CMP_NEQ_UQ), x);
}
inline Vector WhereOutside(Vector low, Vector high, Vector a, Vector x) {
  return _mm256_and_ps(
      _mm256_or_ps(_mm256_cmp_ps(a, low, _CMP_LT_OQ), _mm256_cmp_ps(a, high, _CMP_GT_OQ)), x);
}
inline unsigned NotAbove(Vector a, Vector limit) {
  return unsigned(_mm256_movemask_ps(_mm256_cmp_ps(a, limit, _CMP_LE_OQ)));
}
using Words = __m256i;
inline Words LoadWords(const float* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline Words SpreadWord(std::int32_t x) { return _mm256_set1_epi32(x); }
inline Words Plus(Words a, Words b) { return _mm256_add_epi32(a, b); }
inline Words MinusProducts(Words sum, Words a, Words b) {
  return _mm256_sub_epi32(sum, _mm256_madd_epi16(a, b));
}
inline Words Bits(Vector a) { return _mm256_castps_si256(a); }
inline Vector BitsOfVector(Words a) { return _mm256_castsi256_ps(a); }
inline Vector Numbers(Words a) { return _mm256_cvtepi32_ps(a); }
inline unsigned NotAbove(Words a, Words limit) {
  return unsigned(_mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpgt_epi32(a, limit)))) ^ 0xFFU;
}
#else
using Vector = __m128;
constexpr int kWidth = 4;
constexpr int kVectors = 2;
inline Vector Load(const float* p) { return _mm_loadu_ps(p); }
inline void Store(float* p, Vector v) { _mm_storeu_ps(p, v); }
inline Vector Spread(float x) { return _mm_set1_ps(x); }
inline Vector Greater(Vector a, Vector b) { return _mm_max_ps(a, b); }
inline Vector Smaller(Vector a, Vector b) { return _mm_min_ps(a, b); }
inline Vector Absolute(Vector a) { return _mm_andnot_ps(_mm_set1_ps(-0.0F), a); }
inline Vector AddSquare(Vector sum, Vector t) { return sum + t * t; }
inline Vector WhereDifferent(Vector a, Vector b, Vector x) {
  return _mm_and_ps(_mm_cmpneq_ps(a, b), x);
}
inline Vector WhereOutside(Vector low, Vector high, Vector a, Vector x) {
  return _mm_and_ps(_mm_or_ps(_mm_cmplt_ps(a, low), _mm_cmpgt_ps(a, high)), x);
}
inline unsigned NotAbove(Vector a, Vector limit) {
  return unsigned(_mm_movemask_ps(_mm_cmple_ps(a, limit)));
}
using Words = __m128i;
inline Words LoadWords(const float* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline Words SpreadWord(std::int32_t x) { return _mm_set1_epi32(x); }
inline Words Plus(Words a, Words b) { return _mm_add_epi32(a, b); }
inline Words MinusProducts(Words sum, Words a, Words b) {
  return _mm_sub_epi32(sum, _mm_madd_epi16(a, b));
}
inline Words Bits(Vector a) { return _mm_castps_si128(a); }
inline Vector BitsOfVector(Words a) { return _mm_castsi128_ps(a); }
inline Vector Numbers(Words a) { return _mm_cvtepi32_ps(a); }
inline unsigned NotAbove(Words a, Words limit) {
  return unsigned(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(a, limit)))) ^ 0xFU;
}
#endif

template <FilterTerm term>
inline Vector Accumulate(Vector sum, Vector difference) {
  if constexpr (term == FilterTerm::square || term == FilterTerm::grid) {
    return AddSquare(sum, difference);
  }
  if constexpr (term == FilterTerm::absolute) return sum + Absolute(difference);
  return Greater(sum, Absolute(difference));
}

template <FilterTerm term>
inline Vector AccumulateMismatch(Vector sum, Vector mismatch) {
  if constexpr (term == FilterTerm::maximum) return Greater(sum, mismatch);
  return sum + mismatch;
}

#if defined(__AVX512F__)
// Compressing in a register and storing it whole: compressing stores are slow on some processors.
inline void Append(FilterQuery& query, Vector values, unsigned lanes, __m512i positions) {
  _mm512_storeu_ps(query.value + query.candidates,
                   _mm512_maskz_compress_ps(__mmask16(lanes), values));
  _mm512_storeu_si512(query.position + query.candidates,
                      _mm512_maskz_compress_epi32(__mmask16(lanes), positions));
  query.candidates += __builtin_popcount(lanes);
}
#endif

/// Appends the lanes of `values` that are set in `lanes`; `position` is the first lane's.
inline void Append(FilterQuery& query, Vector values, unsigned lanes, std::int32_t position) {
#if defined(__AVX512F__)
  Append(query, values, lanes,
         _mm512_add_epi32(_mm512_set1_epi32(position),
                          _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)));
#else
  alignas(64) float lane[kWidth];
  Store(lane, values);
  for (; lanes != 0; lanes &= lanes - 1) {
    const int i = __builtin_ctz(lanes);
    query.value[query.candidates] = lane[i];
    query.position[query.candidates] = position + i;
    ++query.candidates;
  }
#endif
}

void Keep(FilterQuery& query, std::int32_t to, std::int32_t from, float limit) {
  const std::int32_t count = query.candidates;
  query.candidates = to;
#if defined(__AVX512F__)
  for (std::int32_t c = from; c < count; c += kWidth) {
    const Vector values = Load(query.value + c);
    const unsigned known = count - c >= kWidth ? 0xFFFFU : (1U << (count - c)) - 1U;
    Append(query, values, NotAbove(values, Spread(limit)) & known,
           _mm512_loadu_si512(query.position + c));
  }
#else
  for (std::int32_t c = from; c < count; ++c) {
    const float value = query.value[c];
    query.value[query.candidates] = value;
    query.position[query.candidates] = query.position[c];
    query.candidates += value <= limit ? 1 : 0;
  }
#endif
}

inline std::int32_t CountNotAbove(const float* values, std::int32_t count, float limit) {
  const Vector bound = Spread(limit);
  std::int32_t below = 0;
  std::int32_t c = 0;
  for (; c + kWidth <= count; c += kWidth) {
    below += __builtin_popcount(NotAbove(Load(values + c), bound));
  }
  if (c < count) {
    const unsigned known = (1U << (count - c)) - 1U;
    below += __builtin_popcount(NotAbove(Load(values + c), bound) & known);
  }
  return below;
}

// Bisects the bit patterns, which are ordered like the values, without a branch on any value.
float Select(const float* values, std::int32_t count, std::int32_t rank, std::int32_t slack) {
  float low = values[0];
  float high = values[0];
  for (std::int32_t c = 1; c < count; ++c) {
    low = values[c] < low ? values[c] : low;
    high = values[c] > high ? values[c] : high;
  }
  std::int32_t below = __builtin_bit_cast(std::int32_t, low) - 1;  // fewer than rank up to here
  std::int32_t enough = __builtin_bit_cast(std::int32_t, high);
  while (enough - below > 1) {
    const std::int32_t middle = below + (enough - below) / 2;
    const std::int32_t reached = CountNotAbove(values, count, __builtin_bit_cast(float, middle));
    if (reached < rank) {
      below = middle;
    } else {
      enough = middle;
      if (reached <= rank + slack) break;
    }
  }
  return __builtin_bit_cast(float, enough);
}

/// One block against `count` of the queries.
template <FilterTerm term, int count>
void Tile(const FilterShape& shape, const float* block, FilterQuery* const* queries,
          std::int32_t position) {
  const float* inputs[count];
  for (int q = 0; q < count; ++q) inputs[q] = queries[q]->inputs;

  for (int first = 0; first < kLanes; first += kVectors * kWidth) {
    Vector sum[count][kVectors];
#pragma GCC unroll 8
    for (int q = 0; q < count; ++q) {
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) sum[q][v] = Spread(0.0F);
    }
    const float* lanes = block + first;
    std::int32_t i = 0;
    for (; i < shape.continuous; ++i, lanes += kLanes) {
      Vector prototype[kVectors];
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) prototype[v] = Load(lanes + v * kWidth);
#pragma GCC unroll 8
      for (int q = 0; q < count; ++q) {
        const Vector query = Spread(inputs[q][i]);
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) {
          sum[q][v] = Accumulate<term>(sum[q][v], prototype[v] - query);
        }
      }
    }
    const Vector mismatch = Spread(shape.mismatch);
    for (; i < shape.continuous + shape.categorical; ++i, lanes += kLanes) {
      Vector prototype[kVectors];
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) prototype[v] = Load(lanes + v * kWidth);
#pragma GCC unroll 8
      for (int q = 0; q < count; ++q) {
        const Vector query = Spread(inputs[q][i]);
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) {
          sum[q][v] =
              AccumulateMismatch<term>(sum[q][v], WhereDifferent(prototype[v], query, mismatch));
        }
      }
    }
#pragma GCC unroll 8
    for (int q = 0; q < count; ++q) {
      const Vector limit = Spread(queries[q]->limit);
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) {
        const unsigned near = NotAbove(sum[q][v], limit);
        if (__builtin_expect(near != 0, 0)) {
          Append(*queries[q], sum[q][v], near, position + first + v * kWidth);
        }
      }
    }
  }
}

/// The same on a grid.
template <int count>
void GridTile(const FilterShape& shape, const float* block, FilterQuery* const* queries,
              std::int32_t position) {
  const std::int32_t* pairs[count];
  for (int q = 0; q < count; ++q) pairs[q] = queries[q]->pairs;

  for (int first = 0; first < kLanes; first += kVectors * kWidth) {
    const float* lanes = block + first;
    Words sum[count][kVectors];
#pragma GCC unroll 8
    for (int v = 0; v < kVectors; ++v) {
      const Words halfSquare = LoadWords(lanes + v * kWidth);
#pragma GCC unroll 8
      for (int q = 0; q < count; ++q) sum[q][v] = halfSquare;
    }
    lanes += kLanes;
    const std::int32_t words = (shape.continuous + 1) / 2;
    for (std::int32_t w = 0; w < words; ++w, lanes += kLanes) {
      Words prototype[kVectors];
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) prototype[v] = LoadWords(lanes + v * kWidth);
#pragma GCC unroll 8
      for (int q = 0; q < count; ++q) {
        const Words query = SpreadWord(pairs[q][w]);
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) {
          sum[q][v] = MinusProducts(sum[q][v], prototype[v], query);
        }
      }
    }
    const Vector mismatch = BitsOfVector(SpreadWord(shape.halfMismatch));
    for (std::int32_t i = 0; i < shape.categorical; ++i, lanes += kLanes) {
#pragma GCC unroll 8
      for (int q = 0; q < count; ++q) {
        const Vector query = Spread(queries[q]->inputs[shape.continuous + i]);
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) {
          const Vector different = WhereDifferent(Load(lanes + v * kWidth), query, mismatch);
          sum[q][v] = Plus(sum[q][v], Bits(different));
        }
      }
    }
#pragma GCC unroll 8
    for (int q = 0; q < count; ++q) {
      // sum + halfSquare <= limit / 2, with one more for rounding.
      const double room = double(queries[q]->limit) / 2 - queries[q]->halfSquare + 1;
      const Words limit = SpreadWord(room < 0x7FFFFFFF ? std::int32_t(room) : 0x7FFFFFFF);
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) {
        const unsigned near = NotAbove(sum[q][v], limit);
        if (__builtin_expect(near != 0, 0)) {
          const Vector half = Numbers(Plus(sum[q][v], SpreadWord(queries[q]->halfSquare)));
          // Rounding down may have made it -1; Select needs values >= 0.
          const Vector values = Greater(half + half, Spread(0.0F));
          Append(*queries[q], values, near, position + first + v * kWidth);
        }
      }
    }
  }
}

// The terms are those of Tile, so the same bound of rounding holds: a box whose bound is above the
// limit holds no prototype that has to be kept.
template <FilterTerm term>
void Bound(const FilterShape& shape, const float* group, const float* query, float* bounds) {
  constexpr int kParts = kBoxGroup / kWidth;
  Vector sum[kParts];
  for (int v = 0; v < kParts; ++v) sum[v] = Spread(0.0F);
  std::int32_t i = 0;
  for (; i < shape.continuous; ++i, group += 2 * kBoxGroup) {
    const Vector x = Spread(query[i]);
#pragma GCC unroll 8
    for (int v = 0; v < kParts; ++v) {
      const Vector below = Load(group + v * kWidth) - x;
      const Vector above = x - Load(group + kBoxGroup + v * kWidth);
      sum[v] = Accumulate<term>(sum[v], Greater(Greater(below, above), Spread(0.0F)));
    }
  }
  const Vector mismatch = Spread(shape.mismatch);
  for (; i < shape.continuous + shape.categorical; ++i, group += 2 * kBoxGroup) {
    const Vector x = Spread(query[i]);
#pragma GCC unroll 8
    for (int v = 0; v < kParts; ++v) {
      const Vector outside =
          WhereOutside(Load(group + v * kWidth), Load(group + kBoxGroup + v * kWidth), x, mismatch);
      sum[v] = AccumulateMismatch<term>(sum[v], outside);
    }
  }
  for (int v = 0; v < kParts; ++v) Store(bounds + v * kWidth, sum[v]);
}

template <FilterTerm term, int count>
constexpr auto TileOf() {
  if constexpr (term == FilterTerm::grid) {
    return GridTile<count>;
  } else {
    return Tile<term, count>;
  }
}

template <FilterTerm term>
int Scan(const FilterShape& shape, const FilterChunk& chunk, FilterQuery* queries, int firstBlock,
         std::int64_t* wanted) {
  static constexpr decltype(TileOf<term, 1>()) kTiles[kTile] = {
      TileOf<term, 1>(), TileOf<term, 2>(), TileOf<term, 3>(),
      TileOf<term, 4>(), TileOf<term, 5>(), TileOf<term, 6>()};
  static_assert(kBoxGroup == qrvml::kChunkBlocks);

  unsigned blocks[kTile];  // per query, bit b: block b may hold a survivor
  const unsigned all = (1U << chunk.blockCount) - 1U;
  for (int q = 0; q < kTile; ++q) {
    blocks[q] = queries[q].limit >= 0.0F ? all : 0U;
    if (blocks[q] == 0U || chunk.boxes == nullptr) continue;
    alignas(64) float bounds[kBoxGroup];
    Bound<term>(shape, chunk.boxes, queries[q].inputs, bounds);
    const Vector limit = Spread(queries[q].limit);
    unsigned near = 0;
    for (int v = 0; v < kBoxGroup; v += kWidth) near |= NotAbove(Load(bounds + v), limit) << v;
    blocks[q] &= near;
  }

  const std::int64_t blockSize = std::int64_t(shape.blockRows) * kLanes;
  for (int b = firstBlock; b < chunk.blockCount; ++b) {
    FilterQuery* active[kTile];
    int count = 0;
    for (int q = 0; q < kTile; ++q) {
      active[count] = &queries[q];
      count += int((blocks[q] >> b) & 1U);
    }
    if (count == 0) continue;
    *wanted += count;
    kTiles[count - 1](shape, chunk.blocks + b * blockSize, active, chunk.position + b * kLanes);
    bool full = false;
    for (int q = 0; q < count; ++q) full |= active[q]->candidates >= active[q]->full;
    if (full) return b + 1;
  }
  return chunk.blockCount;
}

void Enclose(std::int32_t inputs, const float* block, float* smallest, float* largest) {
  for (std::int32_t i = 0; i < inputs; ++i, block += kLanes) {
    Vector low = Load(block);
    Vector high = low;
    for (int lane = kWidth; lane < kLanes; lane += kWidth) {
      low = Smaller(low, Load(block + lane));
      high = Greater(high, Load(block + lane));
    }
    alignas(64) float lows[kWidth];
    alignas(64) float highs[kWidth];
    Store(lows, low);
    Store(highs, high);
    smallest[i] = lows[0];
    largest[i] = highs[0];
    for (int lane = 1; lane < kWidth; ++lane) {
      smallest[i] = lows[lane] < smallest[i] ? lows[lane] : smallest[i];
      largest[i] = highs[lane] > largest[i] ? highs[lane] : largest[i];
    }
  }
}

constexpr qrvml::NeighbourKernel MakeKernel(int level) {
  return {level,
          {Scan<FilterTerm::square>, Scan<FilterTerm::absolute>, Scan<FilterTerm::maximum>,
           Scan<FilterTerm::grid>},
          {Bound<FilterTerm::square>, Bound<FilterTerm::absolute>, Bound<FilterTerm::maximum>,
           Bound<FilterTerm::grid>},
          Select,
          Keep,
          Enclose};
}

}  // namespace
