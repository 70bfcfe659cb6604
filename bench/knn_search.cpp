// The neighbour search against a plain scan, a brute-force library and a tree library.
//
//   knn_search [WORKLOAD...]   i, ii, iii, k-search; all without arguments
//   knn_search --probe FILE    seconds of the brute-force library on workload ii; its answer to
//   FILE
#include "knn/neighbour_search.h"

#include <malloc.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "harness.h"
#include "knn_peers.h"
#include "seeded_data.h"

namespace {

using bench::Contender;
using qrvml::Metric;
using qrvml::Neighbour;
using qrvml::NeighbourSearch;
using qrvml::PrototypeRows;

constexpr int kScalarQueries = 100;  // the plain scan answers this many and its time is scaled

struct Workload {
  const char* name;
  std::uint64_t seed;
  int prototypes, inputs, queries, slots;
};

constexpr Workload kWorkloads[] = {
    {"i", 101, 100000, 20, 5000, 10},
    {"ii", 102, 20000, 100, 5000, 5},
    {"iii", 103, 1000000, 8, 2000, 10},
};

/// Our side: the rows as the engine gives them, one answer.
struct Ours {
  Ours(const std::vector<double>& rows, int inputCount, int k)
      : inputs(inputCount), slots(k), scale(inputCount, 1.0), shift(inputCount, 0.0) {
    prototypes = {rows.data(), std::int32_t(rows.size()) / inputCount, inputCount, 0, scale.data(),
                  shift.data()};
  }
  void Build() { search.Build(prototypes, Metric::euclidean); }
  void Find(const std::vector<double>& queries, qrvml::Exclusion exclusion, int threads) {
    const std::int32_t count = std::int32_t(queries.size()) / inputs;
    neighbours.resize(std::size_t(count) * slots);
    found.resize(count);
    search.Find(queries.data(), count, slots, exclusion, threads, neighbours, found, {});
  }

  int inputs, slots;
  std::vector<double> scale, shift;
  PrototypeRows prototypes;
  NeighbourSearch search;
  std::vector<Neighbour> neighbours;
  std::vector<std::int32_t> found;
};

std::size_t HeapBytes() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// Whether our first answers are the plain scan's to the last bit.
bool EqualsScalar(const Ours& ours, const std::vector<double>& distances,
                  const std::vector<std::int32_t>& neighbours) {
  for (std::size_t n = 0; n < neighbours.size(); ++n) {
    if (ours.neighbours[n].prototype != neighbours[n] ||
        ours.neighbours[n].distance != distances[n]) {
      return false;
    }
  }
  return true;
}

int DifferentQueries(const Ours& ours, const bench::PeerAnswer& peer) {
  int different = 0;
  for (std::size_t first = 0; first < ours.neighbours.size(); first += ours.slots) {
    bool same = true;
    for (int s = 0; s < ours.slots; ++s) {
      same &= ours.neighbours[first + s].prototype == peer.prototypes[first + s];
    }
    different += same ? 0 : 1;
  }
  return different;
}

bool RunSearch(const Workload& workload, bool clustered) {
  const bench::NeighbourData data = bench::DrawNeighbourData(
      workload.seed, workload.prototypes, workload.queries, workload.inputs, clustered);
  const std::string title = std::string(workload.name) + (clustered ? " clustered" : " uniform");
  Ours ours(data.prototypes, workload.inputs, workload.slots);
  bench::FaissPeer faiss(data.prototypes, data.queries, workload.inputs, workload.slots);
  std::unique_ptr<bench::NanoflannPeer> tree;
  if (workload.inputs == bench::NanoflannPeer::kInputs) {
    tree = std::make_unique<bench::NanoflannPeer>(data.prototypes, data.queries, workload.slots);
  }

  std::vector<Contender> builds = {{"ours, build", [&] { ours.Build(); }}};
  if (tree) builds.push_back({"nanoflann, build", [&] { tree->Build(); }});
  bench::Compare(title + ", build", builds);
  ours.search.Release();
  const std::size_t before = HeapBytes();
  ours.Build();
  std::printf("  ours holds %.2f of the size of the rows\n",
              double(HeapBytes() - before) / double(data.prototypes.size() * sizeof(double)));

  std::vector<double> distances;
  std::vector<std::int32_t> neighbours;
  for (const int threads : {1, 2}) {
    const bool blas = faiss.FasterWithBlas(threads);
    std::vector<Contender> contenders = {
        {"ours", [&] { ours.Find(data.queries, {}, threads); }},
        {blas ? "FAISS, BLAS" : "FAISS, without BLAS", [&] { faiss.Search(threads, blas); }}};
    if (tree) contenders.push_back({"nanoflann, search", [&] { tree->Search(threads); }});
    if (threads == 1) {
      contenders.push_back({"plain scan in double",
                            [&] {
                              bench::ScalarSearch(data.prototypes.data(), workload.prototypes,
                                                  workload.inputs, data.queries.data(),
                                                  kScalarQueries, workload.slots, nullptr, 0,
                                                  distances, neighbours);
                            },
                            double(kScalarQueries) / workload.queries});
    }
    bench::Compare(title + ", threads " + std::to_string(threads), contenders);
    if (!EqualsScalar(ours, distances, neighbours)) {
      std::printf("  WRONG: not the plain scan's answer\n");
      return false;
    }
    std::printf("  equals the plain scan on %d queries; FAISS differs on %d of %d\n",
                kScalarQueries, DifferentQueries(ours, faiss.answer()), workload.queries);
  }
  return true;
}

/// Ten folds: the prototypes of a fold are searched among those of the others.
bool RunKSearch(bool clustered) {
  constexpr int kFolds = 10;
  constexpr int kSlots = 20;
  const bench::NeighbourData data = bench::DrawNeighbourData(104, 20000, 0, 20, clustered);
  const int count = int(data.prototypes.size()) / data.inputs;
  std::vector<std::int32_t> fold(count);
  std::vector<std::vector<double>> queries(kFolds);
  bench::SplitMix random(105);
  for (int p = 0; p < count; ++p) {
    fold[p] = std::int32_t(random.Draw() % kFolds);
    const double* row = &data.prototypes[std::size_t(p) * data.inputs];
    queries[fold[p]].insert(queries[fold[p]].end(), row, row + data.inputs);
  }
  Ours ours(data.prototypes, data.inputs, kSlots);
  ours.Build();
  std::vector<double> distances;
  std::vector<std::int32_t> neighbours;
  bool right = true;
  for (const int threads : {1, 2}) {
    const auto all = [&](bool excluding) {
      for (int f = 0; f < kFolds; ++f) {
        ours.Find(queries[f], {excluding ? fold.data() : nullptr, f}, threads);
      }
    };
    std::vector<Contender> contenders = {{"ours", [&] { all(true); }},
                                         {"ours, nothing excluded", [&] { all(false); }}};
    const double share = double(kScalarQueries) / count;
    if (threads == 1) {
      contenders.push_back({"plain scan in double",
                            [&] {
                              bench::ScalarSearch(data.prototypes.data(), count, data.inputs,
                                                  queries[0].data(), kScalarQueries, kSlots,
                                                  fold.data(), 0, distances, neighbours);
                            },
                            share});
    }
    bench::Compare(std::string("k-search ") + (clustered ? "clustered" : "uniform") + ", threads " +
                       std::to_string(threads),
                   contenders);
    ours.Find(queries[0], {fold.data(), 0}, threads);
    right &= EqualsScalar(ours, distances, neighbours);
    std::printf(right ? "  equals the plain scan on %d queries\n"
                      : "  WRONG: not the plain scan's answer on %d queries\n",
                kScalarQueries);
  }
  return right;
}

int Probe(const char* file) {
  const Workload& workload = kWorkloads[1];
  const bench::NeighbourData data = bench::DrawNeighbourData(
      workload.seed, workload.prototypes, workload.queries, workload.inputs, false);
  bench::FaissPeer faiss(data.prototypes, data.queries, workload.inputs, workload.slots);
  std::vector<double> seconds;
  for (int run = 0; run < 4; ++run) {
    seconds.push_back(bench::Seconds([&] { faiss.Search(1, true); }));
  }
  std::ofstream out(file);
  for (const std::int64_t p : faiss.answer().prototypes) out << p << '\n';
  std::printf("%.4f\n", *std::min_element(seconds.begin(), seconds.end()));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--probe") == 0) return Probe(argv[2]);
  const auto chosen = [&](const std::string& name) {
    return argc == 1 || std::find(argv + 1, argv + argc, name) != argv + argc;
  };
  bool right = true;
  for (const Workload& workload : kWorkloads) {
    if (!chosen(workload.name)) continue;
    for (const bool clustered : {false, true}) right &= RunSearch(workload, clustered);
  }
  if (chosen("k-search")) {
    for (const bool clustered : {false, true}) right &= RunKSearch(clustered);
  }
  return right ? 0 : 1;
}
