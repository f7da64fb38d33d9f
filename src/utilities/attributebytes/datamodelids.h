// DataModelIds: the numbers of the driver's data model that this library itself uses.
#pragma once

#include "platform/types.h"

/// The data model belongs to the driver; only what the library reads or returns itself is named here.
namespace DataModelIds {

/// Numbers of option values. Every number of the driver's enumeration may occur.
enum tagValueEnum : LONG {
    VALUE_NONE = 5001,    ///< There is no option value to give.
    VALUE_NEW_ID = 9687,  ///< The option value is named by a text.
};

/// Numbers of features.
enum tagFeatureEnum : LONG {
    FEATURE_PAPER_WIDTH = 172,
    FEATURE_PAPER_HEIGHT = 173,
};

}  // namespace DataModelIds
