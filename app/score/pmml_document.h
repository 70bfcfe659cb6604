// A generated PMML document, read back as a model.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "score/deployed_model.h"

namespace qrvml {

/// Reads a document with a model element that this version knows: KNearestNeighborModel,
/// NaiveBayesModel, SupportVectorMachineModel. Memory is at most a small multiple of the text's;
/// document types, and with them entities, are refused. Null: `error` says why, a clause.
std::unique_ptr<DeployedModel> ReadPmmlDocument(std::string_view text, std::string& error);

}  // namespace qrvml
