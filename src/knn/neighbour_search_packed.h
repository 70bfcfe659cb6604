// The prototypes as the filter sees them: centred, in float, arranged in space, with boxes.
//
// Filter space. A continuous input s (scaled, double) becomes P = float(unit * (s - centre)),
// centre a typical value of that input, unit a power of two that brings typical values near 1; a
// categorical code becomes a float of the same value and a mismatch counts `unit`. On a grid (many
// inputs, sums of squares, neighbours many grid steps apart) P is rounded to a whole number of at
// most sqrt(2^30 / m) instead, which the kernel adds up exactly in 32 bits. Let delta be the
// length of the difference of query and prototype in real arithmetic and in the unit of the filter,
// A the same of their packed forms (length: root of the sum of squares, sum or maximum of the
// absolute differences), and E(p), E(q) the lengths of the packing errors. By the triangle
// inequality
//     |A - delta| <= E(p) + E(q).
// The kernel computes a, which is A^2 (squares) or A (absolute, maximum), from exact floats: one
// rounding of each difference, at most two of each term and one of each addition, so with m inputs
//     |a - A^2 or A| <= g a + tiny,   g = (m + 8) 2^-23, tiny = (m + 8) 2^-140 (denormal terms);
// on a grid tiny = m + 4: the halves of |p|^2, |q|^2 and of mismatches are rounded down.
// The defining scan in double gives D: |D - delta / unit| <= h D, h = (m + 8) 2^-50 (or, for a
// square near the smallest double, off by less than tiny). So if K prototypes have upper bounds
//     U >= length(a (1 + g) + tiny) + E(p) + E(q),
// a prototype with length(a (1 - g) - tiny) - E(p) - E(q) > U (1 + h) has a greater distance D than
// all of them, after rounding and after the root, and cannot be among the K nearest. (Higham,
// Accuracy and Stability of Numerical Algorithms, 2002, section 3.1, for the products of
// roundings.)
#pragma once

#include <cstdint>
#include <functional>

#include "host/memory.h"
#include "knn/kernels/neighbour_kernel.h"
#include "knn/neighbour_search.h"
#include "knn/neighbour_search_tree.h"

namespace qrvml {

class PackedPrototypes {
 public:
  /// Packs; false where `poll` stopped it. Throws MemoryRefused.
  bool Build(const PrototypeRows& prototypes, Metric metric, const NeighbourKernel& kernel,
             const std::function<bool()>& poll);

  /// Scales a case and brings it into filter space. False: it holds a value the filter has no bound
  /// for (not finite, huge, a prototype's code that is no float). A query's such code matches none.
  bool PackPrototype(const double* row, float* packed) const;
  bool PackQuery(const double* row, double* scaled, float* packed) const;
  /// E of a case: the length of what packing has changed.
  double ErrorOf(const double* scaled, const float* packed) const;
  /// On a grid: writes the continuous inputs two a word, returns half their squared length.
  std::int32_t PackPairs(const float* packed, std::int32_t* pairs) const;

  /// The greatest distance in filter space that filter value `value` may stand for.
  double Farthest(float value) const;
  /// The same for a distance of the defining scan.
  double Reach(double distance) const;
  /// The greatest filter value of a prototype that may be as near as `reach`, `errors` = E(p) +
  /// E(q).
  float Limit(double reach, double errors) const;

  /// Distances of the defining scan from a scaled query to the prototypes at stored positions.
  void Distances(const double* scaledQuery, const std::int32_t* stored, int count,
                 double* distances) const;

  FilterChunk Chunk(std::int32_t chunk, bool boxes) const;

  const PrototypeRows& source() const { return source_; }
  std::int32_t inputs() const { return source_.continuous + source_.categorical; }
  std::int32_t pairs() const { return onGrid() ? (source_.continuous + 1) / 2 : 0; }
  std::int32_t regular() const { return regular_; }
  std::int32_t chunks() const { return chunks_; }
  const std::int32_t* order() const { return order_.data(); }
  const FilterShape& shape() const { return shape_; }
  const NeighbourKernel& kernel() const { return *kernel_; }
  FilterTerm term() const { return term_; }
  const SpaceTree& tree() const { return tree_; }
  const float* chunkBoxes() const { return chunkBoxes_.data(); }
  double chunkError(std::int32_t chunk) const { return chunkError_[chunk]; }
  double greatestError() const { return greatestError_; }
  bool errorsAlike() const { return errorsAlike_; }

 private:
  bool onGrid() const { return term_ == FilterTerm::grid; }
  double ToFilter(double scaled, std::int32_t input) const;
  float Coordinate(double exact) const;
  bool ChooseFrame();
  double TypicalNearest() const;
  bool GreatestDeviation(double* farthest);
  bool ChooseGrid(double typical);
  bool GrowTree();
  bool Arrange();
  bool Fill();
  double FloatError(const HostArray<float>& box) const;
  void StoreBlock(std::int32_t b, const HostArray<float>& lanes);
  void EncloseChunk(std::int32_t chunk, std::int32_t blocks);
  bool Pause(std::int64_t work);

  PrototypeRows source_;
  Metric metric_ = Metric::euclidean;
  FilterTerm term_ = FilterTerm::square;
  FilterShape shape_;
  const NeighbourKernel* kernel_ = nullptr;
  const std::function<bool()>* poll_ = nullptr;
  std::int64_t pendingWork_ = 0;  // inputs handled since the last poll

  double unit_ = 1;                  // filter units in one unit of distance, a power of two
  HostArray<double> centre_;         // per continuous input
  double gridEnd_ = 0;               // on a grid: the greatest coordinate, a whole number
  double g_ = 0, h_ = 0, tiny_ = 0;  // bounds of rounding, see above

  SpaceTree tree_;
  std::int32_t regular_ = 0;  // prototypes in filter space: the first ones in order_
  std::int32_t chunks_ = 0;
  HostArray<std::int32_t> order_;  // packed position -> stored position
  HostArray<float> blocks_;
  HostArray<float> blockBoxes_;   // a group per chunk
  HostArray<float> chunkBoxes_;   // groups of kBoxGroup chunks
  HostArray<double> chunkError_;  // per chunk: the greatest E
  double greatestError_ = 0;
  bool errorsAlike_ = true;  // the greatest is at most twice the least
};

}  // namespace qrvml
