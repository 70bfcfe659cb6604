#include "host/analysis_support.h"

namespace qrvml {
namespace {
thread_local CAnalysisSupport* current = nullptr;
}  // namespace

CAnalysisSupport* CAnalysisContext::Current() { return current; }

CAnalysisContext::Scope::Scope(CAnalysisSupport* analysis) : previous_(current) {
  current = analysis;
}

CAnalysisContext::Scope::~Scope() { current = previous_; }

}  // namespace qrvml
