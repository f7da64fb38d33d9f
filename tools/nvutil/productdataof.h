// The product data that a command is about.
#pragma once

#include <string>

#include "environment/productdata.h"
#include "nvutil/command.h"

/// Reads the product data of a folder, which becomes the subject of the run.
/// @param folder  in UTF-8
/// @throws ExceptionCreateFileForReading when there is no such folder
void ReadFolder(ToolRun& run, const std::string& folder, ProductData& data);

/// The same, for a model.
/// @throws ExceptionFeatureNotFound too, when no map file names the model
void ReadModel(ToolRun& run, const std::string& folder, const std::string& model, ProductData& data);
