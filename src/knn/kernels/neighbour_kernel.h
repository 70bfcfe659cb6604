// The inner loops of the nearest-prototype search: the float filter and the bounds of boxes.
//
// One source (neighbour_kernel_body.h) is compiled for three processor levels. A filter value only
// decides which prototypes are computed in double afterwards, so the levels may round it
// differently (fused or not) and the neighbours found are still the same bits.
//
// Storage. A block holds kLanes prototypes, input by input: block[input * kLanes + lane]. A chunk
// is kChunkBlocks consecutive blocks. A box is the smallest and the largest value of each input
// over the prototypes of a block or chunk; boxes are stored in groups of kBoxGroup, input by input:
// group[(2 * input + side) * kBoxGroup + box], side 0 the smallest, 1 the largest.
#pragma once

#include <cstdint>

namespace qrvml {

inline constexpr int kLanes = 48;        // prototypes of a block; a multiple of every vector length
inline constexpr int kChunkBlocks = 16;  // blocks of a chunk
inline constexpr int kChunkLanes = kLanes * kChunkBlocks;
inline constexpr int kBoxGroup = 16;          // boxes tested at once; equals kChunkBlocks
inline constexpr int kTile = 6;               // queries that share a pass over a chunk
inline constexpr int kCandidatePadding = 16;  // elements past the last candidate a kernel may touch

/// How one input's difference enters the filter value. On a grid, continuous inputs are whole
/// numbers and |p - q|^2 / 2 = |p|^2 / 2 + |q|^2 / 2 - pq is exact but for the halves, at twice the
/// speed.
enum class FilterTerm : int { square = 0, absolute = 1, maximum = 2, grid = 3 };
inline constexpr int kFilterTerms = 4;

/// The inputs of a packed case: continuous first, then categorical codes, which contribute
/// `mismatch` where they differ.
struct FilterShape {
  std::int32_t continuous = 0;
  std::int32_t categorical = 0;
  float mismatch = 0;
  std::int32_t halfMismatch = 0;  // on a grid: half of it, rounded down
  std::int32_t blockRows = 0;
};

/// One of the queries that share a pass, and its candidates: prototypes that passed the filter.
struct FilterQuery {
  const float* inputs = nullptr;        // continuous, then categorical
  const std::int32_t* pairs = nullptr;  // on a grid: the continuous inputs, two a word
  std::int32_t halfSquare = 0;          // on a grid: half their squared length, rounded down
  float limit = -1;             // prototypes with a greater filter value are out; below 0: no part
  std::int32_t candidates = 0;  // in the arrays below
  std::int32_t full = 0;        // number of candidates at which the pass is interrupted
  float* value = nullptr;       // filter values; room for full + kLanes + kCandidatePadding
  std::int32_t* position = nullptr;  // packed positions; same room
};

/// A chunk, or its first blocks where it is the last one.
struct FilterChunk {
  const float* blocks;
  const float* boxes;     // box group of the blocks; null: every block is computed
  std::int32_t position;  // packed position of the first lane
  std::int32_t blockCount;
};

struct NeighbourKernel {
  int level;  // x86-64 level it needs: 2, 3 or 4

  /// Filters a chunk's blocks from `firstBlock` on for kTile queries. Returns the number of blocks
  /// done: less than blockCount when a query is full. *wanted grows by the number of (query, block)
  /// pairs that were computed.
  int (*scan[kFilterTerms])(const FilterShape&, const FilterChunk&, FilterQuery* queries,
                            int firstBlock, std::int64_t* wanted);
  /// bounds[box] = a value no greater than any filter value of the query and a prototype in the
  /// box.
  void (*bound[kFilterTerms])(const FilterShape&, const float* group, const float* query,
                              float* bounds);
  /// The value at `rank` (from 1) among `count` values >= 0, or one of the next `slack` in order.
  float (*select)(const float* values, std::int32_t count, std::int32_t rank, std::int32_t slack);
  /// Moves the candidates from `from` on that are not above `limit` to `to` <= from, in order;
  /// they are then the last ones.
  void (*keep)(FilterQuery&, std::int32_t to, std::int32_t from, float limit);
  /// The box of one block: smallest[input], largest[input].
  void (*enclose)(std::int32_t inputs, const float* block, float* smallest, float* largest);
};

extern const NeighbourKernel kNeighbourKernelV2;
extern const NeighbourKernel kNeighbourKernelV3;
extern const NeighbourKernel kNeighbourKernelV4;

}  // namespace qrvml
