// The base class of an analysis, its sequence of dialogs and the analysis that is current.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/services.h"

namespace qrvml {

class CAnalysisSupport;

/// Names the analysis that is current on this thread; every host service is called on it.
class CAnalysisContext {
 public:
  static CAnalysisSupport* Current();

  /// Makes an analysis current while it lives; scopes nest.
  class Scope {
   public:
    explicit Scope(CAnalysisSupport* analysis);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    CAnalysisSupport* previous_;
  };
};

/// Which operation runs at which step of the sequence, in stored order.
struct SequenceEntry {
  int step = 0;
  int (CAnalysisSupport::*operation)() = nullptr;
  int following = 0;  // the step that follows by itself; 0: the operation's dialog decides
};

class CSequenceTable {
 public:
  void Register(std::vector<SequenceEntry> entries) { entries_ = std::move(entries); }
  const std::vector<SequenceEntry>& entries() const { return entries_; }
  const SequenceEntry* Find(int step) const {
    for (const SequenceEntry& entry : entries_) {
      if (entry.step == step) return &entry;
    }
    return nullptr;
  }

 private:
  std::vector<SequenceEntry> entries_;
};

/// An analysis as its host sees it: created by the library's factory, attached to the host's
/// services, then driven step by step. Operations return what their step returns.
class CAnalysisSupport {
 public:
  explicit CAnalysisSupport(void* document) : document_(document) {}
  CAnalysisSupport(const CAnalysisSupport&) = delete;
  CAnalysisSupport& operator=(const CAnalysisSupport&) = delete;

  virtual ~CAnalysisSupport() = default;
  /// The data file was replaced: start afresh.
  virtual int InitializeAfterFileChanged() = 0;
  virtual int Initialize() = 0;
  /// Other case weights or selection conditions are in force: the cases are to be read again.
  virtual void DataSettingsChanged() {}
  /// Whether the sequence may go forward to `step`.
  virtual bool ForwardSequence(int step, int flags) {
    (void)flags;
    return step == 0 || sequence_.Find(step) != nullptr;
  }
  virtual void* GetLibInstance() const = 0;
  virtual int GetAnalysisID() const = 0;
  virtual std::string GetAnalysisName() const = 0;
  /// Runs the operation of a step with this analysis current; -1 for a step that does not exist.
  virtual int RunStep(int step) = 0;
  /// The table of the dialog that a step opens, without opening it; empty for a step without one.
  virtual std::span<const Control> ControlsOf(int step) const {
    (void)step;
    return {};
  }
  /// What a report tells of the last run: name and value, e.g. "training" 112 and "test" 38.
  virtual std::vector<std::pair<std::string, double>> Figures() const { return {}; }

  /// The host attaches its services once, before the first step.
  void Attach(const HostServices& services) { services_ = services; }
  const HostServices& services() const { return services_; }
  const CSequenceTable& sequence() const { return sequence_; }
  void* document() const { return document_; }

 protected:
  CSequenceTable sequence_;

 private:
  HostServices services_;
  void* document_;
};

/// The library's only export. Null when memory runs out.
using AnalysisFactory = CAnalysisSupport* (*)();
inline constexpr const char* kAnalysisFactoryName = "Tvx6NewAnalysis";

}  // namespace qrvml
