// Data files as pages see them: variables, their statistics, windows of cases.
#pragma once

#include "datafile/host_data_file.h"
#include "server/published_state.h"

namespace qrvml {

/// All variables, with at most a hundred labels each.
Json VariablesJson(const HostDataFile& file);

/// One variable with all labels that can be categories, and over the selected cases: counts,
/// minimum, maximum, mean, standard deviation (of a sample), and a histogram, or the counts of its
/// categories.
Json VariableJson(const HostDataFile& file, int variable);

/// A window of cases and variables, both from 1; cut where the data end and where it would be too
/// large.
Json RowsJson(const HostDataFile& file, int first, int count, int from, int to);

}  // namespace qrvml
