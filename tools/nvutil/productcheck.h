// What a maintainer of product data would want to know about its files.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "environment/productdata.h"
#include "utilities/utilitiesdll/cxstring.h"

/// One remark.
struct ProductFinding {
    CXString file;
    std::size_t line;  ///< From 1; 0 for the file as a whole.
    std::string text;
};

struct ProductFindings {
    std::size_t files = 0;            ///< How many were read.
    std::vector<ProductFinding> all;  ///< By file and line.
};

/// Reads every map file of a folder and every command file that a model names.
/// @param data  that of the folder; its current model changes
ProductFindings CheckProductData(const CXString& folder, ProductData& data);
