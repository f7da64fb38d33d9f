// The product data that a command is about.
#include "nvutil/productdataof.h"

#include <filesystem>
#include <system_error>

#include "nvutil/files.h"
#include "nvutil/text.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

void ReadFolder(ToolRun& run, const std::string& folder, ProductData& data) {
    run.subject = folder;
    std::error_code ignored;
    if (!std::filesystem::is_directory(PathOf(folder), ignored))
        NV_THROW(ExceptionCreateFileForReading, "ReadFolder", __LINE__, NV_TEXT("is no folder"));
    data.Initialize(nullptr, FromUtf8(folder), ProductData::ModelTypeName, {});
}

void ReadModel(ToolRun& run, const std::string& folder, const std::string& model, ProductData& data) {
    ReadFolder(run, folder, data);
    CXString name = FromUtf8(model);
    if (!data.ValidateModelInfo(name, false))
        NV_THROW(ExceptionFeatureNotFound, "ReadModel", __LINE__, NV_TEXT("has no model \"%s\""), name);
}
